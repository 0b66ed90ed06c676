#pragma once

#include "zemb/export.h"
#include "zemb/task.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace zemb {

// Worker threads that run tasks, each with its request message and its user, one after the other.
// Any thread may submit. The threads of the pool cannot be cancelled.
class ZEMB_API TaskPool {
public:
    // What a task does, on a thread of the pool.
    using Work = std::function<void(ZembGnlTask& task)>;

    // nQueue: how many tasks may wait for a thread; of both there is one at least. Throws when a
    // thread cannot be started.
    TaskPool(std::size_t nThreads, std::size_t nQueue);
    ~TaskPool();  // runs what waits, and ends
    TaskPool(const TaskPool&) = delete;
    TaskPool& operator=(const TaskPool&) = delete;

    // Runs work as a task of its own; waits while the queue is full. The message and the context
    // are copied. What the work throws is noted in the default channel.
    void Submit(const ZembCmdMSG& msg, const NSTE_util::TETaskContext& context, Work work);

    // Returns when no task waits or runs.
    void Wait();

private:
    struct Pool;
    const std::unique_ptr<Pool> m_pPool;
};

}  // namespace zemb

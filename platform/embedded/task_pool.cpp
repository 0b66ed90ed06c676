#include "zemb/task_pool.h"

#include "base/cancel_hold.h"
#include "embedded/thrown.h"
#include "zemb/control.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

// Threads that work on tasks from one bounded queue: who submits waits for room. While a task runs
// it is the current one of its thread. Cancels are held off in the pool's own threads; what a task
// throws becomes a line of the log.
namespace zemb {

namespace {

struct Job {
    ZembCmdMSG msg;
    NSTE_util::TETaskContext context;
    TaskPool::Work work;
};

void Run(Job& job) {
    ZembGnlTask task(&job.msg, &job.context);
    const ScopedTask current(&task);
    try {
        job.work(task);
    } catch (...) {
        WriteThrown("a task threw");
    }
}

}  // namespace

struct TaskPool::Pool {
    Pool(std::size_t nThreads, std::size_t nQueueOf) : nQueue(std::max<std::size_t>(nQueueOf, 1)) {
        try {
            do
                vecThread.emplace_back([this] { Work(); });
            while (vecThread.size() < nThreads);
        } catch (...) {
            End();
            throw;
        }
    }

    ~Pool() { End(); }

    void End() {
        const base::CancelHold hold;
        {
            const std::lock_guard<std::mutex> guard(lock);
            bEnd = true;
        }
        changed.notify_all();
        for (std::thread& thread : vecThread)
            thread.join();
    }

    void Work() {
        const base::CancelHold hold;
        std::unique_lock<std::mutex> guard(lock);
        for (;;) {
            changed.wait(guard, [this] { return bEnd || !dequeJob.empty(); });
            if (dequeJob.empty())
                return;
            Job job = std::move(dequeJob.front());
            dequeJob.pop_front();
            ++nRunning;
            guard.unlock();
            taken.notify_one();
            Run(job);
            job.work = nullptr;
            guard.lock();
            --nRunning;
            if (nRunning == 0 && dequeJob.empty())
                idle.notify_all();
        }
    }

    const std::size_t nQueue;
    std::mutex lock;
    std::condition_variable changed;  // there is a job, or the end
    std::condition_variable taken;    // there is room for a job
    std::condition_variable idle;
    std::deque<Job> dequeJob;
    std::size_t nRunning = 0;
    bool bEnd = false;
    std::vector<std::thread> vecThread;
};

TaskPool::TaskPool(std::size_t nThreads, std::size_t nQueue)
    : m_pPool(std::make_unique<Pool>(nThreads, nQueue)) {}

TaskPool::~TaskPool() = default;

void TaskPool::Submit(const ZembCmdMSG& msg, const NSTE_util::TETaskContext& context, Work work) {
    std::unique_lock<std::mutex> guard(m_pPool->lock);
    m_pPool->taken.wait(guard, [this] { return m_pPool->dequeJob.size() < m_pPool->nQueue; });
    m_pPool->dequeJob.push_back({msg, context, std::move(work)});
    guard.unlock();
    m_pPool->changed.notify_one();
}

void TaskPool::Wait() {
    std::unique_lock<std::mutex> guard(m_pPool->lock);
    m_pPool->idle.wait(guard,
                       [this] { return m_pPool->nRunning == 0 && m_pPool->dequeJob.empty(); });
}

}  // namespace zemb

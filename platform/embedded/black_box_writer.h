#pragma once

#include "embedded/black_box.h"
#include "embedded/black_box_format.h"

#include <string>

namespace zemb {

// What is told goes into the mapped file. Nothing is told before Begin().
class BoxWriter : public LiveWatcher {
public:
    // Makes the file and maps it; what was in an older box of this process is not in the new one.
    // Throws std::system_error. With End() and ChildBegan() under one lock.
    virtual void Begin(const std::string& strProgram, std::uint32_t nParent) = 0;
    // Takes the file away. What is told afterwards goes nowhere.
    virtual void End() noexcept = 0;
    // Lets go of the box of the process above this one. False: nothing may be told any more.
    [[nodiscard]] virtual bool ChildBegan() noexcept = 0;

    // Under the lock of the facts.
    virtual void PutFacts() = 0;
    virtual void PutTask(const LiveTask& task, TaskPlace& place) noexcept = 0;
    // False for a task that is not in this box, or has no place in it.
    virtual bool PutStep(const LiveStep& step, const TaskPlace& place) noexcept = 0;
    virtual void DropTask(TaskPlace& place) noexcept = 0;
    virtual void PutError(std::uint64_t nCode, std::uint32_t nTask, int nUser,
                          const std::string& strFirst, const std::string& strSecond) noexcept = 0;

protected:
    ~BoxWriter() override;
};

// The one of the process; made at the first call, lives to its end.
BoxWriter& TheBoxWriter();

}  // namespace zemb

#pragma once

#include "zemb/export.h"
#include "zemb/progress.h"

#include <functional>
#include <string>
#include <vector>

// The host's side of the progress manager. Any thread.
namespace zemb {

// A task, and how far it is.
struct TaskProgress {
    const ZembGnlTask* pTask = nullptr;
    std::vector<NSTE_util::ClientMissionID> vecMission;  // in the order of registration
    int nPercent = 0;
    float fScale = 1;
    bool bAbort = false;
    std::string strDesc;
};

// Every task with a mission.
ZEMB_API std::vector<TaskProgress> AllProgress();

// Asks a task to stop; false when it has no mission.
ZEMB_API bool AbortTask(const ZembGnlTask* pTask);
// Asks the tasks of a mission number; returns how many there are.
ZEMB_API int AbortMission(std::uint32_t nMission);

// Is told of every percent that is sent, on the sender's thread, with no lock of the platform held;
// on other threads a call may still be under way when it goes. What it throws is noted in the
// default channel.
class ZEMB_API ScopedProgressListener {
public:
    // Gets the percent and the description as they were sent.
    using Listener =
        std::function<void(const ZembGnlTask* pTask, int nPercent, const std::string& strDesc)>;

    explicit ScopedProgressListener(Listener listener);
    ~ScopedProgressListener();
    ScopedProgressListener(const ScopedProgressListener&) = delete;
    ScopedProgressListener& operator=(const ScopedProgressListener&) = delete;

private:
    const int m_nId;
};

}  // namespace zemb

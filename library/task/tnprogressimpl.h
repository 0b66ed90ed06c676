#pragma once

#include "tovelkarin/tnprogress.h"

#include "trace/assert_point.h"
#include "trace/spin_guard.h"

#include "zemb/progress.h"

#include <ace/Thread_Mutex.h>

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>

namespace NSTE_util {

// The steps of a task on their range of percent.
struct TNProgressSection {
    int nRange;    // percent that the whole section covers
    int nBase;     // progress when the section was set
    float fScale;  // scale in force then
    int nSteps;
    int nCurStep;  // steps sent
};

class TNProgressImpl final : public TNProgressIF {
public:
    TNProgressImpl();
    ~TNProgressImpl() override;

    void Register(long lMission, ZembGnlTask* pTask) override;
    void UnRegister(ZembGnlTask* pTask) override;
    bool IsAbort() override;
    void SendProgress(int nPercent, const char* szDesc) override;
    bool SendProgressWithAbort(int nPercent, const char* szDesc) override;
    void SetProgressScale(int nScale) override;
    void RestoreProgressScale() override;
    void SetProgressSection(int nRange, int nSteps) override;
    void SendSectionStep(const char* szDesc) override;
    void SendStep(int nStep, const char* szDesc) override;
    unsigned int GetMissionID() override;
    int GetCurProgress() override;

private:
    // Holds the lock; a thread that calls back while it holds it is let through.
    class Guard {
    public:
        explicit Guard(TNProgressImpl& progress);
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        std::atomic<pthread_t>& m_owner;
        std::optional<NSTN_util::SpinGuard<ACE_Thread_Mutex>> m_guard;
    };

    // Calls fnWork() with the lock held. Whatever is thrown ends here, as in those that follow.
    template <class Work>
    void Locked(Work fnWork);
    // Calls fnWork(pTask) with the lock held, for the task of the calling thread. Without one, an
    // assertion line of pNoTask, unless that is null.
    template <class Work>
    void WithTask(const NSTN_util::TNAssertPoint* pNoTask, Work fnWork);
    // The same as fnWork(pTask, mission) when the task is registered, else nothing.
    template <class Work>
    void WithMission(const NSTN_util::TNAssertPoint* pNoTask, Work fnWork);

    // Of a task that is alive; what one that ended at its address has left behind is forgotten.
    const ClientMissionID* FindMission(ZembGnlTask* pTask);
    void Forget(ZembGnlTask* pTask);

    std::map<ZembGnlTask*, ClientMissionID> m_mapTaskMission;
    std::map<ZembGnlTask*, TNProgressSection> m_mapTaskSection;
    std::map<ZembGnlTask*, std::uint32_t> m_mapTaskId;  // whose mission and section these are
    ACE_Thread_Mutex m_lock;
    std::atomic<pthread_t> m_owner{};  // of the lock
};

}  // namespace NSTE_util

#pragma once

#include "tovelkarin/export.h"

#include <atomic>

class ZembGnlTask;

namespace NSTE_util {

// Reports the progress of the calling thread's task to who asked for it, in percent, through the
// platform's progress manager. Without a task nothing happens, and the answer is 0 or false. A null
// description counts as "". A section maps a number of steps on a range of percent.
//
// Any thread; one lock per instance is held through each call, also while the platform's manager,
// and whoever listens to it, is called. Who calls back from there is let through. Nothing is
// thrown. Cost: logarithmic in the registered tasks.
class TN_API TNProgressIF {
public:
    // The one service, made at the first call. Null only when the process-wide static-object lock
    // cannot be taken, or memory is lacking, and no service is there yet.
    static TNProgressIF* Instance();
    // Deletes the service; nothing without one. Nobody may be using it.
    static void Destroy();

    virtual ~TNProgressIF();

    // Gives a task a mission: lMission, of which 32 bits count, and its request message. The
    // platform learns of each one; here the first one stays. Without a request message the mission
    // is all ones (assertion line 48 of "tnprogressimpl"). Null does nothing.
    virtual void Register(long lMission, ZembGnlTask* pTask) = 0;
    // Forgets a task, its missions and its section. Null does nothing. What a task that has ended
    // without it leaves is not taken for that of a later task, which may stand at the same address.
    virtual void UnRegister(ZembGnlTask* pTask) = 0;

    // Whether somebody has asked the task to stop.
    virtual bool IsAbort() = 0;
    // Sends a percent, also for a task without a mission.
    virtual void SendProgress(int nPercent, const char* szDesc) = 0;
    // The same, unless the task is to stop: then true, and nothing is sent.
    virtual bool SendProgressWithAbort(int nPercent, const char* szDesc) = 0;

    // Put a scale over the one in force, and take it off again (assertion lines 205 and 238 without
    // a task); nothing for a task without a mission.
    virtual void SetProgressScale(int nScale) = 0;
    virtual void RestoreProgressScale() = 0;

    // Begins a section of nSteps steps that cover nRange percent from the present progress on, by
    // the scale in force. Nothing for over 100 percent, for less than a step, and for a task
    // without a mission; a negative range is taken.
    virtual void SetProgressSection(int nRange, int nSteps) = 0;
    // Sends the percent of the section's next step; nothing behind the last one, and without a
    // section.
    virtual void SendSectionStep(const char* szDesc) = 0;
    // Sends the present progress plus nStep by the scale in force (assertion line 360 without a
    // task); nothing for a task without a mission.
    virtual void SendStep(int nStep, const char* szDesc) = 0;

    // The number of the task's first mission; 0 without one.
    virtual unsigned int GetMissionID() = 0;
    // The task's present progress in percent; 0 without a mission.
    virtual int GetCurProgress() = 0;

protected:
    static std::atomic<TNProgressIF*> m_pInstance;
};

}  // namespace NSTE_util

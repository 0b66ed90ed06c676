#pragma once

#include "zemb/export.h"

#include <array>
#include <cstdint>
#include <string>

struct ZembCmdMSG;
class ZembGnlTask;

namespace NSTE_util {

// Names a mission: the request of a client that started it, and the number that the client gave it.
struct ZEMB_API ClientMissionID {
    ClientMissionID() = default;
    // The words of the request are those of the message's header. Without a message they are 0, and
    // the mission is all ones.
    ClientMissionID(std::uint32_t nMissionOf, const ZembCmdMSG* pReqMsg);

    std::array<std::uint32_t, 4> arrRequest{};
    std::uint32_t nMission = 0;
};

// By the mission, then by the words of the request.
ZEMB_API bool operator<(const ClientMissionID& a, const ClientMissionID& b);
ZEMB_API bool operator==(const ClientMissionID& a, const ClientMissionID& b);

// What a client is told beside the percent.
class ZEMB_API TaskProgressInfo {
public:
    explicit TaskProgressInfo(const char* szDesc);  // null counts as ""
    ~TaskProgressInfo();
    const std::string& Text() const { return m_strDesc; }

private:
    std::string m_strDesc;
};

// The progress of the tasks of a process. Any thread. A task may have several missions, and several
// tasks the same one; each task with a mission has a state of its own: the last percent sent, the
// scale in force, the abort flag, the last description. A task that ends is forgotten. Cost:
// logarithmic in the tasks and missions.
class ZEMB_API ProgressMgr {
public:
    // Never null; lives to the end of the process.
    static ProgressMgr* Instance();

    // Gives a task a mission; one that it has already stays.
    virtual void Register(const ClientMissionID& mission, ZembGnlTask* pTask) = 0;
    // Forgets the task with its missions and its state.
    virtual void UnRegister(const ZembGnlTask* pTask) = 0;
    virtual bool IsAbort(ZembGnlTask* pTask) = 0;
    // Stores the percent, if the task has a mission, and hands it to the listeners.
    virtual void SendProgress(ZembGnlTask* pTask, int nPercent, const TaskProgressInfo& info) = 0;
    // Puts a scale over the one in force; at first it is 1.
    virtual void SetScale(ZembGnlTask* pTask, float fScale) = 0;
    // Takes the last scale off; the first one stays.
    virtual void RestoreScale(ZembGnlTask* pTask) = 0;
    // False for a task without a mission.
    virtual bool GetProgress(ZembGnlTask* pTask, int& nPercent, float& fScale) = 0;

protected:
    virtual ~ProgressMgr();
};

}  // namespace NSTE_util

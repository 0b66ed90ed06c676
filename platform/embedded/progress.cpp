#include "zemb/progress.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "base/view_of.h"
#include "embedded/fault_point.h"
#include "embedded/thrown.h"
#include "zemb/message.h"
#include "zemb/progress_view.h"

#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <tuple>
#include <unordered_map>
#include <utility>

// The progress of tasks: missions, percent, scales and the wish to abort, in one table under one
// lock. Listeners are copied under it and called without it.
namespace NSTE_util {

ClientMissionID::ClientMissionID(std::uint32_t nMissionOf, const ZembCmdMSG* pReqMsg)
    : nMission(pReqMsg == nullptr ? std::numeric_limits<std::uint32_t>::max() : nMissionOf) {
    if (pReqMsg != nullptr)
        arrRequest = {pReqMsg->nClientAddr, pReqMsg->nHandle, pReqMsg->nReplyHandle,
                      pReqMsg->nRequest};
}

bool operator<(const ClientMissionID& a, const ClientMissionID& b) {
    return std::tie(a.nMission, a.arrRequest) < std::tie(b.nMission, b.arrRequest);
}

bool operator==(const ClientMissionID& a, const ClientMissionID& b) {
    return a.nMission == b.nMission && a.arrRequest == b.arrRequest;
}

TaskProgressInfo::TaskProgressInfo(const char* szDesc) : m_strDesc(base::ViewOf(szDesc)) {}

TaskProgressInfo::~TaskProgressInfo() = default;

ProgressMgr::~ProgressMgr() = default;

}  // namespace NSTE_util

namespace zemb {

namespace {

using NSTE_util::ClientMissionID;
using Listener = ScopedProgressListener::Listener;

class ProgressMgrImpl final : public NSTE_util::ProgressMgr {
public:
    void Register(const ClientMissionID& mission, ZembGnlTask* pTask) override {
        if (IsFaulty("ProgressMgr::Register"))
            return;
        const std::lock_guard<std::mutex> guard(m_lock);
        State& state = m_mapTask.try_emplace(pTask, ++m_nLastTask).first->second;
        if (state.setMission.insert(mission).second)
            state.vecMission.push_back(mission);
    }

    void UnRegister(const ZembGnlTask* pTask) override {
        if (IsFaulty("ProgressMgr::UnRegister"))
            return;
        const std::lock_guard<std::mutex> guard(m_lock);
        m_mapTask.erase(pTask);
    }

    bool IsAbort(ZembGnlTask* pTask) override {
        if (IsFaulty("ProgressMgr::IsAbort"))
            return false;
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto it = m_mapTask.find(pTask);
        return it != m_mapTask.end() && it->second.bAbort;
    }

    void SendProgress(ZembGnlTask* pTask, int nPercent,
                      const NSTE_util::TaskProgressInfo& info) override {
        if (IsFaulty("ProgressMgr::SendProgress"))
            return;
        std::vector<std::shared_ptr<const Listener>> vecListener;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (State* const pState = Find(pTask)) {
                pState->nPercent = nPercent;
                pState->strDesc = info.Text();
            }
            for (const auto& [nId, pListener] : m_mapListener)
                vecListener.push_back(pListener);
        }
        for (const auto& pListener : vecListener) {
            const base::CancelHold hold;
            try {
                (*pListener)(pTask, nPercent, info.Text());
            } catch (...) {
                WriteThrown("a listener to progress threw");
            }
        }
    }

    void SetScale(ZembGnlTask* pTask, float fScale) override {
        if (IsFaulty("ProgressMgr::SetScale"))
            return;
        const std::lock_guard<std::mutex> guard(m_lock);
        if (State* const pState = Find(pTask))
            pState->vecScale.push_back(fScale);
    }

    void RestoreScale(ZembGnlTask* pTask) override {
        if (IsFaulty("ProgressMgr::RestoreScale"))
            return;
        const std::lock_guard<std::mutex> guard(m_lock);
        State* const pState = Find(pTask);
        if (pState != nullptr && pState->vecScale.size() > 1)
            pState->vecScale.pop_back();
    }

    bool GetProgress(ZembGnlTask* pTask, int& nPercent, float& fScale) override {
        if (IsFaulty("ProgressMgr::GetProgress"))
            return false;
        const std::lock_guard<std::mutex> guard(m_lock);
        const State* const pState = Find(pTask);
        if (pState == nullptr)
            return false;
        nPercent = pState->nPercent;
        fScale = pState->vecScale.back();
        return true;
    }

    std::vector<TaskProgress> All() {
        const std::lock_guard<std::mutex> guard(m_lock);
        std::map<std::uint64_t, TaskProgress> mapProgress;
        for (const auto& [pTask, state] : m_mapTask)
            mapProgress[state.nOrder] = {pTask,          state.vecMission,
                                         state.nPercent, state.vecScale.back(),
                                         state.bAbort,   state.strDesc};
        std::vector<TaskProgress> vecProgress;
        vecProgress.reserve(mapProgress.size());
        for (auto& [nOrder, progress] : mapProgress)
            vecProgress.push_back(std::move(progress));
        return vecProgress;
    }

    // Sets the abort flag of the tasks that fit.
    template <class Fits>
    int Abort(Fits fits) {
        const std::lock_guard<std::mutex> guard(m_lock);
        int nTasks = 0;
        for (auto& [pTask, state] : m_mapTask)
            if (fits(pTask, state.vecMission)) {
                state.bAbort = true;
                ++nTasks;
            }
        return nTasks;
    }

    int Add(Listener listener) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_mapListener[++m_nLastId] = std::make_shared<const Listener>(std::move(listener));
        return m_nLastId;
    }

    void Remove(int nId) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_mapListener.erase(nId);
    }

private:
    struct State {
        explicit State(std::uint64_t nOrderOf) : nOrder(nOrderOf) {}
        std::uint64_t nOrder;                     // among the tasks, by their first registration
        std::vector<ClientMissionID> vecMission;  // in the order of registration
        std::set<ClientMissionID> setMission;     // the same
        int nPercent = 0;
        std::vector<float> vecScale = {1.0F};
        bool bAbort = false;
        std::string strDesc;
    };

    State* Find(const ZembGnlTask* pTask) {
        const auto it = m_mapTask.find(pTask);
        return it == m_mapTask.end() ? nullptr : &it->second;
    }

    std::mutex m_lock;
    std::unordered_map<const ZembGnlTask*, State> m_mapTask;
    std::uint64_t m_nLastTask = 0;
    std::map<int, std::shared_ptr<const Listener>> m_mapListener;
    int m_nLastId = 0;
};

ProgressMgrImpl& TheManager() {
    static base::Immortal<ProgressMgrImpl> manager;
    return *manager;
}

}  // namespace

std::vector<TaskProgress> AllProgress() {
    return TheManager().All();
}

bool AbortTask(const ZembGnlTask* pTask) {
    return TheManager().Abort(
               [pTask](const ZembGnlTask* pOne, const auto&) { return pOne == pTask; }) != 0;
}

int AbortMission(std::uint32_t nMission) {
    return TheManager().Abort([nMission](const ZembGnlTask*, const auto& vecMission) {
        return std::any_of(
            vecMission.begin(), vecMission.end(),
            [nMission](const ClientMissionID& mission) { return mission.nMission == nMission; });
    });
}

ScopedProgressListener::ScopedProgressListener(Listener listener)
    : m_nId(TheManager().Add(std::move(listener))) {}

ScopedProgressListener::~ScopedProgressListener() {
    TheManager().Remove(m_nId);
}

}  // namespace zemb

NSTE_util::ProgressMgr* NSTE_util::ProgressMgr::Instance() {
    return &zemb::TheManager();
}

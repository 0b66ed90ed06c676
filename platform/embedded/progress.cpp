#include "zemb/progress.h"

#include "base/cancel_hold.h"
#include "base/immortal.h"
#include "base/view_of.h"
#include "embedded/black_box.h"
#include "embedded/fault_point.h"
#include "embedded/thrown.h"
#include "zemb/message.h"
#include "zemb/progress_view.h"
#include "zemb/task.h"

#include <algorithm>
#include <atomic>
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
        m_nMissionChanges.fetch_add(1, std::memory_order_relaxed);
        Show(pTask, state);
    }

    void UnRegister(const ZembGnlTask* pTask) override {
        if (IsFaulty("ProgressMgr::UnRegister"))
            return;
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto it = m_mapTask.find(pTask);
        if (it == m_mapTask.end())
            return;
        m_nMissionChanges.fetch_add(1, std::memory_order_relaxed);
        DropLiveTask(it->second.place);
        m_mapTask.erase(it);
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
                if (!PutLiveStep({nPercent, pState->nBase, pState->nRange, pState->nSteps,
                                  pState->nStep, &pState->strDesc},
                                 pState->place))
                    Show(pTask, *pState);
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
            PushScale(pTask, *pState, fScale);
    }

    void RestoreScale(ZembGnlTask* pTask) override {
        if (IsFaulty("ProgressMgr::RestoreScale"))
            return;
        const std::lock_guard<std::mutex> guard(m_lock);
        State* const pState = Find(pTask);
        if (pState == nullptr || pState->vecScale.size() < 2)
            return;
        pState->vecScale.pop_back();
        Show(pTask, *pState);
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
                Show(pTask, state);
                ++nTasks;
            }
        return nTasks;
    }

    void SetSection(const ZembGnlTask* pTask, int nBase, int nRange, int nSteps, int nStep) {
        const std::lock_guard<std::mutex> guard(m_lock);
        State* const pState = Find(pTask);
        if (pState == nullptr)
            return;
        pState->nBase = nBase;
        pState->nRange = nRange;
        pState->nSteps = nSteps;
        pState->nStep = nStep;
        if (nStep == 0)  // else a percent is on its way
            Show(pTask, *pState);
    }

    std::uint32_t FirstMission(const ZembGnlTask* pTask) {
        const std::lock_guard<std::mutex> guard(m_lock);
        const State* const pState = Find(pTask);
        return pState == nullptr || pState->vecMission.empty() ? 0 : pState->vecMission[0].nMission;
    }

    std::uint32_t MissionChanges() const {
        return m_nMissionChanges.load(std::memory_order_relaxed);
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
        int nBase = 0;  // of the section, if there is one, as the library tells
        int nRange = 0;
        int nSteps = 0;
        int nStep = 0;
        TaskPlace place;
    };

    static void PushScale(const ZembGnlTask* pTask, State& state, float fScale) {
        state.vecScale.push_back(fScale);
        Show(pTask, state);
    }

    // To who watches from outside.
    static void Show(const ZembGnlTask* pTask, State& state) {
        if (Live() == nullptr || pTask == nullptr || state.vecMission.empty())
            return;
        const int nUser = pTask->GetContext() == nullptr ? 0 : pTask->GetContext()->nUserId;
        PutLiveTask({pTask->GetTaskId(), state.vecMission[0].nMission, state.vecMission.size(),
                     nUser, state.nPercent, state.vecScale.back(), state.bAbort, state.nBase,
                     state.nRange, state.nSteps, state.nStep, &state.strDesc},
                    state.place);
    }

    State* Find(const ZembGnlTask* pTask) {
        const auto it = m_mapTask.find(pTask);
        return it == m_mapTask.end() ? nullptr : &it->second;
    }

    std::mutex m_lock;
    std::unordered_map<const ZembGnlTask*, State> m_mapTask;
    std::uint64_t m_nLastTask = 0;
    std::atomic<std::uint32_t> m_nMissionChanges{0};
    std::map<int, std::shared_ptr<const Listener>> m_mapListener;
    int m_nLastId = 0;
};

ProgressMgrImpl& TheManager() {
    static base::Immortal<ProgressMgrImpl> manager;
    return *manager;
}

}  // namespace

void NoteTaskSection(const ZembGnlTask* pTask, int nBase, int nRange, int nSteps,
                     int nStep) noexcept {
    TheManager().SetSection(pTask, nBase, nRange, nSteps, nStep);
}

std::uint32_t FirstMissionOf(const ZembGnlTask* pTask) noexcept {
    return TheManager().FirstMission(pTask);
}

std::uint32_t MissionChanges() noexcept {
    return TheManager().MissionChanges();
}

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

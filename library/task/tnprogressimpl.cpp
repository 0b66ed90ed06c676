#include "task/tnprogressimpl.h"

#include "trace/assert_point.h"
#include "trace/guarded_call.h"
#include "trace/singleton.h"

#include "zemb/live.h"
#include "zemb/task.h"

#include <iostream>
#include <limits>

// The progress of a task, mapped on the missions of the platform. A task is known by its address
// and its number: another task at the same address starts anew. One lock spans each call, also
// while listeners run, so percentages come in order; a listener that calls back on the same thread
// is let through. The arithmetic is single precision in the written order, as its rounding can be
// seen.
namespace NSTE_util {

namespace {

using NSTN_util::GuardedCall;
using NSTN_util::ReportAssert;
using NSTN_util::TNAssertPoint;

constexpr TNAssertPoint ASSERT_REQUEST = {"tnprogressimpl", 48, "pReqMsg != __null"};
constexpr TNAssertPoint ASSERT_SET_SCALE = {"tnprogressimpl", 205, "pTask != __null"};
constexpr TNAssertPoint ASSERT_RESTORE_SCALE = {"tnprogressimpl", 238, "pTask != __null"};
constexpr TNAssertPoint ASSERT_STEP = {"tnprogressimpl", 360, "pTask != __null"};
constexpr int RANGE_MAX = 100;

// Towards zero; what no int holds becomes the nearest one, and what is no number 0.
int Truncated(float fPercent) {
    constexpr float MOST = 2147483648.0F;  // 2^31, the first float that is too large
    if (fPercent >= MOST)
        return std::numeric_limits<int>::max();
    if (fPercent < -MOST)
        return std::numeric_limits<int>::min();
    return fPercent == fPercent ? static_cast<int>(fPercent) : 0;
}

// Tells who watches the process how far a section is.
void TellSection(const ZembGnlTask* pTask, const TNProgressSection& section) {
    if (zemb::LiveWatcher* const pWatcher = zemb::Live())
        pWatcher->TaskSection(pTask, section.nBase, section.nRange, section.nSteps,
                              section.nCurStep);
}

void Send(ZembGnlTask* pTask, int nPercent, const char* szDesc) {
    zemb::LiveCount(zemb::ELiveCounter::PROGRESS_STEPS);
    ProgressMgr::Instance()->SendProgress(pTask, nPercent, TaskProgressInfo(szDesc));
}

}  // namespace

std::atomic<TNProgressIF*> TNProgressIF::m_pInstance{nullptr};

TNProgressIF* TNProgressIF::Instance() {
    return NSTN_util::CreateOnce(m_pInstance, [] { return new TNProgressImpl; });
}

void TNProgressIF::Destroy() {
    NSTN_util::DestroyOnce(m_pInstance);
}

TNProgressIF::~TNProgressIF() = default;

TNProgressImpl::Guard::Guard(TNProgressImpl& progress) : m_owner(progress.m_owner) {
    if (m_owner.load(std::memory_order_relaxed) == pthread_self())
        return;
    m_guard.emplace(progress.m_lock);
    m_owner.store(pthread_self(), std::memory_order_relaxed);
}

TNProgressImpl::Guard::~Guard() {
    if (m_guard)
        m_owner.store(pthread_t{}, std::memory_order_relaxed);
}

TNProgressImpl::TNProgressImpl() = default;

TNProgressImpl::~TNProgressImpl() = default;

template <class Work>
void TNProgressImpl::Locked(Work fnWork) {
    GuardedCall([&] {
        const Guard guard(*this);
        fnWork();
    });
}

template <class Work>
void TNProgressImpl::WithTask(const TNAssertPoint* pNoTask, Work fnWork) {
    Locked([&] {
        if (ZembGnlTask* const pTask = ZembGetCurrentTask())
            fnWork(pTask);
        else if (pNoTask != nullptr)
            ReportAssert(*pNoTask);
    });
}

template <class Work>
void TNProgressImpl::WithMission(const TNAssertPoint* pNoTask, Work fnWork) {
    WithTask(pNoTask, [&](ZembGnlTask* pTask) {
        if (const ClientMissionID* const pMission = FindMission(pTask))
            fnWork(pTask, *pMission);
    });
}

const ClientMissionID* TNProgressImpl::FindMission(ZembGnlTask* pTask) {
    const auto it = m_mapTaskMission.find(pTask);
    if (it == m_mapTaskMission.end())
        return nullptr;
    if (m_mapTaskId[pTask] == pTask->GetTaskId())
        return &it->second;
    Forget(pTask);
    return nullptr;
}

void TNProgressImpl::Forget(ZembGnlTask* pTask) {
    m_mapTaskMission.erase(pTask);
    m_mapTaskSection.erase(pTask);
    m_mapTaskId.erase(pTask);
}

void TNProgressImpl::Register(long lMission, ZembGnlTask* pTask) {
    if (pTask == nullptr)
        return;
    Locked([&] {
        const ZembCmdMSG* const pReqMsg = pTask->GetCurReqMsg();
        if (pReqMsg == nullptr)
            ReportAssert(ASSERT_REQUEST);
        const ClientMissionID mission(static_cast<std::uint32_t>(lMission), pReqMsg);
        ProgressMgr::Instance()->Register(mission, pTask);
        // Deliberate: the first registration stays.
        if (FindMission(pTask) != nullptr)
            return;
        m_mapTaskId[pTask] = pTask->GetTaskId();
        m_mapTaskMission.emplace(pTask, mission);
    });
}

void TNProgressImpl::UnRegister(ZembGnlTask* pTask) {
    if (pTask == nullptr)
        return;
    Locked([&] {
        ProgressMgr::Instance()->UnRegister(pTask);
        Forget(pTask);
    });
}

bool TNProgressImpl::IsAbort() {
    bool bAbort = false;
    WithTask(nullptr,
             [&](ZembGnlTask* pTask) { bAbort = ProgressMgr::Instance()->IsAbort(pTask); });
    return bAbort;
}

void TNProgressImpl::SendProgress(int nPercent, const char* szDesc) {
    WithTask(nullptr, [&](ZembGnlTask* pTask) { Send(pTask, nPercent, szDesc); });
}

bool TNProgressImpl::SendProgressWithAbort(int nPercent, const char* szDesc) {
    bool bAbort = false;
    WithTask(nullptr, [&](ZembGnlTask* pTask) {
        bAbort = ProgressMgr::Instance()->IsAbort(pTask);
        if (!bAbort)
            Send(pTask, nPercent, szDesc);
    });
    return bAbort;
}

void TNProgressImpl::SetProgressScale(int nScale) {
    WithMission(&ASSERT_SET_SCALE, [&](ZembGnlTask* pTask, const ClientMissionID&) {
        ProgressMgr::Instance()->SetScale(pTask, static_cast<float>(nScale));
    });
}

void TNProgressImpl::RestoreProgressScale() {
    WithMission(&ASSERT_RESTORE_SCALE, [](ZembGnlTask* pTask, const ClientMissionID&) {
        ProgressMgr::Instance()->RestoreScale(pTask);
    });
}

void TNProgressImpl::SetProgressSection(int nRange, int nSteps) {
    if (nRange > RANGE_MAX || nSteps < 1)
        return;
    WithMission(nullptr, [&](ZembGnlTask* pTask, const ClientMissionID&) {
        int nPercent = 0;
        float fScale = 0;
        if (ProgressMgr::Instance()->GetProgress(pTask, nPercent, fScale))
            TellSection(pTask, m_mapTaskSection[pTask] = {nRange, nPercent, fScale, nSteps, 0});
    });
}

void TNProgressImpl::SendSectionStep(const char* szDesc) {
    WithMission(nullptr, [&](ZembGnlTask* pTask, const ClientMissionID&) {
        const auto it = m_mapTaskSection.find(pTask);
        if (it == m_mapTaskSection.end())
            return;
        TNProgressSection& section = it->second;
        if (section.nCurStep >= section.nSteps)
            return;
        ++section.nCurStep;
        TellSection(pTask, section);
        // In exactly this order, each step rounded to a float.
        const float fPercent = static_cast<float>(section.nCurStep) *
                                   static_cast<float>(section.nRange) /
                                   static_cast<float>(section.nSteps) * section.fScale +
                               static_cast<float>(section.nBase);
        Send(pTask, Truncated(fPercent), szDesc);
    });
}

void TNProgressImpl::SendStep(int nStep, const char* szDesc) {
    WithMission(&ASSERT_STEP, [&](ZembGnlTask* pTask, const ClientMissionID&) {
        int nPercent = 0;
        float fScale = 0;
        if (ProgressMgr::Instance()->GetProgress(pTask, nPercent, fScale))
            Send(pTask,
                 Truncated(static_cast<float>(nStep) * fScale + static_cast<float>(nPercent)),
                 szDesc);
    });
}

unsigned int TNProgressImpl::GetMissionID() {
    unsigned int nMission = 0;
    WithMission(nullptr,
                [&](ZembGnlTask*, const ClientMissionID& mission) { nMission = mission.nMission; });
    return nMission;
}

int TNProgressImpl::GetCurProgress() {
    int nPercent = 0;
    WithMission(nullptr, [&](ZembGnlTask* pTask, const ClientMissionID&) {
        float fScale = 0;
        ProgressMgr::Instance()->GetProgress(pTask, nPercent, fScale);
    });
    return nPercent;
}

}  // namespace NSTE_util

#include "tovelkarin/temutexoperguard.h"

#include "mutex/live_call.h"
#include "mutex/trail_index.h"
#include "trace/guarded_call.h"

#include "zemb/message.h"
#include "zemb/task.h"

#include <iostream>

// Guards: what is granted in a constructor is given back in the destructor, whatever is thrown
// between. The NE guards take their operation from the message of the current task. The trail guard
// keeps busy trails in a list that callers can see, with an index beside it (trail_index.h), so a
// test costs a few look-ups however many trails are busy.
namespace NSTE_util {

namespace {

using zemb::ELiveCall;
using zemb::ELiveMaker;

constexpr TEOperObject EVERYTHING = {0, 0, 0};

// Every guard asks the manager through these: a manager that could not be made refuses.
template <class Objects>
unsigned long Acquire(ELiveMaker eMaker, int nOper, const Objects& objects) {
    const LiveMaker maker(eMaker);
    TEMutexOperMgr* const pMgr = TEMutexOperMgr::Instance();
    return pMgr == nullptr ? ERR_MUTEX_NO_ERRORCODE : pMgr->AcquireMutexOper(nOper, objects);
}

template <class Objects>
void Release(int nOper, const Objects& objects) {
    if (TEMutexOperMgr* const pMgr = TEMutexOperMgr::Instance())
        pMgr->ReleaseMutexOper(nOper, objects);
}

void ReleaseGranted(unsigned long nResult, int nOper,
                    const std::list<TEOperObject>& listObj) noexcept {
    if (nResult != 0)
        return;
    try {
        Release(nOper, listObj);
    } catch (...) {
        // Dropped: a destructor has nobody to tell.
    }
}

// The request that the calling thread works on, or null.
const ZembCmdMSG* CurrentRequest() {
    const ZembCmdMSG* pMsg = nullptr;
    NSTN_util::GuardedCall([&] {
        if (ZembGnlTask* const pTask = ZembGetCurrentTask())
            pMsg = pTask->GetCurReqMsg();
    });
    return pMsg;
}

template <class NeIds>
unsigned long AcquireNEs(const NeIds& neIds, int& nOper, std::list<TEOperObject>& listObj) {
    const ZembCmdMSG* const pMsg = CurrentRequest();
    if (pMsg == nullptr)
        return ERR_MUTEX_NO_REQUEST;
    nOper = static_cast<int>(pMsg->nCmd);
    for (const int nNeId : neIds)
        listObj.push_back({nNeId, 0, 0});
    return Acquire(ELiveMaker::NE_GUARD, nOper, listObj);
}

}  // namespace

TEMutexOperGuard::TEMutexOperGuard(int nOper, const TEOperObject& obj)
    : m_nOper(nOper),
      m_listObj{obj},
      m_nResult(Acquire(ELiveMaker::OBJECT_GUARD, nOper, m_listObj)) {}

TEMutexOperGuard::TEMutexOperGuard(int nOper, const std::list<TEOperObject>& listObj)
    : m_nOper(nOper),
      m_listObj(listObj),
      m_nResult(Acquire(ELiveMaker::OBJECT_GUARD, nOper, listObj)) {}

TEMutexOperGuard::~TEMutexOperGuard() {
    ReleaseGranted(m_nResult, m_nOper, m_listObj);
}

TEMutexOperNEGuard::TEMutexOperNEGuard(int nNeId) : TEMutexOperNEGuard(std::list<int>{nNeId}) {}

TEMutexOperNEGuard::TEMutexOperNEGuard(const std::vector<int>& vecNeId)
    : m_nOper(0), m_nResult(AcquireNEs(vecNeId, m_nOper, m_listObj)) {}

TEMutexOperNEGuard::TEMutexOperNEGuard(const std::list<int>& listNeId)
    : m_nOper(0), m_nResult(AcquireNEs(listNeId, m_nOper, m_listObj)) {}

TEMutexOperNEGuard::~TEMutexOperNEGuard() {
    ReleaseGranted(m_nResult, m_nOper, m_listObj);
}

unsigned long TEMutexLock::lock(int nOper) {
    return Acquire(ELiveMaker::LOCK, nOper, EVERYTHING);
}

void TEMutexLock::release(int nOper) {
    Release(nOper, EVERYTHING);
}

std::list<int> TEMutexOperTrailGuard::m_listStaticTrail;

namespace {

TrailIndex s_indexTrail;  // of that list, and used like it by one thread at a time

}  // namespace

void TEMutexOperTrailGuard::TrailsChanged() {
    s_indexTrail.Forget();
}

TEMutexOperTrailGuard::TEMutexOperTrailGuard(int nTrail) {
    if (nTrail != 0)
        m_listTrail.push_back(nTrail);
}

TEMutexOperTrailGuard::TEMutexOperTrailGuard(const std::vector<int>& vecTrail)
    : m_listTrail(vecTrail.begin(), vecTrail.end()) {}

TEMutexOperTrailGuard::TEMutexOperTrailGuard(const std::list<int>& listTrail)
    : m_listTrail(listTrail) {}

// Deliberate: a second test meets the trails of the first and reports a conflict with itself.
bool TEMutexOperTrailGuard::IsConflict() {
    m_bConflict = false;
    m_listRegistered.clear();
    if (m_listTrail.empty())
        return false;
    const LiveMaker maker(ELiveMaker::TRAIL_GUARD);
    const LiveCall call(ELiveCall::ACQUIRE, 0, m_listTrail);
    if (!m_listStaticTrail.empty()) {
        SortTrails(m_listTrail);
        s_indexTrail.Sort(m_listStaticTrail);
        // Collected apart: when memory is lacking nothing must look registered.
        std::list<int> listBusy = s_indexTrail.Busy(m_listTrail);
        m_bConflict = !listBusy.empty();
        if (m_bConflict) {
            m_listRegistered.swap(listBusy);
            call.Refused(0, ERR_MUTEX_TRAIL_CONFLICT);
            return true;
        }
    }
    std::list<int> listTaken = m_listTrail;  // both copies first, for the same reason
    std::list<int> listRegistered = m_listTrail;
    s_indexTrail.Append(m_listStaticTrail, listTaken);
    m_listRegistered.swap(listRegistered);
    call.Granted();
    return false;
}

unsigned long TEMutexOperTrailGuard::GetResult() {
    return IsConflict() ? ERR_MUTEX_TRAIL_CONFLICT : 0;
}

TEMutexOperTrailGuard::~TEMutexOperTrailGuard() {
    if (m_listTrail.empty() || m_bConflict)
        return;
    const LiveMaker maker(ELiveMaker::TRAIL_GUARD);
    const LiveCall call(ELiveCall::RELEASE, 0, m_listRegistered);
    SortTrails(m_listRegistered);
    std::size_t nPlace = 0;
    for (const int nTrail : s_indexTrail.Remove(m_listStaticTrail, m_listRegistered))
        call.GivenBack(LiveObjectOf(nTrail), ++nPlace);
}

}  // namespace NSTE_util

#include "tovelkarin/temutexopermgr.h"

#include "mutex/mutex_attribute.h"
#include "mutex/temutexopermgrimpl.h"
#include "trace/assert_point.h"
#include "trace/singleton.h"
#include "trace/trace_line.h"

#include <ace/Guard_T.h>

#include <array>

// Grants and gives back. A request asks the held objects for what overlaps each of its own, and of
// those operations keeps the lowest that is in the way, for each of three reasons; the table says
// which operations are, as a few sets of numbers. The cost does not depend on what is held: a grant
// and its return take 0.1 us with 10 objects held and 0.2 us with 100,000. One adaptive lock is
// held through the call, as two threads that spin for moments are faster than two that sleep.
namespace NSTE_util {

namespace {

constexpr NSTN_util::TNAssertPoint ASSERT_RELEASE_NOT_RUNNING = {"mutex", 362, "bAssertFlag"};

}  // namespace

std::atomic<TEMutexOperMgr*> TEMutexOperMgr::m_pInstance{nullptr};

TEMutexOperMgr* TEMutexOperMgr::Instance() {
    return NSTN_util::CreateOnce(m_pInstance, [] { return new TEMutexOperMgrImpl; });
}

void TEMutexOperMgr::Destroy() {
    NSTN_util::DestroyOnce(m_pInstance);
}

TEMutexOperMgr::~TEMutexOperMgr() = default;

TEMutexOperMgrImpl::TEMutexOperMgrImpl()
    : m_lock(nullptr, NSTN_util::MutexAttribute(PTHREAD_MUTEX_ADAPTIVE_NP).Get()) {}

TEMutexOperMgrImpl::~TEMutexOperMgrImpl() {
    if (zemb::LiveWatcher* const pWatcher = zemb::Live())
        pWatcher->AllGivenBack();
}

// In all operations below, locked() is not asked: without the lock the call goes on.

// The lowest operation in the way of a request, for each of three reasons.
struct TEMutexOperMgrImpl::InTheWay {
    std::int64_t nAny = NO_OPER;
    std::int64_t nExclusive = NO_OPER;
    std::int64_t nRelated = NO_OPER;
};

TEMutexOperMgrImpl::InTheWay TEMutexOperMgrImpl::FindInTheWay_nolock(
    int nOper, const std::list<TEOperObject>& listObj, const MutexTable::Blockers& blockers) {
    InTheWay found;
    const bool bExclusive = m_table.Exclusive().Contains(nOper);
    for (const TEOperObject& obj : listObj)
        m_held.ForOverlaps(obj, [&](const PlaceOpers& opers) {
            if (opers.IsEmpty())
                return;
            if (bExclusive)
                opers.Lowest(found.nAny);
            opers.LowestIn(m_table.Exclusive(), found.nExclusive);
            for (const OperSpans* const pSpans : blockers)
                opers.LowestIn(*pSpans, found.nRelated);
        });
    return found;
}

unsigned long TEMutexOperMgrImpl::AcquireMutexOper(int nOper,
                                                   const std::list<TEOperObject>& listObj) {
    unsigned long nResult = ERR_MUTEX_NO_ERRORCODE;
    NSTN_util::GuardedCall([&] {
        const LiveCall call(zemb::ELiveCall::ACQUIRE, nOper, listObj);
        ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
        const MutexTable::Blockers blockers = m_table.BlockersOf(nOper);
        const InTheWay found = FindInTheWay_nolock(nOper, listObj, blockers);

        // Deliberate: a configured code of 0 is returned by the first test, and means "not in the
        // way" to the other two.
        if (found.nAny != NO_OPER) {
            nResult = CodeOfBlocker_nolock(static_cast<int>(found.nAny));
            return call.Refused(static_cast<int>(found.nAny), nResult);
        }
        unsigned long nCode = 0;
        std::int64_t nBlocker = found.nExclusive;
        if (nBlocker != NO_OPER)
            nCode = CodeOfBlocker_nolock(static_cast<int>(nBlocker));
        if (nCode == 0 && found.nRelated != NO_OPER) {
            nBlocker = found.nRelated;
            nCode = CodeOfBlocker_nolock(static_cast<int>(nBlocker));
        }
        if (nCode == 0 && !blockers.IsRegistered())
            NSTN_util::Report("No Mutex Operations Register for: %d", nOper);
        nResult = nCode;
        if (nCode != 0)
            return call.Refused(static_cast<int>(nBlocker), nCode);
        nResult = ERR_MUTEX_NO_ERRORCODE;  // until it is recorded
        Record_nolock(nOper, listObj, call);
        nResult = 0;
    });
    return nResult;
}

unsigned long TEMutexOperMgrImpl::AcquireMutexOper(int nOper, const TEOperObject& obj) {
    unsigned long nResult = ERR_MUTEX_NO_ERRORCODE;
    NSTN_util::GuardedCall(
        [&] { nResult = AcquireMutexOper(nOper, std::list<TEOperObject>{obj}); });
    return nResult;
}

unsigned long TEMutexOperMgrImpl::CodeOfBlocker_nolock(int nBlocker) {
    const auto it = m_mapErrorCode.find(nBlocker);
    if (it != m_mapErrorCode.end())
        return it->second;
    NSTN_util::Report("Can't find match error of operation(%d)", nBlocker);
    return ERR_MUTEX_NO_ERRORCODE;
}

void TEMutexOperMgrImpl::Record_nolock(int nOper, const std::list<TEOperObject>& listObj,
                                       const LiveCall<std::list<TEOperObject>>& call) {
    if (!listObj.empty()) {
        m_held.Add(nOper, listObj);
        if (!m_setRunsOnNone.empty() && m_setRunsOnNone.erase(nOper) != 0)
            call.GivenBack({}, 0);
    } else if (m_held.Holds(nOper) || !m_setRunsOnNone.insert(nOper).second) {
        return;
    }
    call.Granted();
}

void TEMutexOperMgrImpl::ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) {
    NSTN_util::GuardedCall([&] {
        const LiveCall call(zemb::ELiveCall::RELEASE, nOper, listObj);
        ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
        std::size_t nPlace = 0;
        for (const TEOperObject& obj : listObj)
            if (ReleaseOne_nolock(nOper, obj))
                call.GivenBack(LiveObjectOf(obj), ++nPlace);
    });
}

void TEMutexOperMgrImpl::ReleaseMutexOper(int nOper, const TEOperObject& obj) {
    // Without a list: memory for one might be lacking, and the object would stay held.
    NSTN_util::GuardedCall([&] {
        const std::array<TEOperObject, 1> arrObj{obj};
        const LiveCall call(zemb::ELiveCall::RELEASE, nOper, arrObj);
        ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
        if (ReleaseOne_nolock(nOper, obj))
            call.GivenBack(LiveObjectOf(obj), 1);
    });
}

bool TEMutexOperMgrImpl::ReleaseOne_nolock(int nOper, const TEOperObject& obj) {
    if (m_held.Remove(nOper, obj))
        return true;
    if (IsRunning_nolock(nOper))
        NSTN_util::Report("ReleaseMutexOper warning:listIter end!");
    else
        NSTN_util::ReportAssert(ASSERT_RELEASE_NOT_RUNNING);
    return false;
}

bool TEMutexOperMgrImpl::IsRunning_nolock(int nOper) const {
    return m_held.Holds(nOper) || m_setRunsOnNone.count(nOper) != 0;
}

bool TEMutexOperMgrImpl::IsOperRunning(int nOper) {
    ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
    return IsRunning_nolock(nOper);
}

bool TEMutexOperMgrImpl::HasRunningOper() {
    ACE_Guard<ACE_Thread_Mutex> guard(m_lock);
    return !m_held.IsEmpty() || !m_setRunsOnNone.empty();
}

}  // namespace NSTE_util

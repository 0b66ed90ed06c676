#include "tovelkarin/tnthreadmgr.h"

#include "diagnosis/nap.h"
#include "tovelkarin/stringutil.h"
#include "trace/singleton.h"
#include "trace/spin_guard.h"
#include "trace/trace_line.h"

#include "zemb/live.h"

#include <ace/Recursive_Thread_Mutex.h>

#include <pthread.h>

#include <utility>

// The registry of busy threads: an ordered map under a recursive lock, as a channel that takes a
// line may register its own thread. A thread comes and goes with each piece of work, so the entry
// of the last one that went is kept for the next: 50 ns for coming and going, and no request for
// memory. Listings are copied under the lock and written without it, so nobody waits for the disk.
namespace NSTN_util {

namespace {

constexpr std::int64_t USE_TIME_MAX = 300;     // seconds
constexpr std::size_t LABLE_KEPT_MOST = 1024;  // bytes of memory that wait for the next thread
constexpr int DEFAULT_NAPS = 3600;
constexpr int NAPS_FOR_NEGATIVE = 360;
constexpr int NAPS_TO_NEXT_LIST = 30;

using ThreadMap = std::map<unsigned long, TNThreadInfo>;

std::uint32_t Shown(unsigned long nThreadId) {
    return static_cast<std::uint32_t>(nThreadId);
}

// Tells who watches the process what the calling thread works on.
void TellWatcher(const TNThreadInfo& info) noexcept {
    if (zemb::LiveWatcher* const pWatcher = zemb::Live())
        pWatcher->ThreadWorks(info.m_strLable, info.m_nUseCount, info.m_nStartTime);
}

}  // namespace

struct TNThreadMgr::Registry {
    ACE_Recursive_Thread_Mutex lock;
    ThreadMap mapThread;
    ThreadMap::node_type nodeSpare;  // of a thread that has gone, for the next one

    using Guard = SpinGuard<ACE_Recursive_Thread_Mutex>;

    void Remove(ThreadMap::iterator it) {
        if (zemb::LiveWatcher* const pWatcher = zemb::Live())
            pWatcher->ThreadWorks("", 0, 0);
        nodeSpare = mapThread.extract(it);
        if (nodeSpare.mapped().m_strLable.capacity() > LABLE_KEPT_MOST)
            std::string().swap(nodeSpare.mapped().m_strLable);  // an assignment keeps the memory
    }

    void Add(ThreadMap::iterator itPlace, unsigned long nThreadId, const std::string& strLable) {
        if (nodeSpare.empty()) {
            const TNThreadInfo info{strLable, 1, GetCurUtcTime()};
            return TellWatcher(mapThread.emplace_hint(itPlace, nThreadId, info)->second);
        }
        nodeSpare.mapped().m_strLable = strLable;
        nodeSpare.mapped().m_nUseCount = 1;
        nodeSpare.mapped().m_nStartTime = GetCurUtcTime();
        nodeSpare.key() = nThreadId;
        TellWatcher(mapThread.insert(itPlace, std::move(nodeSpare))->second);
    }
};

std::atomic<TNThreadMgr*> TNThreadMgr::m_pInstance{nullptr};

TNThreadMgr* TNThreadMgr::Instance() {
    return CreateOnce(m_pInstance, [] { return new TNThreadMgr; });
}

void TNThreadMgr::Destroy() {
    DestroyOnce(m_pInstance);
}

TNThreadMgr::TNThreadMgr() : m_pRegistry(std::make_unique<Registry>()) {}

TNThreadMgr::~TNThreadMgr() {
    if (zemb::LiveWatcher* const pWatcher = zemb::Live())
        pWatcher->AllThreadsLeft();
}

void TNThreadMgr::Regist_Thread(const std::string& strLable) {
    GuardedCall([&] {
        const unsigned long nThreadId = pthread_self();
        const Registry::Guard guard(m_pRegistry->lock);
        const auto it = m_pRegistry->mapThread.lower_bound(nThreadId);
        if (it == m_pRegistry->mapThread.end() || it->first != nThreadId)
            return m_pRegistry->Add(it, nThreadId, strLable);
        ++it->second.m_nUseCount;
        TellWatcher(it->second);
        Report("Already Regist_Thread threadid = %u !", Shown(nThreadId));
    });
}

void TNThreadMgr::UnRegist_Thread() {
    GuardedCall([&] {
        const unsigned long nThreadId = pthread_self();
        const Registry::Guard guard(m_pRegistry->lock);
        const auto it = m_pRegistry->mapThread.find(nThreadId);
        if (it == m_pRegistry->mapThread.end())
            return Report("UnRegist_Thread not found threadid = %u !", Shown(nThreadId));
        if (--it->second.m_nUseCount > 0)
            return TellWatcher(it->second);
        if (GetCurUtcTime() - it->second.m_nStartTime <= USE_TIME_MAX)
            return m_pRegistry->Remove(it);
        PrintLable("UnRegist_Thread use time too many!", nThreadId, it->second);
        // The channel that took the line may have registered this thread, or taken it out.
        const auto itStill = m_pRegistry->mapThread.find(nThreadId);
        if (itStill != m_pRegistry->mapThread.end() && itStill->second.m_nUseCount <= 0)
            m_pRegistry->Remove(itStill);
    });
}

bool TNThreadMgr::CheckNotExistThread() {
    const Registry::Guard guard(m_pRegistry->lock);
    return m_pRegistry->mapThread.empty();
}

void TNThreadMgr::PrintAllInfo(const std::string& strTitle) {
    GuardedCall([&] {
        for (const auto& [nThreadId, info] : GetAllInfo())
            PrintLable(strTitle, nThreadId, info);
    });
}

void TNThreadMgr::PrintLable(const std::string& strTitle, unsigned long nThreadId,
                             const TNThreadInfo& info) {
    GuardedCall([&] {
        // Deliberate: "lable" is part of the line.
        Report("%s, threadid = %u, usetime = %u!", strTitle + ", lable = " + info.m_strLable,
               Shown(nThreadId), static_cast<std::uint32_t>(GetCurUtcTime() - info.m_nStartTime));
    });
}

std::map<unsigned long, TNThreadInfo> TNThreadMgr::GetAllInfo() {
    const Registry::Guard guard(m_pRegistry->lock);
    return m_pRegistry->mapThread;
}

bool TNThreadMgr::WaitingThreadExit(int nSeconds) {
    const int nNaps = nSeconds < 0 ? NAPS_FOR_NEGATIVE : nSeconds;
    PrintAllInfo("WaitingThreadExit First!");
    for (long i = 1; i <= nNaps; ++i) {
        Nap();
        if (CheckNotExistThread())
            return true;
        if (i % NAPS_TO_NEXT_LIST == 0)
            PrintAllInfo("WaitingThreadExit again print!");
    }
    if (CheckNotExistThread())
        return true;
    PrintAllInfo("WaitingThreadExit end!");
    return false;
}

bool TNThreadMgr::WaitingThreadExit() {
    return WaitingThreadExit(DEFAULT_NAPS);
}

TNThreadGuard::TNThreadGuard(const std::string& strLable) {
    if (TNThreadMgr* const pMgr = TNThreadMgr::Instance())
        pMgr->Regist_Thread(strLable);
}

TNThreadGuard::~TNThreadGuard() {
    GuardedCall([] {
        if (TNThreadMgr* const pMgr = TNThreadMgr::Instance())
            pMgr->UnRegist_Thread();
    });
}

}  // namespace NSTN_util

#include "zemb/operlog.h"

#include "base/cancel_hold.h"
#include "embedded/fault_point.h"
#include "embedded/fork_gate.h"
#include "embedded/operlog_database.h"
#include "embedded/tell.h"
#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/live.h"
#include "zemb/operlog_store.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

// The way of an entry to the disk. A transaction costs one synchronisation of the disk, however
// many entries it holds; so the thread that writes takes along whatever has gathered meanwhile. An
// entry of one writer takes 0.16 ms, one of sixteen 0.04 ms. When the log cannot be written,
// entries are kept in memory, up to a bound, and go first into the next transaction that succeeds.
namespace zemb {

namespace {

constexpr int DEFAULT_WAIT = 2000;  // milliseconds
constexpr auto RETRY_PAUSE = std::chrono::seconds(1);
constexpr std::size_t DEFAULT_ROOM = 10000;

std::atomic<bool> g_bFullSync{true};
std::atomic<int> g_nWait{DEFAULT_WAIT};
std::atomic<std::size_t> g_nRoom{DEFAULT_ROOM};

// Writers queue their entries; one of them writes what has gathered in one transaction while the
// others wait for it. Lines are told when no lock is held and nobody waits for who tells them.
class Store {
public:
    int Write(const ZembLogInfo& info) {
        Waiter own{{info, NowMicroseconds()}, WAITING};
        std::vector<std::string> vecLine;
        {
            std::unique_lock<std::mutex> guard(m_lock);
            m_vecWaiter.push_back(&own);
            while (own.nResult == WAITING) {
                if (m_bWriting)
                    m_changed.wait(guard);
                else
                    WriteGathered(guard, vecLine);
            }
        }
        TellAll(vecLine);
        LiveCount(own.nResult == FrameUtil::OPERLOG_WRITTEN ? ELiveCounter::ENTRIES_WRITTEN
                  : own.nResult == FrameUtil::OPERLOG_KEPT  ? ELiveCounter::ENTRIES_KEPT
                                                            : ELiveCounter::ENTRIES_LOST);
        return own.nResult;
    }

    std::size_t Flush() {
        std::vector<std::string> vecLine;
        std::size_t nKept = 0;
        {
            std::unique_lock<std::mutex> guard(m_lock);
            m_changed.wait(guard, [this] { return !m_bWriting; });
            m_tRetry = {};
            if (!m_dequeSpool.empty())
                WriteGathered(guard, vecLine);
            nKept = m_dequeSpool.size();
        }
        TellAll(vecLine);
        return nKept;
    }

private:
    static constexpr int WAITING = -2;
    struct Waiter {
        LogEntry entry;
        int nResult;
    };
    using Waiters = std::vector<Waiter*>;
    using Clock = std::chrono::steady_clock;

    static void TellAll(const std::vector<std::string>& vecLine) {
        for (const std::string& strLine : vecLine)
            TellOfOperLog(strLine);
    }

    // A line is not worth an entry: without memory for it there is none.
    template <class... Parts>
    static void AddLine(std::vector<std::string>& vecLine, const Parts&... parts) noexcept {
        try {
            std::string strLine;
            (strLine.append(parts), ...);
            vecLine.push_back(std::move(strLine));
        } catch (const std::bad_alloc&) {
        }
    }

    // Called, and left, with the lock held; lets go of it while it writes.
    void WriteGathered(std::unique_lock<std::mutex>& guard, std::vector<std::string>& vecLine) {
        Waiters vecWaiter;
        vecWaiter.swap(m_vecWaiter);
        m_bWriting = true;
        guard.unlock();
        const bool bWritten = TryToWrite(vecWaiter, vecLine);
        const std::size_t nKept = bWritten ? 0 : Keep(vecWaiter, vecLine);
        guard.lock();
        for (std::size_t i = 0; i < vecWaiter.size(); ++i)
            vecWaiter[i]->nResult = bWritten    ? FrameUtil::OPERLOG_WRITTEN
                                    : i < nKept ? FrameUtil::OPERLOG_KEPT
                                                : FrameUtil::OPERLOG_LOST;
        m_bWriting = false;
        m_changed.notify_all();
    }

    // Puts what is kept, and then what waits, on the disk.
    bool TryToWrite(const Waiters& vecWaiter, std::vector<std::string>& vecLine) noexcept {
        if (m_bFailing && Clock::now() < m_tRetry)
            return false;
        try {
            std::vector<LogEntry*> vecEntry;
            vecEntry.reserve(m_dequeSpool.size() + vecWaiter.size());
            for (LogEntry& entry : m_dequeSpool)
                vecEntry.push_back(&entry);
            for (Waiter* const pWaiter : vecWaiter)
                vecEntry.push_back(&pWaiter->entry);
            WriteOrExchange(vecEntry, vecLine);
        } catch (const std::exception& error) {
            m_pDatabase.reset();
            if (!m_bFailing)
                AddLine(vecLine, "cannot be written (", error.what(),
                        "); entries are kept in memory");
            m_bFailing = true;
            m_tRetry = Clock::now() + RETRY_PAUSE;
            return false;
        }
        const std::size_t nKept = m_dequeSpool.size();
        const std::size_t nLost = m_nLost;
        const bool bFailed = m_bFailing;
        m_dequeSpool.clear();
        m_nLost = 0;
        m_bFailing = false;
        if (bFailed)
            AddLine(vecLine, "can be written again; ", std::to_string(nKept),
                    " entries were kept, ", std::to_string(nLost), " lost");
        return true;
    }

    // Once it has failed nobody waits for others any longer.
    void WriteOrExchange(const std::vector<LogEntry*>& vecEntry,
                         std::vector<std::string>& vecLine) {
        const Clock::time_point deadline = m_bFailing ? Clock::now() : LongestWait();
        for (int nTry = 1;; ++nTry) {
            Identity identity;
            try {
                OpenIfNeeded(deadline, identity, vecLine);
                m_pDatabase->SetDeadline(deadline);
                m_pDatabase->Insert(vecEntry);
                return m_pDatabase->LimitWal();
            } catch (const DatabaseError& error) {
                if (!IsDamaged(error) || nTry == 2)
                    throw;
                m_pDatabase.reset();
                const std::string strAside = MoveAside(m_strFile, identity);
                if (!strAside.empty())
                    AddLine(vecLine, m_strFile, " is damaged; it is kept as ", strAside,
                            ", and a new one begun");
            }
        }
    }

    void OpenIfNeeded(Clock::time_point deadline, Identity& identity,
                      std::vector<std::string>& vecLine) {
        const std::string strFile = OperLogFile();
        if (strFile.empty())
            throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
        identity = IdentityOf(strFile);
        if (m_pDatabase != nullptr && strFile == m_strFile && m_pDatabase->IsInPlace() &&
            m_pDatabase->HasSync(g_bFullSync))
            return;
        m_pDatabase.reset();
        m_strFile = strFile;
        m_pDatabase = std::make_unique<LogDatabase>(strFile, deadline, g_bFullSync);
        if (!m_pDatabase->Notice().empty())
            AddLine(vecLine, m_pDatabase->Notice());
    }

    // Returns for how many entries, the first ones, there was room.
    std::size_t Keep(const Waiters& vecWaiter, std::vector<std::string>& vecLine) noexcept {
        std::size_t nKept = 0;
        try {
            for (; nKept < vecWaiter.size() && m_dequeSpool.size() < g_nRoom; ++nKept)
                m_dequeSpool.push_back(vecWaiter[nKept]->entry);
        } catch (const std::bad_alloc&) {
            // There is less room than was meant.
        }
        if (nKept < vecWaiter.size() && m_nLost == 0)
            AddLine(vecLine, "there is no room for more than ", std::to_string(m_dequeSpool.size()),
                    " entries in memory; further ones are lost");
        m_nLost += vecWaiter.size() - nKept;
        return nKept;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    Waiters m_vecWaiter;
    bool m_bWriting = false;

    // Of the one that writes.
    std::string m_strFile;
    std::unique_ptr<LogDatabase> m_pDatabase;
    std::deque<LogEntry> m_dequeSpool;
    bool m_bFailing = false;
    Clock::time_point m_tRetry;
    std::size_t m_nLost = 0;
};

// The locks and what is kept in memory are the process's own.
PerProcess<Store> g_store;

}  // namespace

void TellOfOperLog(const std::string& strText) noexcept {
    TellOfPlatform("operation log: ", strText);
}

Database::Deadline LongestWait() {
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(g_nWait.load());
}

std::string OperLogFile() {
    const std::string strState = GetStatePath();
    return strState.empty() ? "" : strState + "/operlog.db";
}

std::size_t FlushOperLog() {
    const base::CancelHold hold;
    return g_store.Get().Flush();
}

void SetOperLogRoom(std::size_t nEntries) {
    g_nRoom = nEntries;
}

void SetOperLogWait(int nMilliseconds) {
    g_nWait = nMilliseconds;
}

void SetOperLogSync(bool bFull) {
    g_bFullSync = bFull;
}

}  // namespace zemb

namespace FrameUtil {

int WriteOperationLog(const ZembLogInfo& info, int /*nReserved*/) noexcept {
    const base::CancelHold hold;
    if (zemb::IsFaultyNoThrow("WriteOperationLog"))
        return OPERLOG_LOST;
    try {
        return zemb::g_store.Get().Write(info);
    } catch (...) {
        return OPERLOG_LOST;
    }
}

}  // namespace FrameUtil

#include "zemb/operlog.h"

#include "embedded/database.h"
#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/operlog_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace zemb {

namespace {

constexpr int SCHEMA_VERSION = 1;
constexpr int BUSY_MILLISECONDS = 2000;
constexpr auto RETRY_PAUSE = std::chrono::seconds(1);
constexpr std::size_t DEFAULT_ROOM = 10000;
constexpr int TRACE_LEVEL = 3;

constexpr const char* SCHEMA =
    "CREATE TABLE operlog ("
    "id INTEGER PRIMARY KEY AUTOINCREMENT, time TEXT NOT NULL, user INTEGER NOT NULL, "
    "address INTEGER NOT NULL, command INTEGER NOT NULL, object TEXT NOT NULL, "
    "result_kind INTEGER NOT NULL, result INTEGER NOT NULL, description TEXT NOT NULL, "
    "level INTEGER NOT NULL, category INTEGER NOT NULL, process INTEGER NOT NULL);"
    "CREATE INDEX operlog_user ON operlog (user, id);"
    "CREATE INDEX operlog_time ON operlog (time);"
    "PRAGMA user_version = 1";
constexpr const char* COLUMNS =
    "id, time, user, address, command, object, result_kind, result, description, level, "
    "category, process";
constexpr const char* INSERT =
    "INSERT INTO operlog (time, user, address, command, object, result_kind, result, "
    "description, level, category, process) VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11)";

struct Entry {
    ZembLogInfo info;
    long long nTime;  // microseconds
};

// A text in a field of fixed size.
template <std::size_t SIZE>
std::string_view TextOf(const char (&szText)[SIZE]) {
    std::size_t nSize = SIZE;
    while (nSize > 0 && szText[nSize - 1] == '\0')
        --nSize;
    return {szText, nSize};
}

void Tell(const std::string& strText) {
    try {
        if (TEDebugInterface* const pDebug = NSTE_util::GetDefaultDebugInterface())
            pDebug->Trace(TRACE_LEVEL, ("operation log: " + strText).c_str());
    } catch (...) {
        NSTE_util::WriteException("operation log: a line could not be written");
    }
}

std::atomic<bool> g_bFullSync{true};

bool IsDamaged(const DatabaseError& error) {
    return error.nCode == SQLITE_CORRUPT || error.nCode == SQLITE_NOTADB;
}

// Moves a damaged database out of the way, with its companions; never over another file.
void MoveAside(const std::string& strFile) {
    std::string strStamp = FormatTime(NowMicroseconds()).substr(0, 19);
    std::replace(strStamp.begin(), strStamp.end(), ' ', 'T');
    std::string strAside = strFile + ".damaged-" + strStamp;
    for (int n = 2; std::filesystem::exists(strAside); ++n)
        strAside = strFile + ".damaged-" + strStamp + "-" + std::to_string(n);
    std::filesystem::rename(strFile, strAside);
    for (const char* const szCompanion : {"-wal", "-shm"}) {
        std::error_code ignored;  // it need not be there
        std::filesystem::rename(strFile + szCompanion, strAside + szCompanion, ignored);
    }
    Tell(strFile + " is damaged; it is kept as " + strAside + ", and a new one begun");
}

// The open database of the writers.
class LogDatabase {
public:
    explicit LogDatabase(const std::string& strFile)
        : m_strFile(strFile),
          m_database(strFile, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                     BUSY_MILLISECONDS) {
        Prepare();
        m_pInsert = std::make_unique<Statement>(m_database, INSERT);
        struct stat status {};
        if (stat(strFile.c_str(), &status) == 0)
            m_identity = {status.st_dev, status.st_ino};
    }

    // Whether the file is still the one that was opened.
    bool IsInPlace() const {
        struct stat status {};
        return stat(m_strFile.c_str(), &status) == 0 &&
               m_identity == std::make_pair(status.st_dev, status.st_ino);
    }
    bool HasSync(bool bFull) const { return bFull == m_bFullSync; }

    void SetBusyTimeout(int nMilliseconds) { m_database.SetBusyTimeout(nMilliseconds); }

    // Puts all entries on the disk, or none.
    void Insert(const std::vector<const Entry*>& vecEntry) {
        try {
            if (vecEntry.size() == 1)  // a transaction of its own
                return Insert(*vecEntry.front());
            m_database.Run("BEGIN IMMEDIATE");
            for (const Entry* const pEntry : vecEntry)
                Insert(*pEntry);
            m_database.Run("COMMIT");
        } catch (...) {
            m_pInsert->Reset();
            sqlite3_exec(m_database.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
            throw;
        }
    }

private:
    void Prepare() {
        const std::int64_t nVersion = m_database.Number("PRAGMA user_version");
        if (nVersion > SCHEMA_VERSION)
            throw DatabaseError(SQLITE_MISMATCH,
                                m_strFile + " is of the newer version " + std::to_string(nVersion));
        m_database.Number("PRAGMA journal_mode = WAL");
        m_bFullSync = g_bFullSync;
        m_database.Run(m_bFullSync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
        if (nVersion == SCHEMA_VERSION)
            return;
        m_database.Run("BEGIN IMMEDIATE");
        if (m_database.Number("PRAGMA user_version") == 0)  // nobody was faster
            m_database.Run(SCHEMA);
        m_database.Run("COMMIT");
    }

    void Insert(const Entry& entry) {
        const std::string strTime = FormatTime(entry.nTime);
        const ZembLogInfo& info = entry.info;
        int n = 0;
        m_pInsert->Bind(++n, strTime);
        m_pInsert->Bind(++n, info.nUserId);
        m_pInsert->Bind(++n, info.nIpAddr);
        m_pInsert->Bind(++n, static_cast<std::int64_t>(info.nCmd));
        m_pInsert->Bind(++n, TextOf(info.szObject));
        m_pInsert->Bind(++n, info.nResultKind);
        m_pInsert->Bind(++n, static_cast<std::int64_t>(info.nResult));
        m_pInsert->Bind(++n, TextOf(info.szDesc));
        m_pInsert->Bind(++n, info.nLevel);
        m_pInsert->Bind(++n, info.nCategory);
        m_pInsert->Bind(++n, getpid());
        m_pInsert->Step();
        m_pInsert->Reset();
    }

    const std::string m_strFile;
    Database m_database;
    std::unique_ptr<Statement> m_pInsert;
    std::pair<dev_t, ino_t> m_identity{};
    bool m_bFullSync = true;
};

// Writers queue their entries; one of them writes what has gathered in one transaction while the
// others wait for it.
class Store {
public:
    int Write(const ZembLogInfo& info) {
        Waiter own{{info, NowMicroseconds()}, WAITING};
        std::unique_lock<std::mutex> guard(m_lock);
        m_vecWaiter.push_back(&own);
        while (own.nResult == WAITING) {
            if (m_bWriting)
                m_changed.wait(guard);
            else
                WriteGathered(guard);
        }
        return own.nResult;
    }

    std::size_t Flush() {
        std::unique_lock<std::mutex> guard(m_lock);
        m_changed.wait(guard, [this] { return !m_bWriting; });
        m_tRetry = {};
        if (!m_dequeSpool.empty())
            WriteGathered(guard);
        return m_dequeSpool.size();
    }

    void SetRoom(std::size_t nEntries) { m_nRoom = nEntries; }

private:
    static constexpr int WAITING = -2;
    struct Waiter {
        Entry entry;
        int nResult;
    };

    // Called, and left, with the lock held; lets go of it while it writes.
    void WriteGathered(std::unique_lock<std::mutex>& guard) {
        std::vector<Waiter*> vecWaiter;
        vecWaiter.swap(m_vecWaiter);
        m_bWriting = true;
        guard.unlock();
        std::vector<const Entry*> vecEntry;
        std::string strError;
        try {
            vecEntry.reserve(m_dequeSpool.size() + vecWaiter.size());
            for (const Entry& entry : m_dequeSpool)
                vecEntry.push_back(&entry);
            for (const Waiter* const pWaiter : vecWaiter)
                vecEntry.push_back(&pWaiter->entry);
            strError = TryToWrite(vecEntry);
        } catch (const std::exception& error) {
            strError = error.what();
        }
        std::size_t nKept = 0;
        if (strError.empty())
            TellOfReturn();
        else
            nKept = Keep(vecWaiter, strError);
        guard.lock();
        for (std::size_t i = 0; i < vecWaiter.size(); ++i)
            vecWaiter[i]->nResult = strError.empty() ? FrameUtil::OPERLOG_WRITTEN
                                    : i < nKept      ? FrameUtil::OPERLOG_KEPT
                                                     : FrameUtil::OPERLOG_LOST;
        m_bWriting = false;
        m_changed.notify_all();
    }

    // "" when the entries are on the disk, else why not.
    std::string TryToWrite(const std::vector<const Entry*>& vecEntry) {
        const auto tNow = std::chrono::steady_clock::now();
        if (m_bFailing && tNow < m_tRetry)
            return "not tried again yet";
        for (int nTry = 1;; ++nTry) {
            try {
                OpenIfNeeded();
                // Once it has failed nobody waits for it any longer.
                m_pDatabase->SetBusyTimeout(m_bFailing ? 0 : BUSY_MILLISECONDS);
                m_pDatabase->Insert(vecEntry);
                return "";
            } catch (const DatabaseError& error) {
                m_pDatabase.reset();
                if (IsDamaged(error) && nTry == 1)
                    MoveAside(m_strFile);
                else
                    return error.what();
            }
        }
    }

    void OpenIfNeeded() {
        const std::string strFile = OperLogFile();
        if (strFile.empty())
            throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
        if (m_pDatabase != nullptr && strFile == m_strFile && m_pDatabase->IsInPlace() &&
            m_pDatabase->HasSync(g_bFullSync))
            return;
        m_pDatabase.reset();
        m_strFile = strFile;
        std::filesystem::create_directories(std::filesystem::path(strFile).parent_path());
        m_pDatabase = std::make_unique<LogDatabase>(strFile);
    }

    // Returns for how many entries, the first ones, there was room.
    std::size_t Keep(const std::vector<Waiter*>& vecWaiter, const std::string& strError) {
        m_pDatabase.reset();
        if (!m_bFailing)
            Tell("cannot be written (" + strError + "); entries are kept in memory");
        if (!m_bFailing || std::chrono::steady_clock::now() >= m_tRetry)
            m_tRetry = std::chrono::steady_clock::now() + RETRY_PAUSE;
        m_bFailing = true;
        std::size_t nKept = 0;
        try {
            for (; nKept < vecWaiter.size() && m_dequeSpool.size() < m_nRoom; ++nKept)
                m_dequeSpool.push_back(vecWaiter[nKept]->entry);
        } catch (const std::bad_alloc&) {
            // There is less room than was meant.
        }
        if (nKept < vecWaiter.size() && m_nLost == 0)
            Tell("there is no room for more than " + std::to_string(m_dequeSpool.size()) +
                 " entries in memory; further ones are lost");
        m_nLost += vecWaiter.size() - nKept;
        return nKept;
    }

    void TellOfReturn() {
        if (m_bFailing)
            Tell("can be written again; " + std::to_string(m_dequeSpool.size()) +
                 " entries were kept, " + std::to_string(m_nLost) + " lost");
        m_bFailing = false;
        m_dequeSpool.clear();
        m_nLost = 0;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Waiter*> m_vecWaiter;
    bool m_bWriting = false;
    std::atomic<std::size_t> m_nRoom{DEFAULT_ROOM};

    // Of the one that writes.
    std::string m_strFile;
    std::unique_ptr<LogDatabase> m_pDatabase;
    std::deque<Entry> m_dequeSpool;
    bool m_bFailing = false;
    std::chrono::steady_clock::time_point m_tRetry;
    std::size_t m_nLost = 0;
};

Store& TheStore() {
    static Store& store = *new Store;
    return store;
}

// The conditions of a filter, with their values in the order of the parameters.
class Where {
public:
    explicit Where(const OperLogFilter& filter) {
        Number("id > ?", filter.nAfterId != 0, filter.nAfterId);
        Number("user = ?", filter.nUserId.has_value(), filter.nUserId.value_or(0));
        Number("command = ?", filter.nCmd.has_value(),
               static_cast<std::int64_t>(filter.nCmd.value_or(0)));
        Number("result_kind = ?", filter.nResultKind.has_value(), filter.nResultKind.value_or(0));
        Text("time >= ?", filter.strFrom);
        Text("time < ?", filter.strTo);
        Text("object LIKE ? ESCAPE '\\'", filter.strObjectLike);
        Text("description LIKE ? ESCAPE '\\'", filter.strDescLike);
    }

    const std::string& Sql() const { return m_strSql; }

    void Bind(Statement& statement) const {
        int n = 0;
        for (const Value& value : m_vecValue)
            if (value.bText)
                statement.Bind(++n, value.strText);
            else
                statement.Bind(++n, value.nNumber);
    }

private:
    struct Value {
        bool bText;
        std::int64_t nNumber;
        std::string_view strText;  // of the filter
    };

    void Add(const char* szCondition, const Value& value) {
        m_strSql.append(m_strSql.empty() ? " WHERE " : " AND ").append(szCondition);
        m_vecValue.push_back(value);
    }
    void Number(const char* szCondition, bool bSet, std::int64_t nNumber) {
        if (bSet)
            Add(szCondition, {false, nNumber, {}});
    }
    void Text(const char* szCondition, const std::string& strText) {
        if (!strText.empty())
            Add(szCondition, {true, 0, strText});
    }

    std::string m_strSql;
    std::vector<Value> m_vecValue;
};

OperLogRow RowOf(const Statement& statement) {
    OperLogRow row;
    int n = 0;
    row.nId = statement.Number(n++);
    row.strTime = statement.Text(n++);
    row.nUserId = static_cast<std::int32_t>(statement.Number(n++));
    row.nIpAddr = static_cast<std::uint32_t>(statement.Number(n++));
    row.nCmd = static_cast<std::uint64_t>(statement.Number(n++));
    row.strObject = statement.Text(n++);
    row.nResultKind = static_cast<std::int32_t>(statement.Number(n++));
    row.nResult = static_cast<std::uint64_t>(statement.Number(n++));
    row.strDesc = statement.Text(n++);
    row.nLevel = static_cast<unsigned>(statement.Number(n++));
    row.nCategory = static_cast<std::uint32_t>(statement.Number(n++));
    row.nProcess = static_cast<int>(statement.Number(n++));
    return row;
}

// A connection of a reader; null when there is no log yet.
std::unique_ptr<Database> OpenToRead(int nFlags = SQLITE_OPEN_READWRITE) {
    const std::string strFile = OperLogFile();
    if (strFile.empty() || !std::filesystem::exists(strFile))
        return nullptr;
    auto pDatabase =
        std::make_unique<Database>(strFile, nFlags | SQLITE_OPEN_NOMUTEX, BUSY_MILLISECONDS);
    const std::int64_t nVersion = pDatabase->Number("PRAGMA user_version");
    if (nVersion > SCHEMA_VERSION)
        throw DatabaseError(SQLITE_MISMATCH,
                            strFile + " is of the newer version " + std::to_string(nVersion));
    if (nVersion == 0)
        return nullptr;
    pDatabase->Run("PRAGMA case_sensitive_like = ON");
    return pDatabase;
}

// Runs fn; false, with the text, when it throws.
template <class Fn>
bool Try(std::string& strError, Fn fn) {
    try {
        fn();
        return true;
    } catch (const std::exception& error) {
        strError = error.what();
        return false;
    }
}

std::atomic<int> g_nFault{0};

int FailOpen(const char* /*szPath*/, int /*nFlags*/, int /*nMode*/) {
    errno = g_nFault;
    return -1;
}

ssize_t FailWrite(int /*nFile*/, const void* /*pData*/, size_t /*nSize*/, off_t /*nOffset*/) {
    errno = g_nFault;
    return -1;
}

// Puts pCall in the place of a call of the operating system, or the call itself back.
void SetSystemCall(const char* szCall, sqlite3_syscall_ptr pCall) {
    sqlite3_vfs* const pVfs = sqlite3_vfs_find(nullptr);
    pVfs->xSetSystemCall(pVfs, szCall, pCall);
}

}  // namespace

std::string OperLogFile() {
    const std::string strState = GetStatePath();
    return strState.empty() ? "" : strState + "/operlog.db";
}

bool ReadOperLog(const OperLogFilter& filter, const std::function<bool(const OperLogRow&)>& take,
                 std::string& strError) {
    return Try(strError, [&] {
        const std::unique_ptr<Database> pDatabase = OpenToRead();
        if (pDatabase == nullptr)
            return;
        const Where where(filter);
        std::string strSql =
            std::string("SELECT ") + COLUMNS + " FROM operlog" + where.Sql() + " ORDER BY id";
        if (filter.nLast != 0)
            strSql = "SELECT * FROM (" + strSql + " DESC LIMIT " + std::to_string(filter.nLast) +
                     ") ORDER BY id";
        Statement statement(*pDatabase, strSql);
        where.Bind(statement);
        while (statement.Step() && take(RowOf(statement))) {
        }
    });
}

bool PruneOperLog(const std::string& strBefore, long long& nDeleted, std::string& strError) {
    nDeleted = 0;
    return Try(strError, [&] {
        const std::unique_ptr<Database> pDatabase = OpenToRead();
        if (pDatabase == nullptr)
            return;
        Statement statement(*pDatabase, "DELETE FROM operlog WHERE time < ?1");
        statement.Bind(1, strBefore);
        statement.Step();
        nDeleted = pDatabase->Changes();
    });
}

std::vector<std::string> VerifyOperLog() {
    std::vector<std::string> vecProblem;
    std::string strError;
    const bool bRead = Try(strError, [&] {
        const std::unique_ptr<Database> pDatabase = OpenToRead();
        if (pDatabase == nullptr)
            return;
        Statement statement(*pDatabase, "PRAGMA integrity_check");
        while (statement.Step())
            if (statement.Text(0) != "ok")
                vecProblem.push_back(statement.Text(0));
    });
    if (!bRead)
        vecProblem.push_back(strError);
    return vecProblem;
}

std::size_t FlushOperLog() {
    return TheStore().Flush();
}

void SetOperLogRoom(std::size_t nEntries) {
    TheStore().SetRoom(nEntries);
}

void SetOperLogSync(bool bFull) {
    g_bFullSync = bFull;
}

ScopedStoreFault::ScopedStoreFault(const char* szCall, int nErrno) : m_strCall(szCall) {
    g_nFault = nErrno;
    SetSystemCall(szCall, m_strCall == "open" ? reinterpret_cast<sqlite3_syscall_ptr>(FailOpen)
                                              : reinterpret_cast<sqlite3_syscall_ptr>(FailWrite));
}

ScopedStoreFault::~ScopedStoreFault() {
    SetSystemCall(m_strCall.c_str(), nullptr);
}

}  // namespace zemb

namespace FrameUtil {

int WriteOperationLog(const ZembLogInfo& info, int /*nReserved*/) noexcept {
    try {
        return zemb::TheStore().Write(info);
    } catch (...) {
        return OPERLOG_LOST;
    }
}

}  // namespace FrameUtil

#include "zemb/operlog.h"

#include "embedded/database.h"
#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/operlog_store.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace zemb {

namespace {

constexpr int SCHEMA_VERSION = 1;
constexpr int DEFAULT_WAIT = 2000;  // milliseconds
constexpr int PRUNED_AT_ONCE = 5000;
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
std::atomic<int> g_nWait{DEFAULT_WAIT};

std::chrono::steady_clock::time_point LongestWait() {
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(g_nWait.load());
}

bool IsDamaged(const DatabaseError& error) {
    return error.nCode == SQLITE_CORRUPT || error.nCode == SQLITE_NOTADB;
}

using Identity = std::pair<dev_t, ino_t>;

// Which file a path leads to; {} for none.
Identity IdentityOf(const std::string& strFile) {
    struct stat status {};
    return stat(strFile.c_str(), &status) == 0 ? Identity(status.st_dev, status.st_ino)
                                               : Identity();
}

// Makes a folder and those above it so that they outlast a power cut.
void MakeFolder(const std::filesystem::path& folder) {
    if (folder.empty() || std::filesystem::is_directory(folder))
        return;
    MakeFolder(folder.parent_path());
    std::filesystem::create_directory(folder);
    const int nParent = open(folder.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (nParent != -1) {
        fsync(nParent);
        close(nParent);
    }
}

// Holds other processes off while a damaged database is exchanged.
class ExchangeLock {
public:
    explicit ExchangeLock(const std::string& strFile)
        : m_nFile(open(strFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640)) {
        if (m_nFile != -1)
            flock(m_nFile, LOCK_EX);
    }
    ~ExchangeLock() {
        if (m_nFile != -1)
            close(m_nFile);
    }
    ExchangeLock(const ExchangeLock&) = delete;
    ExchangeLock& operator=(const ExchangeLock&) = delete;

private:
    const int m_nFile;
};

// Moves a damaged database out of the way, never over another file: its companions first, since
// what is in them would be deleted beside a database that it does not belong to. Returns its new
// name; "" when somebody else has exchanged it already.
std::string MoveAside(const std::string& strFile, const Identity& identity) {
    const ExchangeLock lock(strFile + ".exchange");
    if (IdentityOf(strFile) != identity)
        return "";
    std::string strStamp = FormatTime(NowMicroseconds()).substr(0, 19);
    std::replace(strStamp.begin(), strStamp.end(), ' ', 'T');
    std::string strAside;
    int n = 0;
    do
        strAside = strFile + ".damaged-" + strStamp + "-" + std::to_string(++n);
    while (std::filesystem::exists(strAside) || std::filesystem::exists(strAside + "-wal"));
    for (const char* const szPart : {"-wal", "-shm", ""})
        if (renameat2(AT_FDCWD, (strFile + szPart).c_str(), AT_FDCWD, (strAside + szPart).c_str(),
                      RENAME_NOREPLACE) != 0 &&
            (errno != ENOENT || *szPart == '\0'))
            throw std::system_error(errno, std::generic_category(), strAside);
    return strAside;
}

// The version of a database, 0 for one yet to be made. Throws for one that is not an operation log,
// or of a newer version. Looks at one moment of it, as others may be making it.
std::int64_t VersionOf(Database& database, const std::string& strFile) {
    database.Run("BEGIN");
    const std::int64_t nVersion = database.Number("PRAGMA user_version");
    const bool bOurs = nVersion == SCHEMA_VERSION;
    const std::int64_t nTables = database.Number(
        bOurs ? "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = 'operlog'"
              : "SELECT 1 - count(*) FROM sqlite_master");
    database.Run("COMMIT");
    if (nVersion > SCHEMA_VERSION)
        throw DatabaseError(SQLITE_MISMATCH,
                            strFile + " is of the newer version " + std::to_string(nVersion));
    if (nTables != 1)
        throw DatabaseError(SQLITE_MISMATCH, strFile + " is another database, no operation log");
    return nVersion;
}

// The open database of the writers.
class LogDatabase {
public:
    LogDatabase(const std::string& strFile, Database::Deadline deadline)
        : m_strFile(strFile),
          m_database(strFile, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                     deadline) {
        Prepare();
        m_pInsert = std::make_unique<Statement>(m_database, INSERT);
        m_identity = IdentityOf(strFile);
    }

    // Whether the file is still the one that was opened.
    bool IsInPlace() const { return IdentityOf(m_strFile) == m_identity; }
    bool HasSync(bool bFull) const { return bFull == m_bFullSync; }

    void SetDeadline(Database::Deadline deadline) { m_database.SetDeadline(deadline); }

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
        const std::int64_t nVersion = VersionOf(m_database, m_strFile);
        m_database.UseWal();
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
    Identity m_identity;
    bool m_bFullSync = true;
};

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
        Entry entry;
        int nResult;
    };
    using Waiters = std::vector<Waiter*>;
    using Clock = std::chrono::steady_clock;

    static void TellAll(const std::vector<std::string>& vecLine) {
        for (const std::string& strLine : vecLine)
            Tell(strLine);
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
            std::vector<const Entry*> vecEntry;
            vecEntry.reserve(m_dequeSpool.size() + vecWaiter.size());
            for (const Entry& entry : m_dequeSpool)
                vecEntry.push_back(&entry);
            for (const Waiter* const pWaiter : vecWaiter)
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
    void WriteOrExchange(const std::vector<const Entry*>& vecEntry,
                         std::vector<std::string>& vecLine) {
        const Clock::time_point deadline = m_bFailing ? Clock::now() : LongestWait();
        for (int nTry = 1;; ++nTry) {
            Identity identity;
            try {
                OpenIfNeeded(deadline, identity);
                m_pDatabase->SetDeadline(deadline);
                return m_pDatabase->Insert(vecEntry);
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

    void OpenIfNeeded(Clock::time_point deadline, Identity& identity) {
        const std::string strFile = OperLogFile();
        if (strFile.empty())
            throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
        identity = IdentityOf(strFile);
        if (m_pDatabase != nullptr && strFile == m_strFile && m_pDatabase->IsInPlace() &&
            m_pDatabase->HasSync(g_bFullSync))
            return;
        m_pDatabase.reset();
        m_strFile = strFile;
        MakeFolder(std::filesystem::path(strFile).parent_path());
        m_pDatabase = std::make_unique<LogDatabase>(strFile, deadline);
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
    std::deque<Entry> m_dequeSpool;
    bool m_bFailing = false;
    Clock::time_point m_tRetry;
    std::size_t m_nLost = 0;
};

std::atomic<Store*> g_pStore{nullptr};

// A child process begins with a store of its own: the locks, the connection and what is kept in
// memory are its parent's.
Store& TheStore() {
    if (Store* const pStore = g_pStore.load(std::memory_order_acquire))
        return *pStore;
    static const int s_nAtFork = pthread_atfork(nullptr, nullptr, [] { g_pStore = nullptr; });
    (void)s_nAtFork;
    Store* pExpected = nullptr;
    Store* const pNew = new Store;
    if (g_pStore.compare_exchange_strong(pExpected, pNew))
        return *pNew;
    delete pNew;
    return *pExpected;
}

// A whole time, or the beginning of one up to a whole field; throws for any other text.
std::string TimeOf(std::string strTime) {
    static constexpr std::string_view FORM = "0000-00-00 00:00:00.000Z";
    static constexpr std::string_view HIGHEST = "9999-12-31 23:59:60.999Z";
    if (strTime.size() > 10 && strTime[10] == 'T')
        strTime[10] = ' ';
    bool bGood = strTime.size() >= 4 && strTime.size() <= FORM.size();
    for (std::size_t i = 0; bGood && i < strTime.size(); ++i) {
        const bool bDigit = FORM[i] == '0';
        bGood = bDigit ? strTime[i] >= '0' && strTime[i] <= '9' : strTime[i] == FORM[i];
        // At the end of a field: it is not over the highest, and the text does not end inside one.
        const bool bFieldEnds = i + 1 == FORM.size() || FORM[i + 1] != '0' || !bDigit;
        if (bDigit && bFieldEnds)
            bGood = bGood && (i < 4 || strTime.compare(i - 1, 2, HIGHEST.substr(i - 1, 2)) <= 0);
        if (bDigit && !bFieldEnds && i + 1 == strTime.size())
            bGood = false;
    }
    if (!bGood)
        throw std::invalid_argument(
            "'" + strTime + "' is no time; expected such as 2026-03-01 or " + "2026-03-01 08:30");
    return strTime;
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
        Text("time >= ?", filter.strFrom.empty() ? "" : TimeOf(filter.strFrom));
        Text("time < ?", filter.strTo.empty() ? "" : TimeOf(filter.strTo));
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
        std::string strText;
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
std::unique_ptr<Database> OpenToRead() {
    const std::string strFile = OperLogFile();
    if (strFile.empty())
        throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
    if (!std::filesystem::exists(strFile))
        return nullptr;
    auto pDatabase = std::make_unique<Database>(
        strFile, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, LongestWait());
    if (VersionOf(*pDatabase, strFile) == 0)
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

ssize_t FailPlainWrite(int /*nFile*/, const void* /*pData*/, size_t /*nSize*/) {
    errno = g_nFault;
    return -1;
}

// What takes the place of a call of the operating system.
sqlite3_syscall_ptr FaultOf(std::string_view strCall) {
    if (strCall == "open")
        return reinterpret_cast<sqlite3_syscall_ptr>(FailOpen);
    return strCall == "write" ? reinterpret_cast<sqlite3_syscall_ptr>(FailPlainWrite)
                              : reinterpret_cast<sqlite3_syscall_ptr>(FailWrite);
}

// Puts pCall in the place of a call, or the call itself back; not every build has every call.
void SetSystemCall(const char* szCall, sqlite3_syscall_ptr pCall) {
    sqlite3_vfs* const pVfs = sqlite3_vfs_find(nullptr);
    pVfs->xSetSystemCall(pVfs, szCall, pCall);
}

}  // namespace

std::string OperLogFile() {
    const std::string strState = GetStatePath();
    return strState.empty() ? "" : strState + "/operlog.db";
}

bool IsOperLogTime(const std::string& strTime) {
    std::string strError;
    return Try(strError, [&] { TimeOf(strTime); });
}

bool ReadOperLog(const OperLogFilter& filter, const std::function<bool(const OperLogRow&)>& take,
                 std::string& strError) {
    return Try(strError, [&] {
        const Where where(filter);
        const std::unique_ptr<Database> pDatabase = OpenToRead();
        if (pDatabase == nullptr)
            return;
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
        const std::string strTime = TimeOf(strBefore);
        const std::unique_ptr<Database> pDatabase = OpenToRead();
        if (pDatabase == nullptr)
            return;
        // Not all at once: writers come in between.
        Statement statement(*pDatabase,
                            "DELETE FROM operlog WHERE id IN (SELECT id FROM operlog WHERE time < "
                            "?1 LIMIT " +
                                std::to_string(PRUNED_AT_ONCE) + ")");
        for (int nChanges = PRUNED_AT_ONCE; nChanges == PRUNED_AT_ONCE; nDeleted += nChanges) {
            pDatabase->SetDeadline(LongestWait());
            statement.Bind(1, strTime);
            statement.Step();
            statement.Reset();
            nChanges = pDatabase->Changes();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
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
    g_nRoom = nEntries;
}

void SetOperLogWait(int nMilliseconds) {
    g_nWait = nMilliseconds;
}

void SetOperLogSync(bool bFull) {
    g_bFullSync = bFull;
}

ScopedStoreFault::ScopedStoreFault(const char* szCall, int nErrno)
    : m_vecCall(std::string_view(szCall) == "open"
                    ? std::vector<const char*>{"open"}
                    : std::vector<const char*>{"write", "pwrite", "pwrite64"}) {
    g_nFault = nErrno;
    for (const char* const szOne : m_vecCall)
        SetSystemCall(szOne, FaultOf(szOne));
}

ScopedStoreFault::~ScopedStoreFault() {
    for (const char* const szOne : m_vecCall)
        SetSystemCall(szOne, nullptr);
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

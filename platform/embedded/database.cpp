#include "embedded/database.h"

#include "base/escape.h"
#include "embedded/database_wal.h"
#include "embedded/state_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

// SQLite behind owners: a connection, a statement and a transaction each end with their object.
// SQLite holds locks by process and may not be carried over a fork. So each connection remembers
// the process that made it; a child closes what it inherited before it opens anything, without
// writing, and refuses to go on with it. The fork gate keeps a fork away while SQLite is at work.
// Waiting for others ends at a deadline that the owner sets.
namespace zemb {

// What stands behind a Database and its statements. It outlives them in a child process, where
// those of other threads are never destroyed.
struct Connection {
    Connection(sqlite3* pHandleOf, const std::string& strFileOf)
        : pHandle(pHandleOf), strFile(strFileOf), process(ThisProcess()) {}

    sqlite3* pHandle;  // null once it is closed
    const std::string strFile;
    const ProcessMark process;
};

namespace {

constexpr auto CLOSING_WAIT = std::chrono::seconds(2);
constexpr auto LOCK_LOOK = std::chrono::milliseconds(1);

using Connections = std::vector<std::shared_ptr<Connection>>;

// Changed inside the gate only, so that a child finds both as they should be. Never destroyed:
// threads may still work while the process ends.
std::mutex g_lock;
Connections& OpenOnes() {
    static Connections& vecOpen = *new Connections;
    return vecOpen;
}

void CloseQuietly(Connection& connection) {
    // What is in the write-ahead log stays there, and nobody is waited for.
    sqlite3_db_config(connection.pHandle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_busy_handler(connection.pHandle, nullptr, nullptr);
    while (sqlite3_stmt* const pStatement = sqlite3_next_stmt(connection.pHandle, nullptr))
        sqlite3_finalize(pStatement);
    sqlite3_close(connection.pHandle);
    connection.pHandle = nullptr;
}

// SQLite believes that a child has the locks of its parent, on each file that the parent had open,
// until the last connection to it is closed; and it would take a descriptor that the child has
// closed, and got again for something else, for its own. So they are closed before fork() returns
// in the child. None is in the midst of a change then, so nothing is written, and the parent keeps
// its own locks.
void CloseInherited() {
    for (const std::shared_ptr<Connection>& pConnection : OpenOnes())
        CloseQuietly(*pConnection);
    OpenOnes().clear();
}

const bool g_bOnFork = (OnFork(CloseInherited), true);

// A process that was made without the gate, since it was held for too long or by a call other than
// fork(), can neither use what it inherited nor close it.
void RefuseInherited() {
    const ForkGate gate;
    std::lock_guard<std::mutex> guard(g_lock);
    const ProcessMark process = ThisProcess();
    for (const std::shared_ptr<Connection>& pConnection : OpenOnes())
        if (pConnection->process != process)
            throw DatabaseError(SQLITE_MISUSE,
                                "this process was forked while its databases were in use");
}

// Others may open and close a database at the same time, but not while it is exchanged.
std::unique_ptr<ExchangeLock> NotExchanged(const std::string& strFile, Database::Access access,
                                           Database::Deadline deadline) {
    if (access == Database::Access::Frozen)
        return nullptr;
    return std::make_unique<ExchangeLock>(strFile, ExchangeLock::Kind::Shared, deadline);
}

// What is behind "//" up to the next "/" would be a host.
std::string UriOf(const std::string& strPath) {
    std::string strUri = strPath.front() == '/' ? "file://" : "file:";
    for (const char c : strPath)
        if (c == '%' || c == '?' || c == '#') {
            strUri += '%';
            base::AppendHex(c, strUri);
        } else {
            strUri += c;
        }
    return strUri;
}

// The path without links above the file, which are allowed; SQLite refuses any other.
std::string WithRealFolder(const std::string& strFile) {
    const std::filesystem::path path(strFile);
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    return (std::filesystem::canonical(folder) / path.filename()).string();
}

void RefuseLink(const std::string& strFile) {
    struct stat status {};
    if (lstat(strFile.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
        throw std::system_error(ELOOP, std::generic_category(), strFile);
}

}  // namespace

Identity IdentityOf(const std::string& strFile) {
    struct stat status {};
    return stat(strFile.c_str(), &status) == 0 ? Identity(status.st_dev, status.st_ino)
                                               : Identity();
}

ExchangeLock::ExchangeLock(const std::string& strDatabase, Kind kind, Database::Deadline deadline)
    : m_nFile(open((strDatabase + ".exchange").c_str(),
                   O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, STATE_FILE_MODE)) {
    // Where it cannot be made, for lack of rights or on a full disk, nobody can exchange anything.
    if (m_nFile == -1 && kind == Kind::Shared && errno != ELOOP)
        return;
    struct stat status {};
    if (m_nFile != -1 && geteuid() == 0 && stat(strDatabase.c_str(), &status) == 0 &&
        fchown(m_nFile, status.st_uid, status.st_gid) != 0)
        errno = 0;  // as SQLite does with its files: the owner may not be able to take it then
    const int nLock = (kind == Kind::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    while (m_nFile == -1 || flock(m_nFile, nLock) != 0) {
        if (m_nFile == -1 || errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
            const int nError = errno;
            if (m_nFile != -1)
                close(m_nFile);
            throw std::system_error(nError, std::generic_category(), strDatabase + ".exchange");
        }
        std::this_thread::sleep_for(LOCK_LOOK);
    }
}

ExchangeLock::~ExchangeLock() {
    if (m_nFile != -1)
        close(m_nFile);
}

Database::Database(const std::string& strFile, Access access, Deadline deadline)
    : m_strFile(strFile), m_deadline(deadline) {
    RefuseInherited();
    if (access == Access::Write)
        MakeStateFolder(std::filesystem::path(strFile).parent_path().string());
    const std::unique_ptr<ExchangeLock> pLock = NotExchanged(strFile, access, deadline);
    if (access == Access::Write)
        PlaceNewFile(strFile, [](int) {});
    if (access != Access::Frozen) {
        RefuseLink(strFile);
        m_strNotice = KeepDamagedWal(strFile);
    }
    Open(access);
}

void Database::Open(Access access) {
    const bool bFrozen = access == Access::Frozen;
    const std::string strPath =
        bFrozen ? UriOf(m_strFile) + "?immutable=1" : WithRealFolder(m_strFile);
    const int nFlags = bFrozen ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI
                               : SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW;
    struct stat wal {};
    const bool bWal = stat((m_strFile + "-wal").c_str(), &wal) == 0 && wal.st_size != 0;
    const ForkGate gate;
    sqlite3* pHandle = nullptr;
    const int nCode =
        sqlite3_open_v2(strPath.c_str(), &pHandle, nFlags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (nCode != SQLITE_OK) {
        const std::string strText = m_strFile + ": " + sqlite3_errmsg(pHandle);
        sqlite3_close(pHandle);
        throw DatabaseError(nCode, strText);
    }
    m_identity = IdentityOf(m_strFile);
    sqlite3_busy_handler(pHandle, Wait, this);
    if (access == Access::Read && bWal)
        sqlite3_db_config(pHandle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    try {
        m_pConnection = std::make_shared<Connection>(pHandle, m_strFile);
        std::lock_guard<std::mutex> guard(g_lock);
        OpenOnes().push_back(m_pConnection);
    } catch (const std::bad_alloc&) {
        sqlite3_close(pHandle);
        throw;
    }
}

// The last connection to a database deletes its companions by their names: not while the file is
// exchanged, and not those of another file that has its name.
Database::~Database() {
    const ForkGate gate;
    if (m_pConnection->pHandle == nullptr || m_pConnection->process != ThisProcess())
        return;
    {
        std::lock_guard<std::mutex> guard(g_lock);
        OpenOnes().erase(std::find(OpenOnes().begin(), OpenOnes().end(), m_pConnection));
    }
    std::unique_ptr<ExchangeLock> pLock;
    try {
        pLock = std::make_unique<ExchangeLock>(m_strFile, ExchangeLock::Kind::Shared,
                                               std::chrono::steady_clock::now() + CLOSING_WAIT);
    } catch (const std::exception&) {
        // Nothing is known of others then.
    }
    if (pLock == nullptr || !IsInPlace())
        sqlite3_db_config(m_pConnection->pHandle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_close_v2(m_pConnection->pHandle);
    m_pConnection->pHandle = nullptr;
    std::lock_guard<std::mutex> guard(g_lock);
    const auto IsOfThisFile = [&](const std::shared_ptr<Connection>& pConnection) {
        return pConnection->strFile == m_strFile;
    };
    if (std::none_of(OpenOnes().begin(), OpenOnes().end(), IsOfThisFile))
        ForgetWal(m_strFile);
}

sqlite3* Database::Handle() const {
    if (m_pConnection->pHandle == nullptr || m_pConnection->process.nForks != Forks())
        throw DatabaseError(SQLITE_MISUSE,
                            m_strFile + ": the connection is that of a process above this one");
    return m_pConnection->pHandle;
}

int Database::Wait(void* pThis, int nCalls) {
    if (std::chrono::steady_clock::now() >= static_cast<Database*>(pThis)->m_deadline)
        return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(nCalls < 10 ? 1 : 10));
    return 1;
}

void Database::Fail(int nCode) const {
    throw DatabaseError(nCode, m_strFile + ": " + sqlite3_errmsg(Handle()));
}

void Database::Run(const char* szSql) {
    const ForkGate gate;
    const int nCode = sqlite3_exec(Handle(), szSql, nullptr, nullptr, nullptr);
    if (nCode != SQLITE_OK)
        Fail(nCode);
}

std::int64_t Database::Number(const char* szSql) {
    Statement statement(*this, szSql);
    return statement.Step() ? statement.Number(0) : 0;
}

std::string Database::Text(const char* szSql) {
    Statement statement(*this, szSql);
    return statement.Step() ? statement.Text(0) : "";
}

void Database::UseWal() {
    for (int nCalls = 0;; ++nCalls) {
        try {
            if (Text("PRAGMA journal_mode = WAL") != "wal")
                throw DatabaseError(SQLITE_CANTOPEN, "the database takes no write-ahead log");
            return;
        } catch (const DatabaseError& error) {
            // The switch itself does not wait for others that make it at the same time.
            if (error.nCode != SQLITE_BUSY || Wait(this, nCalls) == 0)
                throw;
        }
    }
}

int Database::Changes() const {
    return sqlite3_changes(Handle());
}

std::int64_t Database::LastRow() const {
    return sqlite3_last_insert_rowid(Handle());
}

void Database::ForgetLastRow() {
    sqlite3_set_last_insert_rowid(Handle(), 0);
}

Statement::Statement(const Database& database, const std::string& strSql)
    : m_database(database), m_pConnection(database.m_pConnection) {
    const ForkGate gate;
    Check(sqlite3_prepare_v3(database.Handle(), strSql.data(), static_cast<int>(strSql.size()),
                             SQLITE_PREPARE_PERSISTENT, &m_pStatement, nullptr));
}

Statement::~Statement() {
    const ForkGate gate;
    if (m_pConnection->pHandle != nullptr && m_pConnection->process == ThisProcess())
        sqlite3_finalize(m_pStatement);
}

void Statement::Bind(int nParameter, std::int64_t nValue) {
    m_database.Handle();
    Check(sqlite3_bind_int64(m_pStatement, nParameter, nValue));
}

void Statement::Bind(int nParameter, std::string_view strText) {
    m_database.Handle();
    Check(sqlite3_bind_text64(m_pStatement, nParameter,
                              strText.data() == nullptr ? "" : strText.data(), strText.size(),
                              SQLITE_STATIC, SQLITE_UTF8));
}

void Statement::BindNull(int nParameter) {
    m_database.Handle();
    Check(sqlite3_bind_null(m_pStatement, nParameter));
}

bool Statement::Step() {
    const ForkGate gate;
    m_database.Handle();
    const int nCode = sqlite3_step(m_pStatement);
    if (nCode != SQLITE_ROW && nCode != SQLITE_DONE)
        m_database.Fail(nCode);
    return nCode == SQLITE_ROW;
}

void Statement::Reset() {
    const ForkGate gate;
    if (m_pConnection->pHandle != nullptr)
        sqlite3_reset(m_pStatement);
}

std::int64_t Statement::Number(int nColumn) const {
    return sqlite3_column_int64(m_pStatement, nColumn);
}

std::string Statement::Text(int nColumn) const {
    const auto* const pText =
        reinterpret_cast<const char*>(sqlite3_column_text(m_pStatement, nColumn));
    return pText == nullptr
               ? std::string()
               : std::string(pText,
                             static_cast<std::size_t>(sqlite3_column_bytes(m_pStatement, nColumn)));
}

void Statement::Check(int nCode) const {
    if (nCode != SQLITE_OK)
        m_database.Fail(nCode);
}

Transaction::Transaction(Database& database) : m_database(database) {
    database.Run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (m_bOpen)
        sqlite3_exec(m_database.m_pConnection->pHandle, "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::Commit() {
    m_database.Run("COMMIT");
    m_bOpen = false;
}

}  // namespace zemb

#include "embedded/operlog_database.h"

#include "zemb/control.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

// The table of the operation log and how it is made, written and, when it is damaged, put aside. An
// entry that a failing disk may or may not have kept remembers its row, and is looked for there
// before it is written again. Processes that find the same damage exchange the file once: under a
// lock, and only while it still is the one that was found damaged.
namespace zemb {

namespace {

constexpr int SCHEMA_VERSION = 1;
constexpr unsigned CHANGES_BETWEEN_LOOKS = 256;
constexpr off_t LARGE_WAL = off_t{64} << 20;
constexpr auto LIMIT_WAIT = std::chrono::milliseconds(200);
constexpr const char* SCHEMA =
    "CREATE TABLE operlog ("
    "id INTEGER PRIMARY KEY AUTOINCREMENT, time TEXT NOT NULL, user INTEGER NOT NULL, "
    "address INTEGER NOT NULL, command INTEGER NOT NULL, object TEXT NOT NULL, "
    "result_kind INTEGER NOT NULL, result INTEGER NOT NULL, description TEXT NOT NULL, "
    "level INTEGER NOT NULL, category INTEGER NOT NULL, process INTEGER NOT NULL);"
    "CREATE INDEX operlog_user ON operlog (user, id);"
    "CREATE INDEX operlog_time ON operlog (time);"
    "PRAGMA user_version = 1";
constexpr const char* INSERT =
    "INSERT OR REPLACE INTO operlog (time, user, address, command, object, result_kind, result, "
    "description, level, category, process, id) VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12)";
constexpr const char* FIND =
    "SELECT 1 FROM operlog WHERE time = ?1 AND user = ?2 AND address = ?3 AND command = ?4 AND "
    "object = ?5 AND result_kind = ?6 AND result = ?7 AND description = ?8 AND level = ?9 AND "
    "category = ?10 AND process = ?11 AND id = ?12";
constexpr int ROW_PARAMETER = 12;

// A text in a field of fixed size.
template <std::size_t SIZE>
std::string_view TextOf(const char (&szText)[SIZE]) {
    std::size_t nSize = SIZE;
    while (nSize > 0 && szText[nSize - 1] == '\0')
        --nSize;
    return {szText, nSize};
}

}  // namespace

bool IsDamaged(const DatabaseError& error) {
    return error.nCode == SQLITE_CORRUPT || error.nCode == SQLITE_NOTADB;
}

std::string MoveAside(const std::string& strFile, const Identity& identity) {
    const ExchangeLock lock(strFile, ExchangeLock::Kind::Exclusive, LongestWait());
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

LogDatabase::LogDatabase(const std::string& strFile, Database::Deadline deadline, bool bFullSync)
    : m_strFile(strFile),
      m_bFullSync(bFullSync),
      m_database(strFile, Database::Access::Write, deadline) {
    Prepare();
    m_pInsert = std::make_unique<Statement>(m_database, INSERT);
}

void LogDatabase::Insert(const std::vector<LogEntry*>& vecEntry) {
    m_nFirstNew = 0;
    try {
        if (vecEntry.size() == 1)  // a transaction of its own
            return Insert(*vecEntry.front());
        Transaction transaction(m_database);
        for (LogEntry* const pEntry : vecEntry)
            Insert(*pEntry);
        transaction.Commit();
    } catch (...) {
        m_pInsert->Reset();
        throw;
    }
}

void LogDatabase::LimitWal() noexcept {
    if (++m_nChanges % CHANGES_BETWEEN_LOOKS != 0)
        return;
    struct stat status {};
    if (stat((m_strFile + "-wal").c_str(), &status) != 0 || status.st_size < LARGE_WAL)
        return;
    try {
        m_database.SetDeadline(std::chrono::steady_clock::now() + LIMIT_WAIT);
        m_database.Run("PRAGMA wal_checkpoint(TRUNCATE)");
    } catch (const std::exception&) {
        // The next time, then.
    }
}

void LogDatabase::Prepare() {
    const std::int64_t nVersion = VersionOf(m_database, m_strFile);
    m_database.UseWal();
    m_database.Run(m_bFullSync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    if (nVersion == SCHEMA_VERSION)
        return;
    Transaction transaction(m_database);
    if (m_database.Number("PRAGMA user_version") == 0)  // nobody was faster
        m_database.Run(SCHEMA);
    transaction.Commit();
}

void LogDatabase::Insert(LogEntry& entry) {
    // The same row again: what the failing disk may not have kept is written once more.
    const std::int64_t nRow = entry.nRow != 0 && IsThere(entry) ? entry.nRow : 0;
    BindFields(*m_pInsert, entry);
    if (nRow == 0)
        m_pInsert->BindNull(ROW_PARAMETER);
    else
        m_pInsert->Bind(ROW_PARAMETER, nRow);
    m_database.ForgetLastRow();
    try {
        m_pInsert->Step();
    } catch (...) {
        KeepRow(entry);
        throw;
    }
    KeepRow(entry);
    m_pInsert->Reset();
}

// What did not come as far as to have a row may still be there under the one of an earlier try.
void LogDatabase::KeepRow(LogEntry& entry) {
    const std::int64_t nRow = m_database.LastRow();
    if (nRow == 0)
        return;
    if (m_nFirstNew == 0 && nRow != entry.nRow)
        m_nFirstNew = nRow;
    entry.nRow = nRow;
}

bool LogDatabase::IsThere(const LogEntry& entry) {
    if (m_nFirstNew != 0 && entry.nRow >= m_nFirstNew)
        return false;  // the row of another entry of this change, which may look the same
    if (m_pFind == nullptr)
        m_pFind = std::make_unique<Statement>(m_database, FIND);
    BindFields(*m_pFind, entry);
    m_pFind->Bind(ROW_PARAMETER, entry.nRow);
    const bool bThere = m_pFind->Step();
    m_pFind->Reset();
    return bThere;
}

void LogDatabase::BindFields(Statement& statement, const LogEntry& entry) {
    m_strTime = FormatTime(entry.nTime);
    const ZembLogInfo& info = entry.info;
    int n = 0;
    statement.Bind(++n, m_strTime);
    statement.Bind(++n, info.nUserId);
    statement.Bind(++n, info.nIpAddr);
    statement.Bind(++n, static_cast<std::int64_t>(info.nCmd));
    statement.Bind(++n, TextOf(info.szObject));
    statement.Bind(++n, info.nResultKind);
    statement.Bind(++n, static_cast<std::int64_t>(info.nResult));
    statement.Bind(++n, TextOf(info.szDesc));
    statement.Bind(++n, info.nLevel);
    statement.Bind(++n, info.nCategory);
    statement.Bind(++n, getpid());
}

}  // namespace zemb

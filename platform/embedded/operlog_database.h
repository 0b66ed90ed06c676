#pragma once

#include "embedded/database.h"
#include "zemb/operlog.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The database file of the operation log, as its writers and its readers see it.
namespace zemb {

// Until when a call may wait for what others have locked.
Database::Deadline LongestWait();

// A line of the operation log in the default channel. The caller holds no lock.
void TellOfOperLog(const std::string& strText) noexcept;

bool IsDamaged(const DatabaseError& error);

// Moves a damaged database out of the way, never over another file: its companions first, since
// what is in them would be deleted beside a database that it does not belong to. Returns its new
// name; "" when somebody else has exchanged it already.
std::string MoveAside(const std::string& strFile, const Identity& identity);

// The version of a database, 0 for one yet to be made. Throws for one that is not an operation log,
// or of a newer version. Looks at one moment of it, as others may be making it.
std::int64_t VersionOf(Database& database, const std::string& strFile);

struct LogEntry {
    ZembLogInfo info;
    long long nTime;        // microseconds
    std::int64_t nRow = 0;  // under which it was tried last; 0: not yet
};

// The open database of the writers.
class LogDatabase {
public:
    // bFullSync: an entry also survives a power cut.
    LogDatabase(const std::string& strFile, Database::Deadline deadline, bool bFullSync);

    bool IsInPlace() const { return m_database.IsInPlace(); }
    bool HasSync(bool bFull) const { return bFull == m_bFullSync; }

    void SetDeadline(Database::Deadline deadline) { m_database.SetDeadline(deadline); }

    const std::string& Notice() const { return m_database.Notice(); }

    // Puts all entries on the disk, or none that is told. When the disk fails at the last step a
    // change may be there all the same, and come to light when the log is opened anew: each entry
    // keeps the row that it had, and one that is found there is written again in its place.
    void Insert(const std::vector<LogEntry*>& vecEntry);

    // Where many write without pause nobody finds the moment to begin the write-ahead log anew:
    // once it is large, now and then others are held up for a moment to do so.
    void LimitWal() noexcept;

private:
    void Prepare();
    void Insert(LogEntry& entry);
    void KeepRow(LogEntry& entry);
    bool IsThere(const LogEntry& entry);
    void BindFields(Statement& statement, const LogEntry& entry);

    const std::string m_strFile;
    const bool m_bFullSync;
    Database m_database;
    std::unique_ptr<Statement> m_pInsert;
    std::unique_ptr<Statement> m_pFind;
    unsigned m_nChanges = 0;       // since the last look at the write-ahead log
    std::int64_t m_nFirstNew = 0;  // row of the change that is being made; 0: none yet
    std::string m_strTime;         // bound while a statement runs
};

}  // namespace zemb

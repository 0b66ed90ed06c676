#pragma once

#include "embedded/database.h"
#include "zemb/operlog.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// The database file of the operation log, as its writers and its readers see it.
namespace zemb {

// Until when a call may wait for what others have locked.
Database::Deadline LongestWait();

// Which file a path leads to; {} for none.
using Identity = std::pair<dev_t, ino_t>;
Identity IdentityOf(const std::string& strFile);

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
    long long nTime;  // microseconds
};

// The open database of the writers.
class LogDatabase {
public:
    // bFullSync: an entry also survives a power cut.
    LogDatabase(const std::string& strFile, Database::Deadline deadline, bool bFullSync);

    // Whether the file is still the one that was opened.
    bool IsInPlace() const { return IdentityOf(m_strFile) == m_identity; }
    bool HasSync(bool bFull) const { return bFull == m_bFullSync; }

    void SetDeadline(Database::Deadline deadline) { m_database.SetDeadline(deadline); }

    // Puts all entries on the disk, or none.
    void Insert(const std::vector<const LogEntry*>& vecEntry);

private:
    void Prepare();
    void Insert(const LogEntry& entry);

    const std::string m_strFile;
    const bool m_bFullSync;
    Database m_database;
    std::unique_ptr<Statement> m_pInsert;
    Identity m_identity;
};

}  // namespace zemb

#pragma once

#include <string>

namespace zemb {

// Looks through the write-ahead log of a database before SQLite does. SQLite takes it up to the
// first part that is not as it was written, and deletes the rest without a word, with every change
// that was acknowledged there. When there is such a rest, the log is first copied to a file beside
// the database, FILE.damaged-wal-<generation>. Returns what was found, for people; "" for a log
// that is whole, not there or kept already, and for one that this process has looked at since
// ForgetWal(). Throws std::system_error when the copy cannot be made: the database must not be
// opened then. Cost: one reading of the log, at most once for each generation of it in a process.
std::string KeepDamagedWal(const std::string& strFile);

// Forgets what was looked at: this process has closed its last connection to the database.
void ForgetWal(const std::string& strFile) noexcept;

// Whether the name of a file beside a database is that of such a copy.
bool IsDamagedWalOf(const std::string& strDatabase, const std::string& strName);

}  // namespace zemb

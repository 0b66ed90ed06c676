#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// The embedded operation log: a SQLite database in the state folder (docs/operation-log.md). Any
// thread; readers do not hold up writers.
namespace zemb {

struct OperLogRow {
    long long nId = 0;    // rises with every entry
    std::string strTime;  // "2026-03-01 08:00:00.123Z"
    std::int32_t nUserId = 0;
    std::uint32_t nIpAddr = 0;
    std::uint64_t nCmd = 0;
    std::string strObject;
    std::int32_t nResultKind = 0;
    std::uint64_t nResult = 0;
    std::string strDesc;
    unsigned nLevel = 0;
    std::uint32_t nCategory = 0;
    int nProcess = 0;
};

// Which entries; what is not set does not count.
struct OperLogFilter {
    std::optional<std::int32_t> nUserId;
    std::optional<std::uint64_t> nCmd;
    std::optional<std::int32_t> nResultKind;
    std::string strFrom;        // first time, or the beginning of one: "2026-03-01"
    std::string strTo;          // first time that is too late
    std::string strObjectLike;  // LIKE patterns with "\" before what is meant literally
    std::string strDescLike;
    long long nAfterId = 0;
    std::size_t nLast = 0;  // so many entries, the last ones; 0: all
};

// <state>/operlog.db; "" without a state folder.
ZEMB_API std::string OperLogFile();

// Calls take with each entry, oldest first, until it answers false. False, with the reason, when
// the log cannot be read; a log that does not exist yet has no entries.
ZEMB_API bool ReadOperLog(const OperLogFilter& filter,
                          const std::function<bool(const OperLogRow&)>& take,
                          std::string& strError);

// Deletes the entries before a time; sets nDeleted to their number.
ZEMB_API bool PruneOperLog(const std::string& strBefore, long long& nDeleted,
                           std::string& strError);

// Everything that is wrong with the database; nothing when it is whole or not there.
ZEMB_API std::vector<std::string> VerifyOperLog();

// Writes what is kept in memory; returns how many entries still are.
ZEMB_API std::size_t FlushOperLog();

// How many entries are kept in memory at most; 10,000 at first.
ZEMB_API void SetOperLogRoom(std::size_t nEntries);

// With false an entry survives the end of the process, but its last seconds may be missing after a
// power cut. At first true.
ZEMB_API void SetOperLogSync(bool bFull);

// Makes a call of the operating system fail for all databases of the process, for tests: "open",
// "pwrite64" or "pwrite". One at a time.
class ZEMB_API ScopedStoreFault {
public:
    ScopedStoreFault(const char* szCall, int nErrno);
    ~ScopedStoreFault();
    ScopedStoreFault(const ScopedStoreFault&) = delete;
    ScopedStoreFault& operator=(const ScopedStoreFault&) = delete;

private:
    const std::string m_strCall;
};

}  // namespace zemb

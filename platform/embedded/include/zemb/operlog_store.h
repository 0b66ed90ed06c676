#pragma once

#include "zemb/export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// The embedded operation log: a SQLite database in the state folder
// (docs/formats/operation-log.md). Any thread; readers do not hold up writers.
namespace zemb {

// An entry as the database holds it.
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
    std::string strFrom;  // first time, or the beginning of one: "2026-03-01", "2026-03-01 08"
    std::string strTo;    // first time that is too late
    std::string strObjectLike;  // LIKE patterns with "\" before what is meant literally
    std::string strDescLike;
    long long nAfterId = 0;
    std::size_t nLast = 0;  // so many entries, the last ones; 0: all
};

// <state>/operlog.db; "" without a state folder.
ZEMB_API std::string OperLogFile();

// Whether a text is a time, or the beginning of one up to a whole field: "2026", "2026-03-01
// 08:30".
ZEMB_API bool IsOperLogTime(const std::string& strTime);

// Calls take with each entry, oldest first, until it answers false. False, with the reason, when
// the log cannot be read, or a time is none; a log that does not exist yet has no entries. In LIKE
// patterns upper and lower case count, and a text ends at a zero octet. A std::exception that take
// throws becomes the reason; strError stays as it is when all goes well.
ZEMB_API bool ReadOperLog(const OperLogFilter& filter,
                          const std::function<bool(const OperLogRow&)>& take,
                          std::string& strError);

// Deletes the entries before a time, some thousand at once, so that writers come in between; sets
// nDeleted to the number deleted, also when it fails on the way.
ZEMB_API bool PruneOperLog(const std::string& strBefore, long long& nDeleted,
                           std::string& strError);

// Everything that is wrong with the database, also that it is none of this version; nothing when
// it is whole or not there.
ZEMB_API std::vector<std::string> VerifyOperLog();

// Writes what is kept in memory; returns how many entries still are.
ZEMB_API std::size_t FlushOperLog();

// How many entries are kept in memory at most; 10,000 at first.
ZEMB_API void SetOperLogRoom(std::size_t nEntries);

// How long a write waits for what others have locked; 2,000 milliseconds at first.
ZEMB_API void SetOperLogWait(int nMilliseconds);

// With false an entry survives the end of the process, but its last seconds may be missing after a
// power cut. At first true.
ZEMB_API void SetOperLogSync(bool bFull);

// Makes calls of the operating system fail for all databases of the process, for tests: to "open" a
// file, or to "write" to one. One at a time.
class ZEMB_API ScopedStoreFault {
public:
    ScopedStoreFault(const char* szCall, int nErrno);
    ~ScopedStoreFault();
    ScopedStoreFault(const ScopedStoreFault&) = delete;
    ScopedStoreFault& operator=(const ScopedStoreFault&) = delete;

private:
    const std::vector<const char*> m_vecCall;
};

}  // namespace zemb

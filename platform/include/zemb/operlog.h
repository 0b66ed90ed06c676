#pragma once

#include "zemb/export.h"

#include <cstdint>
#include <list>
#include <string>

// One entry of the operation log. Texts end at their last octet that is not 0; what they hold is
// taken as UTF-8.
struct ZembLogInfo {
    std::int32_t nUserId = 0;
    std::uint32_t nIpAddr = 0;  // IPv4 address of the client, most significant byte first
    std::uint64_t nCmd = 0;
    char szObject[256] = {};
    std::int32_t nResultKind = 0;  // 0 success, 1 partly, 2 failure
    std::uint64_t nResult = 0;     // result code
    char szDesc[1025] = {};
    std::uint8_t nLevel = 0;
    std::uint32_t nCategory = 0;
};

namespace FrameUtil {

// What WriteOperationLog answers.
constexpr int OPERLOG_WRITTEN = 1;
constexpr int OPERLOG_KEPT = 0;
constexpr int OPERLOG_LOST = -1;

// Writes an entry with the time of the call. nReserved is 0. Any thread; entries of several threads
// are put on the disk together.
//   OPERLOG_WRITTEN  the entry is on the disk and stays there, whatever happens to the process or
//                    the machine
//   OPERLOG_KEPT     the log cannot be written now, after a wait of two seconds at most; the entry
//                    is kept in memory and written, before others, with the next one that can be
//   OPERLOG_LOST     nor is there room for more entries in memory
// The first failure, the first loss and the return of the log give a line each in the default
// channel. Does not throw.
ZEMB_API int WriteOperationLog(const ZembLogInfo& info, int nReserved) noexcept;

}  // namespace FrameUtil

namespace NSTE_util {

// The errors of operations: what NEs replied that somebody should know of. Any thread.
class ZEMB_API TEOperErrorLogIF {
public:
    // Never null; lives to the end of the process.
    static TEOperErrorLogIF* Instance();

    // Details of an NE: numbers and two texts.
    virtual void AddErrInfo(const std::list<int>& listValue, const std::string& strFirst,
                            const std::string& strSecond) = 0;
    virtual void AddErrCode(unsigned long nCode) = 0;
    virtual void AddErrText(unsigned long nCode, const std::string& strText) = 0;

protected:
    virtual ~TEOperErrorLogIF();
};

}  // namespace NSTE_util

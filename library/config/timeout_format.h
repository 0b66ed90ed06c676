#pragma once

#include "base/cut_to_int.h"
#include "base/read_number.h"
#include "files/section_file.h"

#include <optional>
#include <string_view>

// How a request time-out file reads, line by line: docs/formats/timeout-file.md. The service takes
// what it can make something of; the program's check walks the same lines and says what is
// doubtful.
namespace NSTE_util {

constexpr const char* SECTION_COMMON = "cmdreq_common_config";
constexpr const char* SECTION_TIMEOUT = "cmdreq_command_timeout";
constexpr const char* SECTION_DUAL = "cmdreq_timedual_do";

// Of the common section.
constexpr const char* KEY_DEFAULT_TIMEOUT = "default_timeout";
constexpr const char* KEY_OFFSET_TIME = "offset_time";
constexpr const char* KEY_AUTO_REFRESH = "need_auto_refresh";

// Deliberate: a line has a key that stands anywhere in it, also within a longer one.
inline bool HasKey(std::string_view strLine, std::string_view strKey) {
    return strLine.find(strKey) != std::string_view::npos;
}

// The integer behind the first "=".
struct BehindEqual {
    explicit BehindEqual(std::string_view strLine) {
        const std::size_t nEqual = strLine.find('=');
        bEqual = nEqual != std::string_view::npos;
        if (!bEqual)
            return;
        const base::LongRead read = base::ReadLong(strLine.substr(nEqual + 1), 10);
        bNumber = read.nEnd != 0;
        nValue = base::CutToInt(read.nValue);
    }

    bool bEqual = false;
    bool bNumber = false;
    int nValue = 0;  // stays 0 without a number
};

// A line of the two sections of commands.
struct CommandLine {
    explicit CommandLine(std::string_view strLine) : seconds(strLine) {
        const base::LongRead read = base::ReadLong(strLine, 10);
        bTaken = read.nEnd != 0 && seconds.bEqual;
        nCmd = base::CutToInt(read.nValue);
    }

    BehindEqual seconds;
    bool bTaken = false;
    int nCmd = 0;
};

}  // namespace NSTE_util

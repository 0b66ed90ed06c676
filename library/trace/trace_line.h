#pragma once

#include "tovelkarin/tntrace.h"
#include "trace/guarded_call.h"

// Every unit that reports sets up the standard streams before its own static objects.
#include <iostream>
#include <string>
#include <utility>

namespace NSTN_util {

constexpr const char* MODULE_NAME = "tovelkarin";
constexpr unsigned int TRACE_BOUND = 5120;
constexpr int LEVEL_ORDINARY = 1;

// Writes a line to this module's log, at once or when the thread's HeldLines go.
void WriteLine(std::string strLine);

// Writes one line to this module's log; "%" and any one character take the next argument.
// Throws nothing, not even when the line does not fit into memory.
template <class... Args>
void Report(const char* szFormat, const Args&... args) noexcept {
    static_assert(sizeof...(Args) <= 15, "the formatter takes at most 15 arguments");
    GuardedCall([&] {
        std::string strLine;
        TNTrace2Str(TRACE_BOUND, strLine, szFormat, TNString(args)...);
        WriteLine(std::move(strLine));
    });
}

}  // namespace NSTN_util

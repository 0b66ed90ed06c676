#include "embedded/tell.h"

#include "embedded/log_file.h"
#include "zemb/debug.h"

#include <cstdio>

namespace zemb {

void TellOfPlatform(const char* szWhat, const std::string& strText) noexcept {
    constexpr int TRACE_LEVEL = 3;
    if (!HasLogFiles())
        std::fprintf(stderr, "zembedded: %s%s\n", szWhat, strText.c_str());
    try {
        if (TEDebugInterface* const pDebug = NSTE_util::GetDefaultDebugInterface())
            pDebug->Trace(TRACE_LEVEL, (szWhat + strText).c_str());
    } catch (...) {
        NSTE_util::WriteException("a line of the platform could not be written");
    }
}

}  // namespace zemb

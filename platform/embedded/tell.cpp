#include "embedded/tell.h"

#include "zemb/debug.h"

namespace zemb {

void TellOfPlatform(const char* szWhat, const std::string& strText) noexcept {
    constexpr int TRACE_LEVEL = 3;
    try {
        if (TEDebugInterface* const pDebug = NSTE_util::GetDefaultDebugInterface())
            pDebug->Trace(TRACE_LEVEL, (szWhat + strText).c_str());
    } catch (...) {
        NSTE_util::WriteException("a line of the platform could not be written");
    }
}

}  // namespace zemb

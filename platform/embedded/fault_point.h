#pragma once

#include "zemb/faults.h"

#include <atomic>

namespace zemb {

extern std::atomic<ScopedFault::Plan*> g_pFaultPlan;

bool StrikeFault(const char* szCall, bool bMayThrow);

// Stands at the beginning of each call of the seam that reaches beyond the process's memory, or
// into what others register. True: it must fail; errno is set.
inline bool IsFaulty(const char* szCall) {
    return g_pFaultPlan.load(std::memory_order_relaxed) != nullptr && StrikeFault(szCall, true);
}

// The same for calls that never throw.
// NOLINTNEXTLINE(bugprone-exception-escape): it throws only where the second argument says so
inline bool IsFaultyNoThrow(const char* szCall) noexcept {
    return g_pFaultPlan.load(std::memory_order_relaxed) != nullptr && StrikeFault(szCall, false);
}

}  // namespace zemb

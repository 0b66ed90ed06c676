#pragma once

#include <utility>

namespace NSTN_util {

// Notes that an exception was caught and dropped; call it from a catch block.
void ReportException() noexcept;

// Runs fn; whatever it throws is reported and goes no further. The unwinding of a cancelled thread
// would end the process here: what fn calls holds a cancel off where it reaches a cancellation
// point.
template <class Fn>
void GuardedCall(Fn&& fn) noexcept {
    try {
        std::forward<Fn>(fn)();
    } catch (...) {
        ReportException();
    }
}

}  // namespace NSTN_util

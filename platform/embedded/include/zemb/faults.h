#pragma once

#include "zemb/export.h"

#include <memory>
#include <string>

// Makes calls of the platform go wrong, for tests of what stands on it. The calls of the seam
// that reach files, databases, tasks, other modules or the log are fault points, counted from 1
// over all threads; what only computes (texts, bytes, times) is none.
namespace zemb {

// What a call does instead of its work.
enum class EFault {
    FAILS,   // answers that it failed, with errno set; what answers a pointer answers null
    THROWS,  // throws std::runtime_error; a call that never throws fails instead
    BLOCKS,  // rests until Release() or the end of the object, then does its work
};

// As long as it lives the nPoint-th fault point (and, with bFromThenOn, each one behind it) goes
// wrong. One at a time; any thread.
class ZEMB_API ScopedFault {
public:
    struct Plan;

    // nPoint 0: nothing goes wrong, the points are only counted.
    ScopedFault(EFault eFault, int nPoint, bool bFromThenOn = false, int nErrno = 5 /*EIO*/);
    ~ScopedFault();  // lets go what rests, and waits until it has left
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;

    int Points() const;         // passed so far
    std::string Where() const;  // the call that went wrong first, such as "fopen"; "": none so far

    // For BLOCKS: returns when a call rests.
    void WaitUntilBlocked() const;
    void Release();

private:
    const std::unique_ptr<Plan> m_pPlan;
};

}  // namespace zemb

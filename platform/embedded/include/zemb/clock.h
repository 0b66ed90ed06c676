#pragma once

#include "zemb/export.h"

#include <string>

// The platform's clock and time zone. Any thread unless said
// otherwise; what a scope object replaces is put back when the object goes.
namespace zemb {

// The platform's clock: microseconds since 1970, UTC.
ZEMB_API long long NowMicroseconds();
// The same in whole seconds, at the cost of one time().
ZEMB_API long long NowSeconds();
// nMicroseconds as "2026-03-01 08:00:00.123Z".
ZEMB_API std::string FormatTime(long long nMicroseconds);

// Moves the platform's clock; one at a time.
class ZEMB_API ScopedClock {
public:
    explicit ScopedClock(long nOffset = 0);  // seconds added to the system's time
    ~ScopedClock();                          // back to the system's time
    ScopedClock(const ScopedClock&) = delete;
    ScopedClock& operator=(const ScopedClock&) = delete;
    // Moves the clock on from where it is, or back.
    void Advance(long nSeconds);
    // Stops the clock at that moment; Advance still moves it.
    void Freeze(long long nMicroseconds);
};

// Puts a time zone in place of the process's own (environment variable TZ, else the system's):
// "Europe/Berlin". False, and nothing changed, when there is no such zone. "": back to the own one.
ZEMB_API bool SetTimeZone(const std::string& strZone);

}  // namespace zemb

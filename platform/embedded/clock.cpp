#include "embedded/coarse_clock.h"
#include "zemb/control.h"

#include <time.h>

#include <atomic>
#include <cstdio>
#include <limits>

namespace {

constexpr long long MICROSECONDS = 1000000;
constexpr long long RUNNING = std::numeric_limits<long long>::min();

std::atomic<long long> g_nOffset{0};        // microseconds
std::atomic<long long> g_nFrozen{RUNNING};  // the moment the clock stands at

}  // namespace

namespace zemb {

long long NowMicroseconds() {
    const long long nFrozen = g_nFrozen.load();
    if (nFrozen != RUNNING)
        return nFrozen;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<long long>(now.tv_sec) * MICROSECONDS + now.tv_nsec / 1000 +
           g_nOffset.load();
}

long long NowCoarseMicroseconds() {
    const long long nFrozen = g_nFrozen.load(std::memory_order_relaxed);
    if (nFrozen != RUNNING)
        return nFrozen;
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return static_cast<long long>(now.tv_sec) * MICROSECONDS + now.tv_nsec / 1000 +
           g_nOffset.load(std::memory_order_relaxed);
}

long long NowSeconds() {
    const long long nFrozen = g_nFrozen.load(std::memory_order_relaxed);
    if (nFrozen != RUNNING)
        return nFrozen / MICROSECONDS - (nFrozen % MICROSECONDS < 0 ? 1 : 0);
    // One read of the system's coarse clock: it may lag behind the fine one by a few milliseconds.
    return time(nullptr) + g_nOffset.load(std::memory_order_relaxed) / MICROSECONDS;
}

std::string FormatTime(long long nMicroseconds) {
    // Moments before 1970 too: the fraction counts upwards from the second before.
    const long long nFraction = (nMicroseconds % MICROSECONDS + MICROSECONDS) % MICROSECONDS;
    const time_t tSecond = static_cast<time_t>((nMicroseconds - nFraction) / MICROSECONDS);
    tm parts{};
    gmtime_r(&tSecond, &parts);
    char szText[96];
    std::snprintf(szText, sizeof szText, "%04d-%02d-%02d %02d:%02d:%02d.%03dZ",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec, static_cast<int>(nFraction / 1000));
    return szText;
}

ScopedClock::ScopedClock(long nOffset) {
    g_nOffset = nOffset * MICROSECONDS;
}

ScopedClock::~ScopedClock() {
    g_nOffset = 0;
    g_nFrozen = RUNNING;
}

void ScopedClock::Advance(long nSeconds) {
    if (g_nFrozen != RUNNING)
        g_nFrozen += nSeconds * MICROSECONDS;
    else
        g_nOffset += nSeconds * MICROSECONDS;
}

void ScopedClock::Freeze(long long nMicroseconds) {
    g_nFrozen = nMicroseconds;
}

}  // namespace zemb

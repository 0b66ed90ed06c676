#pragma once

#include <absl/time/time.h>

#include <optional>
#include <string>

namespace zemb {

// A time zone, read once. Immutable.
struct Zone {
    // Absent: a rule such as "CET-1CEST,M3.5.0,M10.5.0/3", which is left to the C library.
    std::optional<absl::TimeZone> zone;
};

// The zone of the process as of now; the reference lives to the end of the process.
const Zone& CurrentZone();

}  // namespace zemb

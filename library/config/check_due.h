#pragma once

#include <cstdint>

namespace NSTN_util {

// Seconds between two looks at a file. A look is too early after "300 seconds or less", which is
// the same as "below 301": clocks count whole seconds.
constexpr std::int64_t SECONDS_BETWEEN_CHECKS = 301;

// Either way: a clock that was set back makes a look due too.
constexpr bool IsCheckDue(std::int64_t tNow, std::int64_t tLast) {
    return tNow - tLast >= SECONDS_BETWEEN_CHECKS || tLast - tNow >= SECONDS_BETWEEN_CHECKS;
}

}  // namespace NSTN_util

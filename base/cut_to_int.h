#pragma once

#include <algorithm>
#include <limits>

namespace base {

// What no int holds becomes the nearest one.
constexpr int CutToInt(long nValue) {
    return static_cast<int>(
        std::clamp<long>(nValue, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace base

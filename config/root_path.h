#pragma once

#include <cstddef>

namespace NSTN_util {

// Whatever is read below a longer installation root counts as not there.
constexpr std::size_t ROOT_PATH_MAX = 245;

}  // namespace NSTN_util

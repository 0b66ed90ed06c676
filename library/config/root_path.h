#pragma once

#include <cstddef>

namespace NSTN_util {

// Below a longer installation root no settings and no language texts are read.
constexpr std::size_t ROOT_PATH_MAX = 245;

}  // namespace NSTN_util

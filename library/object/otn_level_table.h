#pragma once

#include <cstdint>
#include <string_view>

namespace NSTN_util {

// The code of a level name, exactly spelled; 0 for any other text.
std::uint32_t CodeOfLevel(std::string_view strName);

// The name of a level code; "" for any other code.
std::string_view NameOfLevel(std::uint32_t nCode);

}  // namespace NSTN_util

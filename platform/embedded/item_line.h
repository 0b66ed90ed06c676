#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zemb {

// The value of the last line of a key in a file as ZembGetRegInt reads it; none without such a
// line.
std::optional<std::string> FindItem(std::string_view strKey, const std::string& strFile);

// The number that a key of trans_ems.cfg has under the root; nUsual without one, and for what is no
// number from nLeast to nMost.
std::uint32_t NumberUnderRoot(std::string_view strKey, std::uint32_t nUsual, std::uint32_t nLeast,
                              std::uint32_t nMost);

// The name under which this process is shown and writes its logs.
std::string ProcessName();

// The installation root, without a fault point; "" for none.
std::string RootPath();

}  // namespace zemb

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zemb {

// The value of the last line of a key in a file as ZembGetRegInt reads it; none without such a
// line.
std::optional<std::string> FindItem(std::string_view strKey, const std::string& strFile);

// The installation root, without a fault point; "" for none.
std::string RootPath();

}  // namespace zemb

#pragma once

#include "base/trim.h"

#include <optional>
#include <string>
#include <string_view>

namespace zemb {

// Divides a line "key = value" at its first "="; false for a blank line, a comment ("#" first) or
// one without "=".
inline bool SplitItem(std::string_view strLine, std::string_view& strKey,
                      std::string_view& strValue) {
    strLine = base::Trim(strLine);
    const std::size_t nEqual = strLine.find('=');
    if (strLine.empty() || strLine.front() == '#' || nEqual == std::string_view::npos)
        return false;
    strKey = base::Trim(strLine.substr(0, nEqual));
    strValue = base::Trim(strLine.substr(nEqual + 1));
    return true;
}

// The value of the last line of a key in a file as ZembGetRegInt reads it; none without such a
// line.
std::optional<std::string> FindItem(std::string_view strKey, const std::string& strFile);

}  // namespace zemb

#pragma once

#include <string_view>

namespace zemb {

// strText without the characters strCut at both ends.
inline std::string_view TrimOf(std::string_view strText, std::string_view strCut = " \t\n\r") {
    const std::size_t nFirst = strText.find_first_not_of(strCut);
    if (nFirst == std::string_view::npos)
        return {};
    return strText.substr(nFirst, strText.find_last_not_of(strCut) - nFirst + 1);
}

// Divides a line "key = value" at its first "="; false for a blank line, a comment ("#" first) or
// one without "=".
inline bool SplitItem(std::string_view strLine, std::string_view& strKey,
                      std::string_view& strValue) {
    strLine = TrimOf(strLine);
    const std::size_t nEqual = strLine.find('=');
    if (strLine.empty() || strLine.front() == '#' || nEqual == std::string_view::npos)
        return false;
    strKey = TrimOf(strLine.substr(0, nEqual));
    strValue = TrimOf(strLine.substr(nEqual + 1));
    return true;
}

}  // namespace zemb

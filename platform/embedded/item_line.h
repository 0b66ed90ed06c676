#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zemb {

// strText without the characters strCut at both ends.
inline std::string_view TrimOf(std::string_view strText, std::string_view strCut = " \t\n\r") {
    const auto IsCut = [strCut](char c) {
        for (const char cCut : strCut)
            if (c == cCut)
                return true;
        return false;
    };
    while (!strText.empty() && IsCut(strText.front()))
        strText.remove_prefix(1);
    while (!strText.empty() && IsCut(strText.back()))
        strText.remove_suffix(1);
    return strText;
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

// The value of the last line of a key in a file as ZembGetRegInt reads it; none without such a
// line.
std::optional<std::string> FindItem(std::string_view strKey, const std::string& strFile);

}  // namespace zemb

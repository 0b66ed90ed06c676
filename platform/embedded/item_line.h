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

// The value of the last line of a key in a file as ZembGetRegInt reads it; none without such a
// line.
std::optional<std::string> FindItem(std::string_view strKey, const std::string& strFile);

}  // namespace zemb

#pragma once

#include <string_view>

namespace base {

// What files and users put around words: blank, tab, line feed, carriage return.
constexpr bool IsTrimmed(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

inline std::string_view TrimBlanksLeft(std::string_view strText) {
    while (!strText.empty() && IsTrimmed(strText.front()))
        strText.remove_prefix(1);
    return strText;
}

inline std::string_view TrimBlanksRight(std::string_view strText) {
    while (!strText.empty() && IsTrimmed(strText.back()))
        strText.remove_suffix(1);
    return strText;
}

inline std::string_view TrimBlanks(std::string_view strText) {
    return TrimBlanksLeft(TrimBlanksRight(strText));
}

}  // namespace base

#pragma once

#include <string_view>

namespace base {

// strText without what IsCut says of the characters at both ends.
template <class IsCut>
constexpr std::string_view TrimIf(std::string_view strText, IsCut isCut) {
    while (!strText.empty() && isCut(strText.front()))
        strText.remove_prefix(1);
    while (!strText.empty() && isCut(strText.back()))
        strText.remove_suffix(1);
    return strText;
}

// What files and users put around words: blank, tab, line feed, carriage return.
constexpr bool IsTrimmed(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

constexpr std::string_view TrimLeft(std::string_view strText) {
    while (!strText.empty() && IsTrimmed(strText.front()))
        strText.remove_prefix(1);
    return strText;
}

constexpr std::string_view TrimRight(std::string_view strText) {
    while (!strText.empty() && IsTrimmed(strText.back()))
        strText.remove_suffix(1);
    return strText;
}

// Without them at both ends.
constexpr std::string_view Trim(std::string_view strText) {
    return TrimLeft(TrimRight(strText));
}

// Without blanks (" ") alone at both ends: in lists of numbers a tab is no part of what surrounds
// one.
constexpr std::string_view TrimSpaces(std::string_view strText) {
    return TrimIf(strText, [](char c) { return c == ' '; });
}

}  // namespace base

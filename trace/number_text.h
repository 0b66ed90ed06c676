#pragma once

#include <charconv>
#include <cstring>
#include <string>

namespace NSTN_util {

// The longest text of a rounded floating-point number that is kept.
constexpr std::size_t ROUNDED_MAX = 63;

// Sets strText to the decimal text of nValue.
template <class Integer>
void AssignInteger(std::string& strText, Integer nValue) {
    char szText[24];
    const char* const pEnd = std::to_chars(szText, szText + sizeof szText, nValue).ptr;
    strText.assign(szText, static_cast<std::size_t>(pEnd - szText));
}

// Sets strText to dValue as "%.0f" writes it, cut to ROUNDED_MAX characters.
inline void AssignRounded(std::string& strText, double dValue) {
    char szText[320];  // the largest double has 309 digits
    const char* const pEnd =
        std::to_chars(szText, szText + sizeof szText, dValue, std::chars_format::fixed, 0).ptr;
    strText.assign(szText, static_cast<std::size_t>(pEnd - szText));
    if (strText.size() > ROUNDED_MAX)
        strText.resize(ROUNDED_MAX);
}

}  // namespace NSTN_util

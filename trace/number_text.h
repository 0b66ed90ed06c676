#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace NSTN_util {

// The longest text of a rounded floating-point number that is kept.
constexpr std::size_t ROUNDED_MAX = 63;

// "00" to "99", one after the other.
constexpr std::array<char, 200> DIGIT_PAIRS = [] {
    std::array<char, 200> arrPair{};
    for (std::size_t i = 0; i < 100; ++i) {
        arrPair[2 * i] = static_cast<char>('0' + i / 10);
        arrPair[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return arrPair;
}();

// The decimal text of nValue, written from its end: no pass to count the digits first.
template <class Integer>
std::string IntegerText(Integer nValue) {
    using Wide = std::conditional_t<(sizeof(Integer) <= 4), unsigned int, unsigned long>;
    auto nRest = static_cast<Wide>(nValue);
    if (nValue < 0)
        nRest = 0 - nRest;
    char szText[24];
    char* const pEnd = szText + sizeof szText;
    char* p = pEnd;
    for (; nRest >= 100; nRest /= 100)
        std::memcpy(p -= 2, &DIGIT_PAIRS[2 * (nRest % 100)], 2);
    if (nRest >= 10)
        std::memcpy(p -= 2, &DIGIT_PAIRS[2 * nRest], 2);
    else
        *--p = static_cast<char>('0' + nRest);
    if (nValue < 0)
        *--p = '-';
    return std::string(p, static_cast<std::size_t>(pEnd - p));
}

// dValue as "%.0f" writes it in the usual rounding mode, cut to ROUNDED_MAX characters.
inline std::string RoundedText(double dValue) {
    char szText[320];  // the largest double has 309 digits
    const char* const pEnd =
        std::to_chars(szText, szText + sizeof szText, dValue, std::chars_format::fixed, 0).ptr;
    const auto nLength = static_cast<std::size_t>(pEnd - szText);
    return std::string(szText, nLength < ROUNDED_MAX ? nLength : ROUNDED_MAX);
}

}  // namespace NSTN_util

#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace NSTN_util {

// The longest text of a rounded floating-point number that is kept.
constexpr std::size_t ROUNDED_MAX = 63;

// Room for the decimal text of any integer, sign included.
constexpr std::size_t INTEGER_TEXT_MAX = 24;

// "00" to "99", one after the other.
constexpr std::array<char, 200> DIGIT_PAIRS = [] {
    std::array<char, 200> arrPair{};
    for (std::size_t i = 0; i < 100; ++i) {
        arrPair[2 * i] = static_cast<char>('0' + i / 10);
        arrPair[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return arrPair;
}();

// 32 bits where they do: they divide faster.
template <class Integer>
using Magnitude = std::conditional_t<(sizeof(Integer) <= 4), unsigned int, unsigned long>;

// Writes the decimal digits of nRest so that they end before pEnd; returns where they begin.
template <class Unsigned>
char* WriteDigitsBefore(char* pEnd, Unsigned nRest) {
    for (; nRest >= 100; nRest /= 100)
        std::memcpy(pEnd -= 2, &DIGIT_PAIRS[2 * (nRest % 100)], 2);
    if (nRest >= 10)
        std::memcpy(pEnd -= 2, &DIGIT_PAIRS[2 * nRest], 2);
    else
        *--pEnd = static_cast<char>('0' + nRest);
    return pEnd;
}

// Writes the decimal text of nValue so that it ends before pEnd; returns where it begins.
template <class Integer>
char* WriteIntegerBefore(char* pEnd, Integer nValue) {
    auto nRest = static_cast<Magnitude<Integer>>(nValue);
    if (nValue < 0)
        nRest = 0 - nRest;
    pEnd = WriteDigitsBefore(pEnd, nRest);
    if (nValue < 0)
        *--pEnd = '-';
    return pEnd;
}

// The decimal text of nValue, written from its end: no pass to count the digits first.
template <class Integer>
std::string IntegerText(Integer nValue) {
    char szText[INTEGER_TEXT_MAX];
    char* const pEnd = szText + sizeof szText;
    const char* const p = WriteIntegerBefore(pEnd, nValue);
    return std::string(p, static_cast<std::size_t>(pEnd - p));
}

// dValue as "%.0f" writes it in the usual rounding mode, cut to ROUNDED_MAX characters.
inline std::string RoundedText(double dValue) {
    constexpr double WHOLE_FROM = 9007199254740992.0;  // 2^53: from here on every double is whole
    const double dSize = std::fabs(dValue);
    if (dSize < WHOLE_FROM) {
        auto nWhole = static_cast<unsigned long>(dSize);
        const double dRest = dSize - static_cast<double>(nWhole);
        if (dRest > 0.5 || (dRest == 0.5 && nWhole % 2 == 1))
            ++nWhole;
        char szText[INTEGER_TEXT_MAX];
        char* const pEnd = szText + sizeof szText;
        char* p = WriteDigitsBefore(pEnd, nWhole);
        if (std::signbit(dValue))
            *--p = '-';
        return std::string(p, static_cast<std::size_t>(pEnd - p));
    }
    char szText[320];  // the largest double has 309 digits
    const char* const pEnd =
        std::to_chars(szText, szText + sizeof szText, dValue, std::chars_format::fixed, 0).ptr;
    const auto nLength = static_cast<std::size_t>(pEnd - szText);
    return std::string(szText, nLength < ROUNDED_MAX ? nLength : ROUNDED_MAX);
}

}  // namespace NSTN_util

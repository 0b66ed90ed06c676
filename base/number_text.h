#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace base {

// The longest text of a rounded floating-point number that is kept.
constexpr std::size_t ROUNDED_MAX = 63;

// Room for the text of any integer, in decimal or hexadecimal, with a sign or prefix.
constexpr std::size_t INTEGER_ROOM = 24;

// "00" to "99", one after the other. Fast path: a division by 100 gives two digits, which halves
// the divisions of a number's text: 0.8 of the time of to_chars and of std::to_string, 0.9 to 1.0
// of that of fmt::format_int (an int 5.0 ns beside 6.2, 6.3 and 5.6; 64 bits 8.9 beside 10.7, 10.5
// and 9.0). Who calls from outside pays 3 ns more for the call (row number_to_text of figures.md).
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
using Magnitude = std::conditional_t<(sizeof(Integer) <= 4), std::uint32_t, std::uint64_t>;

template <class Integer>
Magnitude<Integer> MagnitudeOf(Integer nValue) {
    const auto nSize = static_cast<Magnitude<Integer>>(nValue);
    return nValue < 0 ? 0 - nSize : nSize;
}

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

// Writes the decimal text of nValue so that it ends before pEnd; returns where it begins. The
// fastest way for one number: no pass to count the digits first.
template <class Integer>
char* WriteIntegerBefore(char* pEnd, Integer nValue) {
    pEnd = WriteDigitsBefore(pEnd, MagnitudeOf(nValue));
    if (nValue < 0)
        *--pEnd = '-';
    return pEnd;
}

template <class Unsigned>
std::size_t DigitCount(Unsigned nValue) {
    for (std::size_t nCount = 1;; nCount += 4, nValue /= 10000) {
        if (nValue < 10)
            return nCount;
        if (nValue < 100)
            return nCount + 1;
        if (nValue < 1000)
            return nCount + 2;
        if (nValue < 10000)
            return nCount + 3;
    }
}

// Writes the decimal text of nValue from p on; returns its end. For many numbers in a row.
template <class Integer>
char* WriteInteger(char* p, Integer nValue) {
    if (nValue < 0)
        *p++ = '-';
    const auto nSize = MagnitudeOf(nValue);
    p += DigitCount(nSize);
    WriteDigitsBefore(p, nSize);
    return p;
}

// The text from pStart to pEnd.
inline std::string TextOf(const char* pStart, const char* pEnd) {
    return std::string(pStart, static_cast<std::size_t>(pEnd - pStart));
}

// The decimal text of nValue.
template <class Integer>
std::string IntegerText(Integer nValue) {
    char szText[INTEGER_ROOM];
    char* const pEnd = szText + sizeof szText;
    return TextOf(WriteIntegerBefore(pEnd, nValue), pEnd);
}

// nValue as "%0*ld" writes it in at least nWidth characters, with a sign among them; returns the
// end.
inline char* WritePadded(char* p, long nValue, std::ptrdiff_t nWidth) {
    // Fast path for the parts of a date, without a step by the number of digits.
    const auto nSmall = static_cast<std::size_t>(nValue);  // a negative number is a large one
    if (nWidth == 4 && nSmall < 10000) {
        std::memcpy(p, &DIGIT_PAIRS[2 * (nSmall / 100)], 2);
        std::memcpy(p + 2, &DIGIT_PAIRS[2 * (nSmall % 100)], 2);
        return p + 4;
    }
    if (nWidth == 2 && nSmall < 100) {
        std::memcpy(p, &DIGIT_PAIRS[2 * nSmall], 2);
        return p + 2;
    }
    char szDigits[INTEGER_ROOM];
    char* const pEnd = szDigits + sizeof szDigits;
    const char* const pDigits = WriteDigitsBefore(pEnd, MagnitudeOf(nValue));
    if (nValue < 0) {
        *p++ = '-';
        --nWidth;
    }
    p = std::fill_n(p, std::max<std::ptrdiff_t>(nWidth - (pEnd - pDigits), 0), '0');
    return std::copy(pDigits, static_cast<const char*>(pEnd), p);
}

// The hexadecimal digits, 'a' or 'A' first above 9.
constexpr const char* HEX_LOWER = "0123456789abcdef";
constexpr const char* HEX_UPPER = "0123456789ABCDEF";

constexpr std::size_t HexCount(std::uint64_t nValue) {
    return (64 - static_cast<std::size_t>(__builtin_clzll(nValue | 1)) + 3) / 4;
}

// strBefore and the hexadecimal digits of nValue without leading zeros, written where they stay,
// which takes 0.8 to 1.0 of the time of to_chars with its buffer. And to_chars has small letters
// only.
inline std::string HexText(std::string_view strBefore, std::uint64_t nValue, const char* szDigits) {
    std::string strText(strBefore.size() + HexCount(nValue), '0');
    char* const pStart = std::copy(strBefore.begin(), strBefore.end(), strText.data());
    char* p = strText.data() + strText.size();
    for (; p != pStart; nValue >>= 4)
        *--p = szDigits[nValue & 15];
    return strText;
}

// dValue as "%.0f" writes it in the usual rounding mode, cut to ROUNDED_MAX characters.
inline std::string RoundedText(double dValue) {
    constexpr double WHOLE_FROM = 9007199254740992.0;  // 2^53: from here on every double is whole
    const double dSize = std::fabs(dValue);
    if (dSize < WHOLE_FROM) {
        auto nWhole = static_cast<std::uint64_t>(dSize);
        const double dRest = dSize - static_cast<double>(nWhole);
        if (dRest > 0.5 || (dRest == 0.5 && nWhole % 2 == 1))
            ++nWhole;
        char szText[INTEGER_ROOM];
        char* const pEnd = szText + sizeof szText;
        char* p = WriteDigitsBefore(pEnd, nWhole);
        if (std::signbit(dValue))
            *--p = '-';
        return TextOf(p, pEnd);
    }
    char szText[320];  // the largest double has 309 digits
    const char* const pEnd =
        std::to_chars(szText, szText + sizeof szText, dValue, std::chars_format::fixed, 0).ptr;
    const auto nLength = static_cast<std::size_t>(pEnd - szText);
    return std::string(szText, nLength < ROUNDED_MAX ? nLength : ROUNDED_MAX);
}

}  // namespace base

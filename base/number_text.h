#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace base {

// The longest text of a rounded floating-point number that is kept.
constexpr std::size_t ROUNDED_MAX = 63;

// Room for the text of any integer, in decimal or hexadecimal, with a sign or prefix.
constexpr std::size_t INTEGER_ROOM = 24;

// "00" to "99", one after the other. Fast path: a division by 100 gives two digits, which halves
// the divisions of a number's text; it is as fast as to_chars (row number_to_text of figures.md).
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

// Fast path, here and below: all eight hexadecimal digits of a word are made at once, a byte each,
// without a branch or a table, in the time that to_chars needs (row number_to_hex of figures.md).

// Eight bytes in the order of the text: the lowest one of nBytes first.
inline void StoreEight(char* p, std::uint64_t nBytes) {
    if constexpr (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__)
        nBytes = __builtin_bswap64(nBytes);
    std::memcpy(p, &nBytes, sizeof nBytes);
}

// The eight hexadecimal digits of nValue, a byte each, the highest one lowest.
constexpr std::uint64_t EightHexDigits(std::uint32_t nValue) {
    std::uint64_t nDigits = nValue;
    nDigits = (nDigits | nDigits << 16) & 0x0000FFFF0000FFFFUL;
    nDigits = (nDigits | nDigits << 8) & 0x00FF00FF00FF00FFUL;
    nDigits = (nDigits | nDigits << 4) & 0x0F0F0F0F0F0F0F0FUL;
    return __builtin_bswap64(nDigits);
}

// Digits above 9 are letters, whose first one is cTen.
constexpr std::uint64_t HexLetters(std::uint64_t nDigits, char cTen) {
    constexpr std::uint64_t EIGHT_ZEROS = 0x3030303030303030UL;  // "00000000"
    const std::uint64_t nAboveNine = ((nDigits + 0x0606060606060606UL) >> 4) & 0x0101010101010101UL;
    return nDigits + EIGHT_ZEROS + nAboveNine * static_cast<std::uint64_t>(cTen - '0' - 10);
}

// Writes the hexadecimal digits of nValue without leading zeros from p on, where there is room for
// sixteen; cTen is 'a' or 'A'. Returns their end.
inline char* WriteHex(char* p, std::uint64_t nValue, char cTen) {
    const std::uint64_t nHigh = EightHexDigits(static_cast<std::uint32_t>(nValue >> 32));
    const std::uint64_t nLow = EightHexDigits(static_cast<std::uint32_t>(nValue));
    const std::uint64_t nFirst = nHigh != 0 ? nHigh : nLow;
    const auto nZeros = static_cast<unsigned>(__builtin_ctzll(nFirst | 1UL << 56)) / 8;
    StoreEight(p, HexLetters(nFirst, cTen) >> (8 * nZeros));
    p += 8 - nZeros;
    if (nHigh == 0)
        return p;
    StoreEight(p, HexLetters(nLow, cTen));
    return p + 8;
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

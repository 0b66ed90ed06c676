#pragma once

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace base {

constexpr std::array<unsigned char, 256> DIGIT_VALUES = [] {
    std::array<unsigned char, 256> arrValue{};
    for (unsigned char& nValue : arrValue)
        nValue = 36;
    for (unsigned char i = 0; i < 10; ++i)
        arrValue['0' + i] = i;
    for (unsigned char i = 0; i < 26; ++i)
        arrValue['a' + i] = arrValue['A' + i] = static_cast<unsigned char>(10 + i);
    return arrValue;
}();

// The value of a digit or letter in the bases up to 36; 36 for any other character.
constexpr unsigned DigitValue(char c) {
    return DIGIT_VALUES[static_cast<unsigned char>(c)];
}

// Blank characters as the C library's isspace knows them.
constexpr bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsLetterOrDigit(char c) {
    return DigitValue(c) < 36;
}

// Whether "0x" or "0X" stands at the beginning.
constexpr bool BeginsHex(std::string_view strText) {
    return strText.size() > 1 && strText[0] == '0' && (strText[1] == 'x' || strText[1] == 'X');
}

constexpr std::size_t SkipBlanks(std::string_view strText, std::size_t nAt = 0) {
    while (nAt < strText.size() && IsBlank(strText[nAt]))
        ++nAt;
    return nAt;
}

// Digits of one base from the beginning of a text.
struct DigitRun {
    unsigned long nValue = 0;
    std::size_t nLength = 0;  // 0: there is no digit
    bool bTooLarge = false;   // nValue is then ULONG_MAX
};

inline DigitRun ReadDigits(std::string_view strText, unsigned nBase) {
    DigitRun run;
    for (; run.nLength < strText.size(); ++run.nLength) {
        const unsigned nDigit = DigitValue(strText[run.nLength]);
        if (nDigit >= nBase)
            break;
        unsigned long nNext = 0;
        run.bTooLarge = run.bTooLarge || __builtin_mul_overflow(run.nValue, nBase, &nNext) ||
                        __builtin_add_overflow(nNext, nDigit, &nNext);
        run.nValue = run.bTooLarge ? ULONG_MAX : nNext;
    }
    return run;
}

// Up to nine digits from pStart on, which always fit an int; returns where they end, pStart itself
// when there is none or there are more. A text that a zero byte ends needs no pEnd: null.
inline const char* ReadShortDigits(const char* pStart, const char* pEnd, std::uint32_t& nValue) {
    constexpr std::ptrdiff_t MOST = 9;
    const char* p = pStart;
    std::uint32_t nRead = 0;
    for (unsigned nDigit;
         p != pEnd && (nDigit = static_cast<unsigned char>(*p) - unsigned{'0'}) < 10; ++p)
        nRead = nRead * 10 + nDigit;
    nValue = nRead;
    return p - pStart <= MOST ? p : pStart;
}

// What strtol makes of a text, without the need for a zero byte behind it: blanks, a sign, in base
// 16 "0x", digits; what no long holds becomes the nearest one. Bases 2 to 36.
struct LongRead {
    long nValue = 0;
    std::size_t nEnd = 0;  // behind the number; 0: there is none
};

inline LongRead ReadLong(std::string_view strText, unsigned nBase) {
    std::size_t nAt = SkipBlanks(strText);
    const bool bMinus = nAt < strText.size() && strText[nAt] == '-';
    if (bMinus || (nAt < strText.size() && strText[nAt] == '+'))
        ++nAt;
    if (nBase == 16 && nAt + 2 < strText.size() && BeginsHex(strText.substr(nAt)) &&
        DigitValue(strText[nAt + 2]) < 16)
        nAt += 2;
    const DigitRun run = ReadDigits(strText.substr(nAt), nBase);
    if (run.nLength == 0)
        return {};
    constexpr unsigned long MOST = std::numeric_limits<long>::max();
    LongRead read;
    read.nEnd = nAt + run.nLength;
    if (bMinus)
        read.nValue =
            run.nValue > MOST ? std::numeric_limits<long>::min() : -static_cast<long>(run.nValue);
    else
        read.nValue =
            run.nValue > MOST ? std::numeric_limits<long>::max() : static_cast<long>(run.nValue);
    return read;
}

}  // namespace base

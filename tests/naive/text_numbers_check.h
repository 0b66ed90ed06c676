#pragma once

#include "tests/naive/byte_source.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

// Numbers, addresses and NE identifiers read and written the slow way: streams, strtol, printf.
namespace naive {

template <class Number>
Number HexDec(const std::string& strText) {
    if (strText.empty())
        return 0;
    const int nBase =
        strText.compare(0, 2, "0x") == 0 || strText.compare(0, 2, "0X") == 0 ? 16 : 10;
    const std::string strDigits = "0123456789abcdef";
    Number sum = 0;
    Number weight = 1;
    bool bMinus = false;
    for (auto it = strText.rbegin(); it != strText.rend(); ++it) {
        if (*it == 'x' || *it == 'X')
            break;
        if (*it == '-') {
            bMinus = true;
            break;
        }
        const char c = *it >= 'A' && *it <= 'F' ? static_cast<char>(*it - 'A' + 'a') : *it;
        const std::size_t nDigit = c == '\0' ? std::string::npos : strDigits.find(c);
        if (nDigit == std::string::npos || static_cast<int>(nDigit) >= nBase)
            return 0;
        sum += static_cast<Number>(nDigit) * weight;
        weight *= static_cast<Number>(nBase);
    }
    return bMinus ? -sum : sum;
}

inline bool IsHexDec(const std::string& strText) {
    const bool bHex = strText.size() > 1 && strText[0] == '0' && std::strchr("xX", strText[1]) &&
                      strText[1] != '\0';
    for (std::size_t i = strText.size(); i-- > 0;) {
        if (strText[i] == 'x' || strText[i] == 'X')
            return true;
        if (!NSTN_util::isHexDecChar(bHex ? 16 : 10, strText[i]))
            return false;
        if (i == 0)
            return true;
    }
    return false;
}

inline bool NeId(const std::string& strText, unsigned long& id) {
    if (strText.empty())
        return false;
    const std::size_t nDash = strText.find('-');
    if (nDash == std::string::npos) {
        std::istringstream stream(strText);
        if (strText.size() > 2 && strText.compare(0, 2, "0x") == 0)
            stream >> std::hex;
        return static_cast<bool>(stream >> id);
    }
    std::istringstream left(strText.substr(0, nDash));
    std::istringstream right(strText.substr(nDash + 1));
    unsigned nLeft = 0;
    unsigned nRight = 0;
    if (!(left >> nLeft) || !(right >> nRight))
        return false;
    id = (nLeft << 16) | (nRight & 0xFFFF);
    return true;
}

inline bool ToInt(std::string strText, int& nOut, int nBase) {
    while (!strText.empty() && strText.front() == ' ')
        strText.erase(0, 1);
    while (!strText.empty() && strText.back() == ' ')
        strText.pop_back();
    if (strText.empty())
        return false;
    char* szEnd = const_cast<char*>("?");
    nOut = static_cast<int>(std::strtol(strText.c_str(), &szEnd, nBase));
    return szEnd == strText.c_str() + strText.size();
}

inline bool Span(const std::string& strText, int& nFirst, int& nLast) {
    const std::size_t nDash = strText.find('-');
    if (nDash == std::string::npos) {
        const bool bRead = ToInt(strText, nFirst, 10);
        nLast = nFirst;
        return bRead && nFirst >= 0;
    }
    const bool bFirst = ToInt(strText.substr(0, nDash), nFirst, 10);
    return ToInt(strText.substr(nDash + 1), nLast, 10) && bFirst && 0 <= nFirst && nFirst <= nLast;
}

inline bool Ip(const std::string& strText, unsigned long& ip) {
    ip = 0;
    std::vector<std::string> vecPiece = Pieces(strText, '.');
    if (vecPiece.back().empty())
        vecPiece.pop_back();
    std::size_t nTaken = 0;
    for (std::string strPiece : vecPiece) {
        if (strPiece.empty() || !NSTN_util::TEStrTrim(strPiece, true))
            return false;
        errno = 0;
        const unsigned long nValue = std::strtoul(strPiece.c_str(), nullptr, 10);
        if (errno != 0 || nValue > 255 || nTaken > 4)
            return false;
        ip = (ip << 8) + nValue;
        ++nTaken;
    }
    return nTaken == 4;
}

inline int IpUnchecked(const std::string& strText) {
    if (strText.empty())
        return -1;
    const unsigned SHIFT[] = {24, 16, 8, 0};
    unsigned ip = 0;
    std::size_t i = 0;
    for (const std::string& strPiece : Pieces(strText, '.'))
        ip |= static_cast<unsigned>(std::strtol(strPiece.c_str(), nullptr, 10)) << SHIFT[i++ % 4];
    return static_cast<int>(ip);
}

template <class... Args>
std::string Printed(const char* szFormat, Args... args) {
    char szText[512];
    std::snprintf(szText, sizeof szText, szFormat, args...);
    return szText;
}

inline void CheckNumberWriters(ByteSource& source) {
    unsigned long nValue = 0;
    for (int i = 0; i < 8; ++i)
        nValue = (nValue << 8) | source.Byte();
    nValue >>= source.Below(64);
    const auto n = static_cast<int>(nValue);
    const auto l = static_cast<long>(nValue);
    double d = 0;
    std::memcpy(&d, &nValue, sizeof d);
    using namespace NSTN_util;
    Expect(Int2String(n) == Printed("%d", n), "Int2String");
    Expect(
        UInt2String(static_cast<unsigned>(nValue)) == Printed("%u", static_cast<unsigned>(nValue)),
        "UInt2String");
    for (const double dValue : {d, static_cast<double>(n) / 8, static_cast<double>(l) / 2})
        Expect(Double2String(dValue) == Printed("%.0f", dValue).substr(0, 63),
               "Double2String " + Printed("%a", dValue));
    Expect(ConvertULONGToStr(nValue, true) == Printed("%lu", nValue), "ConvertULONGToStr");
    Expect(ConvertLONGToStr(l, true) == Printed("%ld", l), "ConvertLONGToStr");
    Expect(ConvertHEXToStr(nValue, true) == Printed("%lx", nValue), "ConvertHEXToStr");
    Expect(IntToStr(l, true) == Printed("0x%lX", l), "IntToStr");
    Expect(IntToStr(l, false) == Printed("%d", n), "IntToStr");
    Expect(TENEID2Str(nValue) == Printed("%d-%lu", static_cast<int>(nValue >> 16), nValue & 0xFFFF),
           "TENEID2Str");
    unsigned long idBack = 0;
    Expect(TEStr2NEID(TENEID2Str(nValue & 0xFFFFFFFF).c_str(), idBack) &&
               idBack == (nValue & 0xFFFFFFFF),
           "an identifier comes back");
    if (n != -1) {
        unsigned long ip = 0;
        Expect(IPString2Int(IPInt2String(n)) == n, "an address comes back");
        Expect(TEStr2Ip(IPInt2String(n).c_str(), ip) && ip == static_cast<unsigned>(n),
               "an address is read back");
    }
}

inline void CheckNumberReaders(const std::string& strText, int nBase) {
    using namespace NSTN_util;
    Expect(HexDecStr2UInt(strText) == HexDec<unsigned>(strText), "UInt " + strText);
    Expect(HexDecStr2Int(strText) == static_cast<int>(HexDec<unsigned>(strText)), "Int " + strText);
    Expect(HexDecStr2Long(strText) == static_cast<long>(HexDec<unsigned long>(strText)),
           "Long " + strText);
    Expect(HexDecStr2LongLong(strText) == static_cast<long long>(HexDec<unsigned long>(strText)),
           "LongLong " + strText);
    const double dOurs = HexDecStr2Double(strText);
    const double dNaive = HexDec<double>(strText);
    Expect(std::memcmp(&dOurs, &dNaive, sizeof dOurs) == 0, "Double " + strText);
    Expect(isHexDecStr(strText) == IsHexDec(strText), "isHexDecStr " + strText);
    Expect(IPString2Int(strText) == IpUnchecked(strText), "IPString2Int " + strText);

    unsigned long nOurs = 77;
    unsigned long nNaive = 77;
    const std::string strC = strText.c_str();
    Expect(TEStr2NEID(strC.c_str(), nOurs) == NeId(strC, nNaive) && nOurs == nNaive,
           "TEStr2NEID " + strText);
    Expect(TEStr2Ip(strC.c_str(), nOurs) == Ip(strC, nNaive) && nOurs == nNaive,
           "TEStr2Ip " + strText);
    int nOut = 7;
    int nOutNaive = 7;
    Expect(StrToInt(strText, nOut, nBase) == ToInt(strText, nOutNaive, nBase) && nOut == nOutNaive,
           "StrToInt " + strText);
    int nLast = 8;
    int nLastNaive = 8;
    Expect(GetSpan(strText, nOut, nLast) == Span(strText, nOutNaive, nLastNaive) &&
               nOut == nOutNaive && nLast == nLastNaive,
           "GetSpan " + strText);
}

inline void CheckTextNumbers(const std::uint8_t* pData, std::size_t nSize) {
    static const std::string ALPHABETS[] = {"0123456789", "0123456789abcdefABCDEFxX-",
                                            "012 3456789-+\t", "0123456789. ", "0x1-F "};
    ByteSource source(pData, nSize);
    CheckNumberWriters(source);
    const int nBase = source.Below(38);
    std::string strText = source.Below(3) == 0 ? "0x" : "";
    strText += source.TextOf(ALPHABETS[source.Below(5)], 40);
    CheckNumberReaders(strText, nBase);
}

}  // namespace naive

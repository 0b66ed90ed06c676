#pragma once

#include "tests/naive/byte_source.h"

#include "tovelkarin/tntrace.h"

#include <string>
#include <vector>

namespace naive {

// The formatter, one step after the other, with a copy wherever one is handy.
inline std::string FormatNaively(unsigned nMaxLen, std::string strOut, std::string strFormat,
                                 const std::vector<std::string>& vecArgument) {
    const unsigned nBound = nMaxLen <= 1000 ? nMaxLen : nMaxLen - 100;
    std::size_t nStart = 0;
    for (const std::string& strArgument : vecArgument) {
        std::size_t nSlot = std::string::npos;
        for (std::size_t i = nStart; i < strFormat.size() && nSlot == std::string::npos; ++i)
            if (strFormat[i] == '%')
                nSlot = i;
        if (nSlot == std::string::npos)
            return strOut + " \n TNTRACE ERROR Parameter: \n" + strFormat + " : " + strArgument;
        strOut += strFormat.substr(nStart, nSlot - nStart) + strArgument;
        if (strOut.size() > nBound)
            return strOut + "...... \n TNTRACE ERROR Parameter: string too more! \n";
        nStart = nSlot + 2;
    }
    return nStart < strFormat.size() ? strOut + strFormat.substr(nStart) : strOut;
}

// Calls the overload for 1, 2, 3, 8 or 15 arguments.
template <class Format>
void FormatByLibrary(unsigned nMaxLen, std::string& strOut, const Format& strFormat,
                     const std::vector<std::string>& a) {
    using NSTN_util::TNTrace2Str;
    switch (a.size()) {
        case 1: return TNTrace2Str(nMaxLen, strOut, strFormat, a[0]);
        case 2: return TNTrace2Str(nMaxLen, strOut, strFormat, a[0], a[1]);
        case 3: return TNTrace2Str(nMaxLen, strOut, strFormat, a[0], a[1], a[2]);
        case 8:
            return TNTrace2Str(nMaxLen, strOut, strFormat, a[0], a[1], a[2], a[3], a[4], a[5], a[6],
                               a[7]);
        default:
            return TNTrace2Str(nMaxLen, strOut, strFormat, a[0], a[1], a[2], a[3], a[4], a[5], a[6],
                               a[7], a[8], a[9], a[10], a[11], a[12], a[13], a[14]);
    }
}

// Lets bytes choose bound, output, format and arguments, and compares library and model.
inline void CheckFormatter(const std::uint8_t* pData, std::size_t nSize) {
    static constexpr unsigned BOUNDS[] = {0, 1, 10, 40, 999, 1000, 1001, 1100, 5120};
    static constexpr std::size_t COUNTS[] = {1, 2, 3, 8, 15};
    ByteSource source(pData, nSize);
    const unsigned nMaxLen = BOUNDS[source.Below(9)];
    std::vector<std::string> vecArgument(COUNTS[source.Below(5)]);
    for (std::string& strArgument : vecArgument) {
        strArgument = source.Text(24);
        if (source.Below(16) == 1)
            strArgument.append(600, 'x');
    }
    const std::string strBefore = source.Text(32);
    const std::string strFormat = source.Rest();

    std::string strOut = strBefore;
    FormatByLibrary(nMaxLen, strOut, strFormat, vecArgument);
    Expect(strOut == FormatNaively(nMaxLen, strBefore, strFormat, vecArgument), strFormat);

    std::string strSame = strFormat;  // the output may be the format itself
    FormatByLibrary(nMaxLen, strSame, strSame, vecArgument);
    Expect(strSame == FormatNaively(nMaxLen, strFormat, strFormat, vecArgument), "in place");

    const std::string strShown = strFormat.c_str();  // up to the first zero
    std::string strLiteral = strBefore;
    FormatByLibrary(nMaxLen, strLiteral, strFormat.c_str(), vecArgument);
    Expect(strLiteral == FormatNaively(nMaxLen, strBefore, strShown, vecArgument), "not copied");

    strSame = strFormat;  // the format may lie in the output
    FormatByLibrary(nMaxLen, strSame, strSame.c_str(), vecArgument);
    Expect(strSame == FormatNaively(nMaxLen, strFormat, strShown, vecArgument), "from the output");

    std::string strPlain = strBefore;
    NSTN_util::TNTrace2Str(nMaxLen, strPlain, strFormat);
    Expect(strPlain == (strBefore + strFormat).substr(0, nMaxLen), "without arguments");
}

}  // namespace naive

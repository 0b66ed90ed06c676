#pragma once

#include "tests/naive/byte_source.h"
#include "tests/naive/plain_asn.h"

#include "tovelkarin/tntraceif.h"
#include "zemb/asn.h"
#include "zemb/control.h"

#include <string>
#include <vector>

// The sectioned print of ASN values, from the text that it starts with.
namespace naive {

inline std::string Compacted(std::string strText, bool bAll) {
    for (std::size_t n = 0; n < strText.size() && (bAll || strText.size() > 40000);) {
        if (strText.compare(n, 4, "    ") == 0)
            strText.erase(n, 4);
        else if (strText.compare(n, 3, " --") == 0)
            strText.erase(n, 3);
        else
            ++n;
    }
    return strText;
}

// The lines of the print with a limit of ten sections.
inline std::vector<std::string> SectionLines(const std::string& strText, bool bAll) {
    std::vector<std::string> vecLine = {"AdvAsnTraceFix asn szie:" +
                                        std::to_string(strText.size())};
    const std::string strCompact = Compacted(strText, bAll);
    const long S = static_cast<long>(strCompact.size());
    if (S < 1)
        return vecLine;
    long nStart = 0;
    long nEnd = S < 4000 ? S - 1 : 3999;
    for (int nCount = 1; nStart < S; ++nCount) {
        std::string strLine = nCount == 1 ? "Total Size: " + std::to_string(S) + " " : "";
        strLine += " >>> Section(" + std::to_string(nStart) + " ~ " + std::to_string(nEnd) + ")\n";
        if (nCount > 10) {
            vecLine.push_back(strLine + " ...More Asn Not Print...");
            break;
        }
        const std::size_t nFound = strCompact.find('\n', static_cast<std::size_t>(nEnd));
        long nCut = nFound == std::string::npos ? nEnd : static_cast<long>(nFound);
        long nLength = nCut - nStart + 1;
        if (nLength > 4000) {
            nCut = nStart + 4000;
            nLength = 4000;
        }
        vecLine.push_back(strLine + strCompact.substr(static_cast<std::size_t>(nStart),
                                                      static_cast<std::size_t>(nLength)));
        nStart = nCut + 1;
        nEnd = S - 1 - nCut < 4001 ? S - 1 : nCut + 4000;
    }
    return vecLine;
}

inline void CheckAsnSections(const std::uint8_t* pData, std::size_t nSize) {
    static const char* const PIECES[] = {"    ", " --", " ", "-", "\n", "x", "text", "  "};
    static const int TIMES[] = {1, 1, 2, 3, 40, 1000, 3990, 4001};
    ByteSource source(pData, nSize);
    const bool bAll = source.Below(4) == 0;
    std::string strText;
    while (!source.IsEmpty() && strText.size() < 60000) {
        const char* const szPiece = PIECES[source.Below(8)];
        for (int n = TIMES[source.Below(8)]; n > 0; --n)
            strText += szPiece;
    }
    std::vector<std::string> vecLine;
    {
        const zemb::ScopedDebugSink sink([&](const zemb::DebugLine& line) {
            if (line.strText.compare(0, 8, " read Ad") != 0)
                vecLine.push_back(line.strText);
        });
        const PlainAsn value(strText);
        Expect(NSTN_util::AdvAsnTrace(&value, 3, bAll ? 1 : 0) == 0, "printed");
    }
    Expect(vecLine == SectionLines(" --(Plain)" + strText, bAll),
           "sections of a text of " + std::to_string(strText.size()));
}

}  // namespace naive

#pragma once

#include "tests/naive/byte_source.h"

#include "task/operlog_cut.h"

#include <string>

// Cutting and splitting of operation-log texts, byte by byte.
namespace naive {

inline bool IsLead(char c) {
    const auto n = static_cast<unsigned char>(c);
    return n < 0x80 || n >= 0xC0;
}

// A text of one- to four-byte characters, with some bytes that belong to none.
inline std::string Characters(ByteSource& source, int nMost) {
    static const char* const CHARACTERS[] = {"a",
                                             "Z",
                                             "0",
                                             ":",
                                             ",",
                                             "[",
                                             "-",
                                             " ",
                                             ";",
                                             "\n",
                                             "\xC3\xA9",
                                             "\xE4\xB8\xAD",
                                             "\xF0\x9F\x98\x80",
                                             "\x80",
                                             "\xFF"};
    std::string strText;
    for (int n = source.Below(nMost + 1); n > 0; --n) {
        const int nKind = source.Below(15);
        const int nTimes = source.Below(8) == 0 ? 1 + source.Below(200) : 1;
        for (int i = 0; i < nTimes; ++i)
            strText += CHARACTERS[nKind];
    }
    return strText;
}

inline void CheckOperLogCut(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    const std::string strText = Characters(source, 30);
    const auto nMost = static_cast<std::size_t>(source.Below(2) == 0 ? source.Below(40) : 255);
    std::string strCut = strText;
    if (strText.size() > nMost) {
        const std::string strPlaces = "[]()- :,";
        std::size_t n = nMost;
        for (; n > 0; --n) {
            const char c = strText[n];
            if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                strPlaces.find(c) != std::string::npos)
                break;
        }
        strCut = strText.substr(0, n);
    }
    Expect(NSTN_util::SafeCut(strText, nMost) == strCut, "cut of " + strText);
    Expect(strCut.size() == strText.size() || strCut.empty() || IsLead(strText[strCut.size()]),
           "a character was cut");

    std::string strRest = strText;
    while (strRest.size() >= 1023) {
        const std::size_t nPart = NSTN_util::SplitPoint(strRest);
        Expect(nPart > 0 && nPart <= 510, "a part's size");
        bool bLeadBefore = false;  // is there any character to cut at?
        for (std::size_t n = 1; n <= 510; ++n)
            bLeadBefore = bLeadBefore || IsLead(strRest[n]);
        Expect(IsLead(strRest[nPart]) || !bLeadBefore, "whole characters");
        for (std::size_t n = nPart + 1; n <= 510 && bLeadBefore; ++n)
            Expect(!IsLead(strRest[n]), "the last place");
        strRest = strRest.substr(nPart);
    }
}

}  // namespace naive

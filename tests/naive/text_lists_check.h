#pragma once

#include "tests/naive/text_numbers_check.h"

#include <algorithm>
#include <list>
#include <set>

// Lists and words, read and written step by step.
namespace naive {

constexpr std::size_t LONGEST = 2000;  // lists that would get longer are not tried

// -1: too long to be tried, else whether the text is good.
inline int SpanList(const std::string& strText, std::vector<int>& vec) {
    vec.clear();
    for (std::string strWord : Pieces(strText, ',')) {
        NSTN_util::TEStrTrim(strWord, false);
        if (strWord.empty())
            continue;
        int nFirst = 0;
        int nLast = 0;
        if (!Span(strWord, nFirst, nLast))
            return 0;
        for (long n = nFirst; n <= nLast; ++n) {
            vec.push_back(static_cast<int>(n));
            if (vec.size() > LONGEST)
                return -1;
        }
    }
    return 1;
}

inline int AmpersandList(const std::string& strText, std::vector<int>& vec) {
    vec.clear();
    if (strText.empty() || strText.front() == '&' || strText.back() == '&')
        return 0;
    bool bRange = false;
    for (std::string strPiece : Pieces(strText, '&')) {
        if (strPiece.empty()) {
            bRange = true;
            continue;
        }
        if (!NSTN_util::TEStrTrim(strPiece, true))
            return 0;
        const int nValue = static_cast<int>(std::strtol(strPiece.c_str(), nullptr, 10));
        while (bRange && std::labs(long{vec.back()} - nValue) > 1) {
            vec.push_back(vec.back() < nValue ? vec.back() + 1 : vec.back() - 1);
            if (vec.size() > LONGEST)
                return -1;
        }
        bRange = false;
        vec.push_back(nValue);
    }
    return vec.empty() ? 0 : 1;
}

// Runs of at least nShortest consecutive numbers as first, strRun, last; 0: none.
inline std::string ListText(const std::vector<int>& vec, const std::string& strRun, char cItem,
                            std::size_t nShortest) {
    std::string strOut;
    const auto Put = [&](const std::string& strItem) {
        strOut += (strOut.empty() ? "" : std::string(1, cItem)) + strItem;
    };
    for (std::size_t i = 0; i < vec.size();) {
        std::size_t nEnd = i + 1;
        while (nEnd < vec.size() && long{vec[nEnd]} == long{vec[nEnd - 1]} + 1)
            ++nEnd;
        if (nShortest != 0 && nEnd - i >= nShortest) {
            Put(std::to_string(vec[i]) + strRun + std::to_string(vec[nEnd - 1]));
            i = nEnd;
        } else {
            Put(std::to_string(vec[i++]));
        }
    }
    return strOut;
}

inline void CheckListReaders(const std::string& strText) {
    std::vector<int> vecNaive;
    std::vector<int> vecOurs = {5};
    int nResult = SpanList(strText, vecNaive);
    if (nResult >= 0)
        Expect(NSTN_util::StrToNumList(CStdString(strText), vecOurs) == (nResult == 1) &&
                   vecOurs == vecNaive,
               "span list " + strText);
    nResult = AmpersandList(strText.c_str(), vecNaive);
    if (nResult >= 0)
        Expect(NSTN_util::TEStr2Vec(CStdString(strText), vecOurs) == (nResult == 1) &&
                   vecOurs == vecNaive,
               "ampersand list " + strText);
}

inline void CheckListWriters(const std::vector<int>& vec) {
    CStdString strOut = "before";
    NSTN_util::NumListToStr(vec, strOut);
    Expect(strOut == ListText(vec, "", ',', 0), "NumListToStr");
    NSTN_util::NumListToStr2(vec, strOut);
    Expect(strOut == ListText(vec, "-", ',', 2), "NumListToStr2");
    NSTN_util::TEVec2Str(vec, strOut);
    Expect(strOut == ListText(vec, "&&", '&', 3), "TEVec2Str");
    const std::set<int> setEach(vec.begin(), vec.end());
    std::string strSorted;
    NSTN_util::NumListToStr(vec, strSorted);
    Expect(strSorted == ListText({setEach.begin(), setEach.end()}, "-", ',', 2), "sorted spans");
    std::vector<int> vecSorted = vec;
    std::sort(vecSorted.begin(), vecSorted.end());
    NSTN_util::NumListToStr(std::list<int>(vec.begin(), vec.end()), strSorted);
    Expect(strSorted == ListText(vecSorted, "-", ',', 2), "list's spans");

    const bool bPlain = std::all_of(vec.begin(), vec.end(), [](int n) { return n >= 0; });
    if (!bPlain || vec.empty())
        return;
    std::vector<int> vecBack;
    NSTN_util::NumListToStr2(vec, strOut);
    Expect(NSTN_util::StrToNumList(strOut, vecBack) && vecBack == vec, "spans come back");
    NSTN_util::TEVec2Str(vec, strOut);
    Expect(NSTN_util::TEStr2Vec(strOut, vecBack) && vecBack == vec, "ampersands come back");
}

inline void CheckWords(const std::string& strText, const std::string& strSeparators, int nStart) {
    CStdString strWord = "before";
    const int nNext = NSTN_util::GetWordFromLine(strText, nStart, strSeparators, strWord);
    std::string strRest;
    int nExpected = -1;
    if (nStart >= 0 && nStart <= static_cast<int>(strText.size())) {
        strRest = strText.substr(static_cast<std::size_t>(nStart));
        const std::size_t nEnd = strRest.find_first_of(strSeparators);
        if (nEnd != std::string::npos) {
            nExpected = nStart + static_cast<int>(nEnd) + 1;
            strRest.resize(nEnd);
        }
    }
    Expect(nNext == nExpected && strWord == strRest, "word of " + strText);

    std::vector<std::string> vecPart = {"kept"};
    NSTN_util::TEStr2StrVec(strText.c_str(), vecPart);
    std::vector<std::string> vecExpected = Pieces(strText.c_str(), ',');
    vecExpected.insert(vecExpected.begin(), "kept");
    Expect(vecPart == vecExpected, "parts of " + strText);

    std::string strExpected;
    for (const std::string& strPiece : Pieces(strText, ' '))
        if (const char c = static_cast<char>(std::strtol(strPiece.c_str(), nullptr, 16)); c != '\0')
            strExpected += c;
    CStdString strOut = "before";
    Expect(NSTN_util::Str16ToStrChar(strText, strOut) && strOut == strExpected,
           "Str16ToStrChar " + strText);
}

inline void CheckSort(const std::vector<int>& vec, int nKey) {
    std::vector<int> arrOurs[3] = {vec, vec, vec};
    std::reverse(arrOurs[0].begin(), arrOurs[0].end());
    for (std::size_t i = 0; i < vec.size(); ++i)
        arrOurs[2][i] = static_cast<int>(i) / 2;
    std::vector<int> arrNaive[3] = {arrOurs[0], arrOurs[1], arrOurs[2]};
    const std::vector<int>& vecKey = arrNaive[nKey == 3 ? 2 : nKey == 2 ? 1 : 0];
    for (std::size_t nPass = 0; nPass + 1 < vec.size(); ++nPass)
        for (std::size_t i = 0; i + 1 < vec.size() - nPass; ++i)
            if (vecKey[i] > vecKey[i + 1])
                for (auto& vecOne : arrNaive)
                    std::swap(vecOne[i], vecOne[i + 1]);
    auto arrTwo = arrOurs[1];
    auto arrKeyOfTwo = arrOurs[0];
    NSTN_util::TERela3WaySort(arrOurs[0], arrOurs[1], arrOurs[2], nKey);
    for (int i = 0; i < 3; ++i)
        Expect(arrOurs[i] == arrNaive[i], "TERela3WaySort");
    if (nKey != 3) {
        NSTN_util::TERela2WaySort(arrKeyOfTwo, arrTwo, nKey);
        Expect(arrKeyOfTwo == arrNaive[0] && arrTwo == arrNaive[1], "TERela2WaySort");
    }
}

inline void CheckTextLists(const std::uint8_t* pData, std::size_t nSize) {
    static const std::string ALPHABETS[] = {"0123456789,,,--- ", "0123456789&&&& ", "0123,-",
                                            "01& ", "0123456789abcdefx "};
    ByteSource source(pData, nSize);
    std::vector<int> vec;
    int nLast = source.Below(100) - 20;
    for (std::size_t n = source.Byte() % 3 == 0 ? source.Byte() : source.Byte() % 12; n > 0; --n) {
        const int nKind = source.Below(8);
        if (nKind == 7)
            nLast = static_cast<int>(source.Byte() << 24 | source.Byte());
        else if (nKind == 6)
            nLast = INT_MAX - source.Below(2);
        else
            nLast = nLast < INT_MAX && nKind > 2 ? nLast + 1 : source.Below(40);
        vec.push_back(nLast);
    }
    CheckListWriters(vec);
    CheckSort(vec, source.Below(4));
    const int nStart = source.Below(20) - 2;
    const std::string strSeparators = source.TextOf(" ,&x", 3);
    const std::string strText = source.TextOf(ALPHABETS[source.Below(5)], 60);
    CheckListReaders(strText);
    CheckWords(strText, strSeparators, nStart);
}

}  // namespace naive

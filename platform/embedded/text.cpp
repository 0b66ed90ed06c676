#include "zemb/text.h"

#include "base/read_number.h"
#include "base/trim.h"

#include <cstddef>
#include <limits>
#include <string_view>

// Trimming, tokens, numbers and number lists as the platform's contract has them, stricter than the
// library's own readers. A list names at most NUM_LIST_MAX numbers, so that a few characters cannot
// ask for all memory.

namespace {

// As strtol reads a number that is the whole text, blanks around it aside, but without "0x"; what
// no long holds becomes the nearest one.
bool ReadWhole(std::string_view strText, long& nValue, int nBase) {
    strText = base::TrimSpaces(strText);
    if (nBase < 2 || nBase > 36 ||
        (nBase == 16 && strText.find_first_of("xX") != std::string_view::npos))
        return false;
    const base::LongRead read = base::ReadLong(strText, static_cast<unsigned>(nBase));
    nValue = read.nValue;
    return read.nEnd != 0 && read.nEnd == strText.size();
}

// The low 32 bits of the number; nValue is written whenever there is one.
bool ReadCut(std::string_view strText, int& nValue) {
    long nRead = 0;
    if (!ReadWhole(strText, nRead, 10))
        return false;
    nValue = static_cast<int>(nRead);
    return true;
}

bool ReadSpan(std::string_view strText, int& nFirst, int& nLast) {
    const std::size_t nDash = strText.find('-');
    if (nDash == std::string_view::npos) {
        const bool bRead = ReadCut(strText, nFirst);
        nLast = nFirst;
        return bRead && nFirst >= 0;
    }
    return ReadCut(strText.substr(0, nDash), nFirst) && ReadCut(strText.substr(nDash + 1), nLast) &&
           nFirst >= 0 && nFirst <= nLast;
}

}  // namespace

namespace NSTE_util {

std::string Trim(const std::string& strText) {
    return std::string(base::Trim(strText));
}

std::vector<std::string> Token(const std::string& strText, char cSeparator) {
    std::vector<std::string> vecPiece;
    std::size_t nStart = 0;
    for (std::size_t nEnd; (nEnd = strText.find(cSeparator, nStart)) != std::string::npos;
         nStart = nEnd + 1)
        vecPiece.push_back(strText.substr(nStart, nEnd - nStart));
    vecPiece.push_back(strText.substr(nStart));
    return vecPiece;
}

bool StrToInt(const std::string& strText, int& nValue, int nBase) {
    long nRead = 0;
    if (!ReadWhole(strText, nRead, nBase) || nRead < std::numeric_limits<int>::min() ||
        nRead > std::numeric_limits<int>::max())
        return false;
    nValue = static_cast<int>(nRead);
    return true;
}

bool StrToNumList(const std::string& strText, std::vector<int>& vecNumber) {
    vecNumber.clear();
    const std::string_view strAll = strText;
    for (std::size_t nStart = 0; nStart <= strAll.size();) {
        std::size_t nEnd = strAll.find(',', nStart);
        if (nEnd == std::string_view::npos)
            nEnd = strAll.size();
        const std::string_view strPiece = base::TrimSpaces(strAll.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
        if (strPiece.empty())
            continue;
        int nFirst = 0;
        int nLast = 0;
        if (!ReadSpan(strPiece, nFirst, nLast))
            return false;
        const std::size_t nCount = static_cast<std::size_t>(nLast - nFirst) + 1;
        if (nCount > NUM_LIST_MAX - vecNumber.size())
            return false;
        const std::size_t nBefore = vecNumber.size();
        vecNumber.resize(nBefore + nCount);
        for (std::size_t i = 0; i < nCount; ++i)
            vecNumber[nBefore + i] = nFirst + static_cast<int>(i);
    }
    return true;
}

}  // namespace NSTE_util

namespace dao {

std::string likeEscape(const std::string& strText) {
    std::string strOut;
    strOut.reserve(strText.size());
    std::size_t nStart = 0;
    for (std::size_t i; (i = strText.find_first_of("%_\\", nStart)) != std::string::npos;
         nStart = i + 1)
        strOut.append(strText, nStart, i - nStart).append({'\\', strText[i]});
    return strOut.append(strText, nStart);
}

}  // namespace dao

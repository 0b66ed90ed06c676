#include "zemb/text.h"

#include "embedded/item_line.h"

#include <charconv>
#include <cstddef>
#include <limits>
#include <string_view>

// Trimming, tokens, numbers and number lists as the platform's contract has them, stricter than the
// library's own readers. A list names at most NUM_LIST_MAX numbers, so that a few characters cannot
// ask for all memory.

namespace {

using zemb::TrimOf;

// As strtol reads a whole number: blanks before it, one sign, digits to the end; what no long holds
// becomes the nearest one.
bool ReadLong(std::string_view strText, long& nValue, int nBase) {
    strText = TrimOf(strText, " ");
    const std::size_t nFirst = strText.find_first_not_of(" \t\n\v\f\r");
    if (nFirst == std::string_view::npos || nBase < 2 || nBase > 36)
        return false;
    strText.remove_prefix(nFirst);
    if (strText.front() == '+') {
        strText.remove_prefix(1);
        if (strText.empty() || strText.front() == '-')
            return false;
    }
    const bool bMinus = strText.front() == '-';
    const char* const pEnd = strText.data() + strText.size();
    const auto [pStop, err] = std::from_chars(strText.data(), pEnd, nValue, nBase);
    if (err == std::errc::result_out_of_range)
        nValue = bMinus ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
    return err != std::errc::invalid_argument && pStop == pEnd;
}

// The low 32 bits of the number; nValue is written whenever there is one.
bool ReadCut(std::string_view strText, int& nValue) {
    long nRead = 0;
    if (!ReadLong(strText, nRead, 10))
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
    return std::string(TrimOf(strText));
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
    if (!ReadLong(strText, nRead, nBase) || nRead < std::numeric_limits<int>::min() ||
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
        const std::string_view strPiece = TrimOf(strAll.substr(nStart, nEnd - nStart), " ");
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

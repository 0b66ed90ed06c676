#include "text/number_list.h"

#include "base/gatherer.h"
#include "base/read_number.h"
#include "base/trim.h"
#include "tovelkarin/stringutil.h"
#include "trace/guarded_call.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

// Lists of numbers in their notations: one writer that takes the notation as data, and a reader
// each for spans (1-3,7) and ampersands (1&&3&7). A reader takes the digits of an item and looks
// whether it ends there, which it nearly always does; blanks, signs and long spans go the slow way
// around. Cost: the characters of the text and the numbers that it names, about half of what strtol
// takes. A span is filled at once, and NUM_SPAN_MAX bounds what a few characters can ask for.
namespace NSTN_util {

namespace {

constexpr int SHORT_SPAN = 32;  // steps of a span that is filled number by number

bool IsNext(int nBefore, int nValue) {
    return nBefore != INT_MAX && nValue == nBefore + 1;
}

// Whether so many more numbers may be made of a span.
bool HasRoom(const std::vector<int>& vec, std::size_t nCount) {
    return vec.size() <= NUM_SPAN_MAX && nCount <= NUM_SPAN_MAX - vec.size();
}

void AppendSpan(std::vector<int>& vec, int nFirst, std::size_t nCount, int nStep) {
    const std::size_t nBefore = vec.size();
    vec.resize(nBefore + nCount);
    int* p = vec.data() + nBefore;
    for (std::size_t i = 0; i < nCount; ++i)
        p[i] = static_cast<int>(nFirst + nStep * static_cast<long>(i));
}

// ReadShortDigits into an int.
const char* FastDigits(const char* p, const char* pEnd, int& nValue) {
    std::uint32_t nRead = 0;
    const char* const pStop = base::ReadShortDigits(p, pEnd, nRead);
    nValue = static_cast<int>(nRead);
    return pStop;
}

bool AppendItem(std::string_view strItem, std::vector<int>& vec) {
    strItem = base::TrimSpaces(strItem);
    if (strItem.empty())
        return true;
    int nFirst = 0;
    int nLast = 0;
    if (!ReadListSpan(strItem, nFirst, nLast))
        return false;
    const std::size_t nCount = static_cast<std::size_t>(nLast - nFirst) + 1;
    if (nCount == 1) {
        vec.push_back(nFirst);
        return true;
    }
    if (!HasRoom(vec, nCount))
        return false;
    AppendSpan(vec, nFirst, nCount, 1);
    return true;
}

// Whether the end of a short span that began with nFirst, and of its item, stands at p.
bool IsShortSpan(const char* p, const char* pEnd, int nFirst, int& nLast, const char*& pStop) {
    const char* const pDigits = FastDigits(p, pEnd, nLast);
    if (pDigits == p || (pDigits != pEnd && *pDigits != ',') || nFirst > nLast ||
        nLast - nFirst > SHORT_SPAN)
        return false;
    pStop = pDigits;
    return true;
}

bool ReadSpans(const char* p, const char* pEnd, std::vector<int>& vec) {
    while (p != pEnd) {
        int nValue = 0;
        const char* pStop = FastDigits(p, pEnd, nValue);
        if (pStop != p && (pStop == pEnd || *pStop == ',')) {
            vec.push_back(nValue);
        } else if (int nLast = 0; pStop != p && *pStop == '-' &&
                                  IsShortSpan(pStop + 1, pEnd, nValue, nLast, pStop) &&
                                  HasRoom(vec, static_cast<std::size_t>(nLast - nValue) + 1)) {
            for (; nValue <= nLast; ++nValue)
                vec.push_back(nValue);
        } else {
            const void* const pComma = std::memchr(p, ',', static_cast<std::size_t>(pEnd - p));
            pStop = pComma == nullptr ? pEnd : static_cast<const char*>(pComma);
            if (!AppendItem({p, static_cast<std::size_t>(pStop - p)}, vec))
                return false;
        }
        p = pStop == pEnd ? pEnd : pStop + 1;
    }
    return true;
}

// The numbers strictly between the last one of vec and nTo.
bool AppendBetween(std::vector<int>& vec, int nTo) {
    const long nFrom = vec.back();
    const long nDistance = std::labs(nTo - nFrom);
    if (nDistance < 2)
        return true;
    const auto nCount = static_cast<std::size_t>(nDistance - 1);
    if (!HasRoom(vec, nCount))
        return false;
    const int nStep = nFrom < nTo ? 1 : -1;
    AppendSpan(vec, static_cast<int>(nFrom + nStep), nCount, nStep);
    return true;
}

bool ReadDigitItem(std::string_view strItem, int& nValue) {
    strItem = base::TrimSpaces(strItem);
    const base::DigitRun run = base::ReadDigits(strItem, 10);
    if (run.nLength == 0 || run.nLength != strItem.size())
        return false;
    nValue = static_cast<int>(base::ReadLong(strItem, 10).nValue);
    return true;
}

bool ReadAmpersands(const char* p, const char* pEnd, std::vector<int>& vec) {
    bool bRange = false;
    while (p != pEnd) {
        if (*p == '&') {  // an empty piece
            bRange = true;
            ++p;
            continue;
        }
        int nValue = 0;
        const char* pStop = FastDigits(p, pEnd, nValue);
        if (pStop == p || (pStop != pEnd && *pStop != '&')) {
            const void* const pMark = std::memchr(p, '&', static_cast<std::size_t>(pEnd - p));
            pStop = pMark == nullptr ? pEnd : static_cast<const char*>(pMark);
            if (!ReadDigitItem({p, static_cast<std::size_t>(pStop - p)}, nValue))
                return false;
        }
        if (bRange && !AppendBetween(vec, nValue))
            return false;
        bRange = false;
        vec.push_back(nValue);
        p = pStop == pEnd ? pEnd : pStop + 1;
    }
    return !vec.empty();
}

// Runs a reader with room for the numbers that stand in the text itself; lack of memory fails.
template <class Reader>
bool ReadList(std::string_view strText, char cItem, std::vector<int>& vec, Reader reader) {
    vec.clear();
    bool bRead = false;
    GuardedCall([&] {
        vec.reserve(static_cast<std::size_t>(std::count(strText.begin(), strText.end(), cItem)) +
                    1);
        bRead = reader(strText.data(), strText.data() + strText.size(), vec);
    });
    return bRead;
}

}  // namespace

void WriteNumberList(const std::vector<int>& vec, const ListNotation& notation,
                     std::string& strOut) {
    strOut.clear();
    base::Gatherer<1024> out(strOut);
    for (std::size_t i = 0; i < vec.size();) {
        std::size_t nEnd = i + 1;
        if (notation.nShortestRun != 0)
            while (nEnd < vec.size() && IsNext(vec[nEnd - 1], vec[nEnd]))
                ++nEnd;
        const bool bRun = notation.nShortestRun != 0 && nEnd - i >= notation.nShortestRun;
        if (i != 0)
            out.Char(notation.cItem);
        out.Number(vec[i]);
        if (bRun) {
            out.Text(notation.szRun);
            out.Number(vec[nEnd - 1]);
        } else if (nEnd - i == 2) {
            out.Char(notation.cItem);
            out.Number(vec[nEnd - 1]);
        }
        i = nEnd;
    }
    out.Flush();
}

bool ReadSpanList(std::string_view strText, std::vector<int>& vec) {
    return ReadList(strText, ',', vec, ReadSpans);
}

bool ReadAmpersandList(std::string_view strText, std::vector<int>& vec) {
    vec.clear();
    if (strText.empty() || strText.front() == '&' || strText.back() == '&')
        return false;
    return ReadList(strText, '&', vec, ReadAmpersands);
}

bool ReadListNumber(std::string_view strText, int& nOut, int nBase) {
    strText = base::TrimSpaces(strText);
    if (strText.empty())
        return false;
    if (nBase >= 2 && nBase <= 36) {
        const base::LongRead read = base::ReadLong(strText, static_cast<unsigned>(nBase));
        nOut = static_cast<int>(read.nValue);
        return read.nEnd == strText.size();
    }
    const std::string strCopy(strText);  // base 0, or none: the C library says what it makes of it
    char* szEnd = nullptr;
    nOut = static_cast<int>(std::strtol(strCopy.c_str(), &szEnd, nBase));
    return szEnd == strCopy.c_str() + strCopy.size();
}

bool ReadListSpan(std::string_view strText, int& nFirst, int& nLast) {
    const std::size_t nDash = strText.find('-');
    if (nDash == std::string_view::npos) {
        const bool bRead = ReadListNumber(strText, nFirst, 10);
        nLast = nFirst;
        return bRead && nFirst >= 0;
    }
    const bool bFirst = ReadListNumber(strText.substr(0, nDash), nFirst, 10);
    const bool bLast = ReadListNumber(strText.substr(nDash + 1), nLast, 10);
    return bFirst && bLast && nFirst >= 0 && nFirst <= nLast;
}

}  // namespace NSTN_util

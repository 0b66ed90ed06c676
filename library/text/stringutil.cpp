#include "tovelkarin/stringutil.h"

#include "base/number_text.h"
#include "base/plain_ip.h"
#include "base/read_number.h"
#include "base/trim.h"
#include "base/view_of.h"
#include "text/number_list.h"
#include "text/related_sort.h"
#include "trace/guarded_call.h"

#include "zemb/settings.h"

#include <ctype.h>

#include <climits>
#include <cstdint>
#include <iostream>
#include <string_view>

// NE identifiers, conversions, list notations and letter case. Identifiers and numbers are read as
// a stream would read them, oddities included, but without a stream: the plain form is tried first,
// and anything else goes through ReadFromStream, which keeps the stream's rules in one place. Views
// are used inside, and a text is copied once, on the way out.
namespace NSTN_util {

namespace {

constexpr unsigned HALF_BITS = 16;
constexpr unsigned long HALF_MASK = 0xFFFF;
constexpr int LANG_TYPE_WITH_BLANK = 1;
constexpr int LANG_TYPE_UNKNOWN = -1;

// What a stream read leaves behind.
struct StreamRead {
    bool bRead = false;
    bool bStored = false;  // the variable is written, also by a read that failed
    unsigned long nValue = 0;
};

// As a stream reads an unsigned number of at most nMost: blanks, a sign, which a minus turns
// around, digits; in base 16 "0x" before them.
StreamRead ReadFromStream(std::string_view strText, unsigned nBase, unsigned long nMost) {
    StreamRead read;
    std::size_t nAt = base::SkipBlanks(strText);
    if (nAt == strText.size())
        return read;  // nothing but blanks ends the stream before the number is looked for
    read.bStored = true;
    const bool bMinus = strText[nAt] == '-';
    if (bMinus || strText[nAt] == '+')
        ++nAt;
    if (nBase == 16 && base::BeginsHex(strText.substr(nAt)))
        nAt += 2;
    const base::DigitRun run = base::ReadDigits(strText.substr(nAt), nBase);
    if (run.bTooLarge || run.nValue > nMost) {
        read.nValue = nMost;
        return read;
    }
    read.bRead = run.nLength != 0;
    read.nValue = bMinus ? (0 - run.nValue) & nMost : run.nValue;
    return read;
}

// An identifier as TENEID2Str writes it: digits, "-", digits, and nothing else. Fast path for
// nearly all that is read: 6 ns (row neid_read of figures.md).
bool ReadPlainNeId(const char* szText, unsigned long& id) {
    if (szText == nullptr)
        return false;
    std::uint32_t nLeft = 0;
    std::uint32_t nRight = 0;
    const char* const pDash = base::ReadShortDigits(szText, nullptr, nLeft);
    if (pDash == szText || *pDash != '-')
        return false;
    const char* const pEnd = base::ReadShortDigits(pDash + 1, nullptr, nRight);
    if (pEnd == pDash + 1 || *pEnd != '\0')
        return false;
    id = (nLeft << HALF_BITS) | (nRight & HALF_MASK);
    return true;
}

int AskLangType(bool& bThrew) noexcept {
    try {
        return ZembGetLangType();
    } catch (...) {
        bThrew = true;
        return LANG_TYPE_UNKNOWN;
    }
}

// The type of the process language, asked for once, whatever the answer.
int LangType() noexcept {
    bool bThrew = false;
    static const int s_nLangType = AskLangType(bThrew);
    // Only now: who takes the line may convert numbers too, and others wait for the guard.
    if (bThrew)
        ReportException();
    return s_nLangType;
}

// Whether a blank stands before numbers in the language of the process.
bool HasBlank(bool bPlain) {
    // Deliberate: texts of this type put the blank between a word and a number.
    return !bPlain && LangType() == LANG_TYPE_WITH_BLANK;
}

// Every number fits, with its blank: no text is ever cut, and nothing can fail that would have to
// be reported.
template <class Integer>
std::string ConvertedText(Integer nValue, bool bPlain) {
    char szText[base::INTEGER_ROOM];
    char* const pEnd = szText + sizeof szText;
    char* p = base::WriteIntegerBefore(pEnd, nValue);
    if (HasBlank(bPlain))
        *--p = ' ';
    return base::TextOf(p, pEnd);
}

bool AllDigits(std::string_view strText) {
    for (const char c : strText)
        if (!base::IsDigit(c))
            return false;
    return true;
}

// The word of strLine from nStart on; returns where the next one begins, npos behind the last.
std::size_t WordAt(std::string_view strLine, std::size_t nStart, std::string_view strSeparators,
                   std::string_view& strWord) {
    const std::size_t nEnd = strSeparators.size() == 1
                                 ? strLine.find(strSeparators.front(), nStart)
                                 : strLine.find_first_of(strSeparators, nStart);
    strWord = strLine.substr(nStart, nEnd - nStart);
    return nEnd == std::string_view::npos ? nEnd : nEnd + 1;
}

// The table that toupper or tolower of the present locale looks into, asked for once a text: 1,000
// characters take 0.33 microseconds; a call of toupper for each, which looks for the table every
// time, 1.37.
void ThroughTable(std::string& strText, const std::int32_t* pTable) {
    for (char& c : strText)
        c = static_cast<char>(pTable[static_cast<unsigned char>(c)]);
}

}  // namespace

bool TEStr2NEID(const char* szText, unsigned long& id) {
    if (ReadPlainNeId(szText, id))
        return true;
    const std::string_view strText = base::ViewOf(szText);
    if (strText.empty())
        return false;
    const std::size_t nDash = strText.find('-');
    if (nDash != std::string_view::npos) {
        const StreamRead left = ReadFromStream(strText.substr(0, nDash), 10, UINT32_MAX);
        const StreamRead right = ReadFromStream(strText.substr(nDash + 1), 10, UINT32_MAX);
        if (!left.bRead || !right.bRead)
            return false;
        id = static_cast<std::uint32_t>(left.nValue << HALF_BITS) | (right.nValue & HALF_MASK);
        return true;
    }
    const bool bHex = strText.size() > 2 && strText.substr(0, 2) == "0x";
    const StreamRead read = ReadFromStream(strText, bHex ? 16 : 10, ULONG_MAX);
    if (read.bStored)
        id = read.nValue;
    return read.bRead;
}

std::string TENEID2Str(unsigned long id) {
    char szText[2 * base::INTEGER_ROOM];
    char* const pEnd = szText + sizeof szText;
    char* p = base::WriteDigitsBefore(pEnd, static_cast<std::uint32_t>(id & HALF_MASK));
    *--p = '-';
    return base::TextOf(base::WriteIntegerBefore(p, static_cast<int>(id >> HALF_BITS)), pEnd);
}

bool TEVecStr2NEID(std::vector<CStdString>& vecText, std::vector<unsigned long>& vecId) {
    vecId.clear();
    vecId.reserve(vecText.size());
    for (const CStdString& strText : vecText) {
        unsigned long id = 0;
        if (TEStr2NEID(strText.c_str(), id))
            vecId.push_back(id);
    }
    if (vecId.size() == vecText.size())
        return true;
    vecId.clear();
    return false;
}

std::string ConvertULONGToStr(unsigned long nValue, bool bPlain) {
    return ConvertedText(nValue, bPlain);
}

std::string ConvertLONGToStr(long nValue, bool bPlain) {
    return ConvertedText(nValue, bPlain);
}

std::string ConvertHEXToStr(unsigned long nValue, bool bPlain) {
    return base::HexText(HasBlank(bPlain) ? " " : "", nValue, base::HEX_LOWER);
}

std::string IntToStr(long nValue, bool bHex) {
    if (!bHex)
        return base::IntegerText(static_cast<int>(nValue));
    return base::HexText("0x", static_cast<unsigned long>(nValue), base::HEX_UPPER);
}

std::string Num2Str(int nValue) {
    return base::IntegerText(nValue);
}

bool StrToInt(const CStdString& strText, int& nOut, int nBase) {
    return ReadListNumber(strText, nOut, nBase);
}

bool GetSpan(const CStdString& strText, int& nFirst, int& nLast) {
    return ReadListSpan(strText, nFirst, nLast);
}

bool TEStrTrim(std::string& strText, bool bDigitsOnly) {
    const std::string_view strTrimmed = base::TrimSpaces(strText);
    if (strTrimmed.size() != strText.size()) {
        const auto nFirst = static_cast<std::size_t>(strTrimmed.data() - strText.data());
        strText.erase(nFirst + strTrimmed.size());
        strText.erase(0, nFirst);
    }
    return !strText.empty() && (!bDigitsOnly || AllDigits(strText));
}

bool TEStr2Ip(const char* szText, unsigned long& ip) {
    constexpr std::size_t OCTETS = 4;
    ip = 0;
    std::string_view strRest = base::ViewOf(szText);
    if (std::uint32_t nPlain = 0; base::ReadPlainIp(strRest, nPlain)) {
        ip = nPlain;
        return true;
    }
    std::size_t nTaken = 0;
    while (!strRest.empty()) {
        const std::size_t nDot = strRest.find('.');
        const std::string_view strPiece = base::TrimSpaces(strRest.substr(0, nDot));
        strRest.remove_prefix(nDot == std::string_view::npos ? strRest.size() : nDot + 1);
        const base::DigitRun run = base::ReadDigits(strPiece, 10);
        if (run.nLength == 0 || run.nLength != strPiece.size() || run.nValue > 255 ||
            nTaken > OCTETS)
            return false;
        ip = (ip << 8) + run.nValue;  // Deliberate: a fifth octet is taken before it is refused.
        ++nTaken;
    }
    return nTaken == OCTETS;
}

bool TEStrSubStr2DateTime(unsigned& nIndex, std::tm& parts, std::string& strField) {
    // clang-format off
    static constexpr struct {
        int std::tm::*pField;
        unsigned long nLeast;
        unsigned long nMost;
        int nMinus;
    } FIELDS[] = {
        {&std::tm::tm_year, 1900, 3000, 1900},
        {&std::tm::tm_mon,     1,   12,    1},
        {&std::tm::tm_mday,    1,   31,    0},
        {&std::tm::tm_hour,    0,   23,    0},
        {&std::tm::tm_min,     0,   59,    0},
        {&std::tm::tm_sec,     0,   59,    0},
    };
    // clang-format on
    if (nIndex >= sizeof FIELDS / sizeof FIELDS[0])
        return false;
    const auto& field = FIELDS[nIndex];
    const long nValue = base::ReadLong(strField, 10).nValue;
    const auto nSize = static_cast<unsigned long>(nValue);
    const bool bAccepted = nSize >= field.nLeast && nSize <= field.nMost;
    parts.*field.pField = static_cast<int>(nValue) - (bAccepted ? field.nMinus : 0);
    return bAccepted;
}

bool Str16ToStrChar(const CStdString& strIn, CStdString& strOut) {
    std::string strRead;
    std::string_view strWord;
    for (std::size_t nAt = 0; nAt != std::string_view::npos;) {
        nAt = WordAt(strIn, nAt, " ", strWord);
        const auto nByte = static_cast<unsigned char>(base::ReadLong(strWord, 16).nValue);
        if (nByte != 0)
            strRead += static_cast<char>(nByte);
    }
    strOut = std::move(strRead);
    return true;
}

int GetWordFromLine(const CStdString& strLine, int nStart, const CStdString& strSeparators,
                    CStdString& strWord) {
    std::string_view strFound;
    std::size_t nNext = std::string_view::npos;
    if (nStart >= 0 && static_cast<std::size_t>(nStart) <= strLine.size())
        nNext = WordAt(strLine, static_cast<std::size_t>(nStart), strSeparators, strFound);
    strWord = std::string(strFound);
    return static_cast<int>(nNext);
}

bool StrToNumList(const CStdString& strText, std::vector<int>& vec) {
    return ReadSpanList(strText, vec);
}

bool NumListToStr(const std::vector<int>& vec, CStdString& strOut) {
    WriteNumberList(vec, PLAIN_LIST, strOut);
    return true;
}

void NumListToStr2(const std::vector<int>& vec, CStdString& strOut) {
    WriteNumberList(vec, SPAN_LIST, strOut);
}

void TEVec2Str(const std::vector<int>& vec, std::string& strOut) {
    WriteNumberList(vec, AMPERSAND_LIST, strOut);
}

void TEVec2Str(const std::vector<int>& vec, CStdString& strOut) {
    WriteNumberList(vec, AMPERSAND_LIST, strOut);
}

bool TEStr2Vec(const char* szText, std::vector<int>& vec) {
    return ReadAmpersandList(base::ViewOf(szText), vec);
}

bool TEStr2Vec(const CStdString& strText, std::vector<int>& vec) {
    return TEStr2Vec(strText.c_str(), vec);
}

void TEStr2StrVec(const char* szText, std::vector<std::string>& vecPart) {
    if (szText == nullptr)
        return;
    const std::string_view strText = szText;
    // Room for all parts at once. It at least doubles, so that many lists can be gathered in one
    // vector.
    const auto nParts =
        static_cast<std::size_t>(std::count(strText.begin(), strText.end(), ',')) + 1;
    if (vecPart.capacity() - vecPart.size() < nParts)
        vecPart.reserve(std::max(vecPart.size() + nParts, 2 * vecPart.capacity()));
    std::string_view strPart;
    for (std::size_t nAt = 0; nAt != std::string_view::npos;) {
        nAt = WordAt(strText, nAt, ",", strPart);
        vecPart.emplace_back(strPart);
    }
}

void TERela2WaySort(std::vector<int>& vecA, std::vector<int>& vecB, int nKey) {
    if (vecA.size() != vecB.size())
        return;
    if (nKey == 2)
        SortTogether(vecB, {&vecA});
    else
        SortTogether(vecA, {&vecB});
}

void TERela3WaySort(std::vector<int>& vecA, std::vector<int>& vecB, std::vector<int>& vecC,
                    int nKey) {
    if (vecA.size() != vecB.size() || vecA.size() != vecC.size())
        return;
    if (nKey == 3)
        SortTogether(vecC, {&vecA, &vecB});
    else if (nKey == 2)
        SortTogether(vecB, {&vecA, &vecC});
    else
        SortTogether(vecA, {&vecB, &vecC});
}

std::string RTrim(const std::string& strText) {
    return std::string(base::TrimRight(strText));
}

std::string LTrim(const std::string& strText) {
    return std::string(base::TrimLeft(strText));
}

std::string Trim(const std::string& strText) {
    return std::string(base::Trim(strText));
}

std::string StrToUpper(std::string strText) {
    ThroughTable(strText, *__ctype_toupper_loc());
    return strText;
}

std::string StrToLower(std::string strText) {
    ThroughTable(strText, *__ctype_tolower_loc());
    return strText;
}

const char* GetCStrFromAsnOcts(const AsnOcts& octets) {
    return octets.empty() ? "" : octets.data();
}

const char* GetCStrFromAsnOcts(const AsnOcts* pOctets) {
    return pOctets == nullptr ? "" : GetCStrFromAsnOcts(*pOctets);
}

}  // namespace NSTN_util

#include "zemb/fdn.h"

#include "base/number_text.h"
#include "base/read_number.h"
#include "base/trim.h"
#include "base/view_of.h"

#include <algorithm>
#include <cstring>
#include <utility>

// FDNs, taken apart and put together: strict "key=value," pairs. The parser keeps one copy of the
// text and views of keys and values in it, in their order; a key is looked for in the pairs, which
// are few. Numbers are read only when they are asked for.
namespace FrameUtil {

namespace {

constexpr std::size_t USUAL_PAIRS = 8;

// What may stand around a key.
bool IsPadding(char c) {
    return c == ' ' || c == '\t';
}

// The decimal number that a text begins with, one below 0 as in two's complement; false without
// one.
bool ReadLeading(std::string_view strText, unsigned long& nValue) {
    const bool bMinus = !strText.empty() && strText.front() == '-';
    if (bMinus)
        strText.remove_prefix(1);
    const base::DigitRun run = base::ReadDigits(strText, 10);
    if (run.nLength == 0)
        return false;
    constexpr unsigned long LEAST = 1UL << 63;  // LONG_MIN without its sign
    nValue = bMinus ? 0 - std::min(run.nValue, LEAST) : run.nValue;
    return true;
}

}  // namespace

StrUIDParser::StrUIDParser() : m_nCur(0) {}
StrUIDParser::~StrUIDParser() = default;

bool StrUIDParser::Parse(const char* szText) {
    m_vecPair.clear();
    m_nCur = 0;
    m_strText = base::ViewOf(szText);
    const std::string_view strAll = m_strText;
    m_vecPair.reserve(USUAL_PAIRS);
    // Keys and values are short: character by character is faster than a search for each end.
    for (std::size_t nStart = 0; nStart < strAll.size();) {
        std::size_t nEqual = nStart;
        while (nEqual < strAll.size() && strAll[nEqual] != '=' && strAll[nEqual] != ',')
            ++nEqual;
        const std::string_view strKey =
            base::TrimIf(strAll.substr(nStart, nEqual - nStart), IsPadding);
        if (nEqual == strAll.size() || strAll[nEqual] == ',' || strKey.empty()) {
            m_vecPair.clear();
            return false;
        }
        std::size_t nEnd = nEqual + 1;
        while (nEnd < strAll.size() && strAll[nEnd] != ',')
            ++nEnd;
        m_vecPair.push_back({strKey, strAll.substr(nEqual + 1, nEnd - nEqual - 1)});
        nStart = nEnd + 1;
    }
    return !m_vecPair.empty();
}

void StrUIDParser::SetCurToFirst() {
    m_nCur = 0;
}

const StrUIDParser::Pair* StrUIDParser::Find(const char* szKey, unsigned long nIndex) const {
    const std::string_view strKey = base::ViewOf(szKey);
    for (const Pair& pair : m_vecPair)
        if (pair.strKey == strKey && nIndex-- == 0)
            return &pair;
    return nullptr;
}

bool StrUIDParser::GetValue(unsigned long& nValue, const char* szKey, unsigned long nIndex) const {
    const Pair* const pPair = Find(szKey, nIndex);
    return pPair != nullptr && ReadLeading(pPair->strValue, nValue);
}

bool StrUIDParser::GetValue(std::string& strValue, const char* szKey, unsigned long nIndex) const {
    const Pair* const pPair = Find(szKey, nIndex);
    if (pPair == nullptr)
        return false;
    strValue = pPair->strValue;
    return true;
}

std::size_t StrUIDParser::Size() const {
    return m_vecPair.size();
}

std::string_view StrUIDParser::Key(std::size_t nPair) const {
    return m_vecPair[nPair].strKey;
}

std::string_view StrUIDParser::Value(std::size_t nPair) const {
    return m_vecPair[nPair].strValue;
}

StrSpliter::StrSpliter(char cSeparator) : m_cSeparator(cSeparator), m_nNext(1) {}
StrSpliter::~StrSpliter() = default;

bool StrSpliter::Parse(const char* szText) {
    m_strText = base::ViewOf(szText);
    m_nNext = m_strText.empty() ? 1 : 0;
    return !m_strText.empty();
}

StrSpliter& StrSpliter::operator>>(unsigned long& nValue) {
    nValue = 0;
    if (m_nNext > m_strText.size())
        return *this;
    const std::size_t nEnd = std::min(m_strText.find(m_cSeparator, m_nNext), m_strText.size());
    ReadLeading(std::string_view(m_strText).substr(m_nNext, nEnd - m_nNext), nValue);
    m_nNext = nEnd + 1;
    return *this;
}

StrUIDFactory::StrUIDFactory() = default;
StrUIDFactory::~StrUIDFactory() = default;

void StrUIDFactory::Append(const char* szKey, long nValue) {
    char szNumber[base::INTEGER_ROOM];
    const char* const pEnd = base::WriteInteger(szNumber, nValue);
    const std::string_view strKey = base::ViewOf(szKey);
    const auto nDigits = static_cast<std::size_t>(pEnd - szNumber);
    const std::size_t nAt = m_strText.size();
    m_strText.append(strKey.size() + 1 + nDigits + 1, ',');  // the last one stays
    strKey.copy(&m_strText[nAt], strKey.size());
    m_strText[nAt + strKey.size()] = '=';
    std::memcpy(&m_strText[nAt + strKey.size() + 1], szNumber, nDigits);
}

std::string StrUIDFactory::GetStr() const& {
    return m_strText;
}

std::string StrUIDFactory::GetStr() && {
    return std::move(m_strText);
}

}  // namespace FrameUtil

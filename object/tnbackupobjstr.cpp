#include "tovelkarin/tnbackupobjstr.h"

#include "trace/number_text.h"
#include "trace/trace_line.h"
#include "util/number_list.h"
#include "util/read_number.h"
#include "util/text_search.h"

#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string_view>

namespace NSTN_util {

namespace {

constexpr std::size_t NPOS = std::string_view::npos;
constexpr std::string_view ATTRIBUTES_BEGIN = "<attribute>";
constexpr std::string_view ATTRIBUTES_END = "</attribute>";
constexpr std::string_view OBJECTS_BEGIN = "<object>";
constexpr std::string_view OBJECTS_END = "</object>";

using Pieces = std::initializer_list<std::string_view>;

std::string Joined(Pieces pieces) {
    std::string strText;
    for (const std::string_view strPiece : pieces)
        strText += strPiece;
    return strText;
}

// Inserts the pieces one after another, moving what is behind them once.
template <class Range>
void InsertPieces(std::string& strText, std::size_t nAt, const Range& pieces) {
    std::size_t nSize = 0;
    for (const std::string_view strPiece : pieces)
        nSize += strPiece.size();
    strText.insert(nAt, nSize, ' ');
    for (const std::string_view strPiece : pieces)
        nAt += strPiece.copy(&strText[nAt], strPiece.size());
}

bool AttributeMissing() {
    Report("not finding attribute ");
    return false;
}

bool InsertItem(std::string& strObj, std::string_view strName, std::string_view strValue,
                std::string_view strQuote) {
    const std::size_t nAt = FindText(strObj, ATTRIBUTES_END, 0);
    if (nAt == NPOS)
        return AttributeMissing();
    InsertPieces(strObj, nAt, Pieces{strName, "=", strQuote, strValue, strQuote, ","});
    return true;
}

// A writer's steps around the value's text.
bool AddItem(std::string& strObj, const char* szName, std::string_view strValue, bool bQuoted) {
    const std::string_view strName = ViewOf(szName);
    return !strName.empty() && InsertItem(strObj, strName, strValue, bQuoted ? "\"" : "");
}

bool AddNumber(std::string& strObj, const char* szName, int nValue, bool bQuoted) {
    char szText[INTEGER_ROOM];
    const char* const pEnd = WriteInteger(szText, nValue);
    return AddItem(strObj, szName, {szText, static_cast<std::size_t>(pEnd - szText)}, bQuoted);
}

// The attributes of the object itself, where they lie. One walk over the "<": most texts hold few.
std::string_view AttributesOf(std::string_view strObj) {
    std::size_t nBegin = NPOS;
    for (std::size_t nAt = strObj.find('<'); nAt != NPOS; nAt = strObj.find('<', nAt + 1)) {
        const std::string_view strTag = strObj.substr(nAt, ATTRIBUTES_END.size());
        if (strTag == ATTRIBUTES_END)
            return nBegin == NPOS ? std::string_view() : strObj.substr(nBegin, nAt - nBegin);
        if (strTag.substr(0, OBJECTS_BEGIN.size()) == OBJECTS_BEGIN)
            return {};
        if (nBegin == NPOS && strTag.substr(0, ATTRIBUTES_BEGIN.size()) == ATTRIBUTES_BEGIN)
            nBegin = nAt + ATTRIBUTES_BEGIN.size();
    }
    return {};
}

std::size_t FindItem(std::string_view strAttributes, std::string_view strName, bool bQuoted) {
    const std::string strKey = Joined({strName, "="});
    std::size_t nAt = FindText(strAttributes, strKey, 0);
    // Deliberate: the first item of the list is taken whether its value is quoted or not.
    while (nAt != 0 && nAt != NPOS) {
        const std::size_t nBehind = nAt + strKey.size();
        if (strAttributes[nAt - 1] == ',' && (!bQuoted || strAttributes.substr(nBehind, 1) == "\""))
            break;
        nAt = FindText(strAttributes, strKey, nBehind);
    }
    return nAt;
}

// Whether the number of backslashes right before nQuote is odd; the opening quote, at 0, is not
// looked at.
bool IsEscaped(std::string_view strText, std::size_t nQuote) {
    std::size_t nAt = nQuote;
    while (nAt > 1 && strText[nAt - 1] == '\\')
        --nAt;
    return (nQuote - nAt) % 2 == 1;
}

std::size_t FindClosingQuote(std::string_view strText) {
    std::size_t nQuote = FindText(strText, "\",", 0);
    while (nQuote != 0 && nQuote != NPOS && IsEscaped(strText, nQuote))
        nQuote = FindText(strText, "\",", nQuote + 1);
    if (nQuote != 0 && nQuote != NPOS)
        return nQuote;
    Report("FindStringEnd failed,the string is %s", std::string(strText));
    return NPOS;
}

bool FindValue(std::string_view strObj, std::string_view strName, bool bQuoted,
               std::string_view& strValue) {
    const std::string_view strAttributes = AttributesOf(strObj);
    const std::size_t nItem = FindItem(strAttributes, strName, bQuoted);
    if (nItem == NPOS) {
        Report("not finding attribute Name");
        return false;
    }
    const std::string_view strRest = strAttributes.substr(nItem + strName.size() + 1);
    if (!strRest.empty() && strRest.front() == '"') {
        const std::size_t nEnd = FindClosingQuote(strRest);
        if (nEnd == NPOS) {
            Report("not finding string attribute end \",");
            return false;
        }
        strValue = strRest.substr(1, nEnd - 1);
        return true;
    }
    const std::size_t nComma = strRest.find(',');
    if (nComma == NPOS) {
        Report("not finding string attribute first \"");
        return false;
    }
    strValue = strRest.substr(0, nComma);
    return true;
}

// A reader's steps up to the value's text.
bool ReadItem(std::string_view strObj, const char* szName, bool bQuoted,
              std::string_view& strValue) {
    const std::string_view strName = ViewOf(szName);
    return !strName.empty() &&
           (FindValue(strObj, strName, bQuoted, strValue) || AttributeMissing());
}

int NumberOf(std::string_view strText) {
    return static_cast<int>(ReadLong(strText, 10).nValue);
}

bool ReadInt(std::string_view strObj, const char* szName, int& nValue) {
    std::string_view strValue;
    if (!ReadItem(strObj, szName, false, strValue))
        return false;
    if (strValue.empty())
        return AttributeMissing();
    nValue = NumberOf(strValue);
    return true;
}

// An int converted to Value; one more line on failure.
template <class Value>
bool ReadConverted(std::string_view strObj, const char* szName, Value& value) {
    if (ViewOf(szName).empty())
        return false;
    int nValue = 0;
    if (!ReadInt(strObj, szName, nValue))
        return AttributeMissing();
    value = static_cast<Value>(nValue);
    return true;
}

// Calls take with each element of a list value.
template <class Take>
void EachElement(std::string_view strValue, Take take) {
    for (;;) {
        const std::size_t nEnd = strValue.find('&');
        take(strValue.substr(0, nEnd));
        if (nEnd == NPOS)
            return;
        strValue.remove_prefix(nEnd + 1);
    }
}

template <class Number>
void AppendNumbers(std::string_view strValue, std::vector<Number>& vecNumber) {
    const char* p = strValue.data();
    const char* const pEnd = p + strValue.size();
    for (;; ++p) {
        std::uint32_t nValue = 0;
        const char* pStop = ReadShortDigits(p, pEnd, nValue);
        if (pStop == p || (pStop != pEnd && *pStop != '&')) {
            const std::string_view strRest(p, static_cast<std::size_t>(pEnd - p));
            const std::string_view strElement = strRest.substr(0, strRest.find('&'));
            nValue = static_cast<std::uint32_t>(NumberOf(strElement));
            pStop = p + strElement.size();
        }
        vecNumber.push_back(static_cast<Number>(nValue));
        p = pStop;
        if (p == pEnd)
            return;
    }
}

}  // namespace

TNBackupObjStr::TNBackupObjStr(const std::string& objStr, const std::string& objName)
    : m_objStr(objStr), m_objName(objName) {}

TNBackupObjStr::TNBackupObjStr(const std::string& objName)
    : m_objStr(Joined({"<", objName, ">", ATTRIBUTES_BEGIN, ATTRIBUTES_END, OBJECTS_BEGIN,
                       OBJECTS_END, "</", objName, ">"})),
      m_objName(objName) {}

std::string TNBackupObjStr::GetObjStr() const {
    return m_objStr;
}

std::string TNBackupObjStr::GetAttributeStr() const {
    return std::string(AttributesOf(m_objStr));
}

std::size_t TNBackupObjStr::FindStringEnd(const std::string& text) const {
    return FindClosingQuote(text);
}

std::size_t TNBackupObjStr::GetAttrObjValueBgnPos(const std::string& attrs, const std::string& name,
                                                  bool quoted) const {
    return FindItem(attrs, name, quoted);
}

bool TNBackupObjStr::GetValueStrByName(const std::string& name, std::string& value,
                                       bool quoted) const {
    std::string_view strValue;
    if (!FindValue(m_objStr, name, quoted, strValue))
        return false;
    value = strValue;
    return true;
}

bool TNBackupObjStr::InsertAttributeString(const std::string& name, const std::string& value) {
    return InsertItem(m_objStr, name, value, "");
}

bool TNBackupObjStr::AddAttributePara(const char* name, int value, bool quoted) {
    return AddNumber(m_objStr, name, value, quoted);
}

bool TNBackupObjStr::AddAttributePara(const char* name, unsigned long value, bool) {
    return AddNumber(m_objStr, name, static_cast<int>(value), false);
}

bool TNBackupObjStr::AddAttributePara(const char* name, unsigned int value, bool) {
    return AddNumber(m_objStr, name, static_cast<int>(value), false);
}

bool TNBackupObjStr::AddAttributePara(const char* name, const std::string& value, bool quoted) {
    return AddItem(m_objStr, name, value, quoted);
}

bool TNBackupObjStr::AddAttributePara(const char* name, const std::vector<int>& value,
                                      bool quoted) {
    std::string strValue;
    WriteNumberList(value, AMPERSAND_JOINED, strValue);
    return AddItem(m_objStr, name, strValue, quoted);
}

bool TNBackupObjStr::AddAttributePara(const char* name, const std::vector<char>& value,
                                      bool quoted) {
    std::vector<int> vecNumber;
    vecNumber.reserve(value.size());
    for (const char c : value)
        vecNumber.push_back(static_cast<signed char>(c));
    return AddAttributePara(name, vecNumber, quoted);
}

bool TNBackupObjStr::AddAttributePara(const char* name, const std::vector<std::string>& value,
                                      bool quoted) {
    std::string strValue;
    for (std::size_t i = 0; i < value.size(); ++i)
        strValue.append(i == 0 ? "" : "&").append(value[i]);
    return AddItem(m_objStr, name, strValue, quoted);
}

bool TNBackupObjStr::AddObejctPara(const std::vector<std::string>& objs,
                                   const std::string& varName) {
    const std::size_t nEnds = OBJECTS_END.size() + m_objName.size() + 3;  // "</object></name>"
    if (m_objStr.size() < nEnds)
        throw std::out_of_range("TNBackupObjStr::AddObejctPara: the text is too short");
    const std::size_t nAt = m_objStr.size() - nEnds;
    std::vector<std::string_view> vecPiece(objs.begin(), objs.end());
    if (varName.empty()) {
        // Deliberate: the children are kept, without a group around them.
        Report("valiableName string is invalide");
    } else {
        vecPiece.insert(vecPiece.begin(), {"<", varName, ">"});
        vecPiece.insert(vecPiece.end(), {"</", varName, ">"});
    }
    InsertPieces(m_objStr, nAt, vecPiece);
    return true;
}

bool TNBackupObjStr::GetAttributePara(const char* name, int& value) const {
    return ReadInt(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, unsigned long& value) const {
    return ReadConverted(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, unsigned int& value) const {
    return ReadConverted(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, char& value) const {
    return ReadConverted(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, unsigned char& value) const {
    return ReadConverted(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, bool& value) const {
    return ReadConverted(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, unsigned short& value) const {
    return ReadConverted(m_objStr, name, value);
}

bool TNBackupObjStr::GetAttributePara(const char* name, std::string& value) const {
    std::string_view strValue;
    if (!ReadItem(m_objStr, name, true, strValue))
        return false;
    value = strValue;
    return true;
}

bool TNBackupObjStr::GetAttributePara(const char* name, std::vector<char>& value) const {
    std::string_view strValue;
    if (!ReadItem(m_objStr, name, false, strValue) || strValue.empty())
        return false;
    AppendNumbers(strValue, value);
    return true;
}

bool TNBackupObjStr::GetAttributePara(const char* name, std::vector<std::string>& value) const {
    std::string_view strValue;
    if (!ReadItem(m_objStr, name, true, strValue) || strValue.empty())
        return false;
    EachElement(strValue, [&](std::string_view strElement) { value.emplace_back(strElement); });
    return true;
}

bool TNBackupObjStr::GetAttributePara(const char* name, std::vector<int>& value) const {
    std::string_view strValue;
    if (!ReadItem(m_objStr, name, false, strValue))
        return false;
    if (strValue.empty())
        return AttributeMissing();
    AppendNumbers(strValue, value);
    return true;
}

bool TNBackupObjStr::GetObjStrByObjName(const std::string& varName, const std::string& objName,
                                        std::vector<std::string>& objs) const {
    const std::string_view strObj = m_objStr;
    const std::size_t nGroup = FindText(strObj, Joined({"<", varName, ">"}), 0);
    const std::size_t nGroupEnd = FindText(strObj, Joined({"</", varName, ">"}), 0);
    if (nGroup == NPOS || nGroupEnd == NPOS) {
        Report("not finding valiableName ");
        return false;
    }
    // An end tag before the begin tag makes the length wrap around: the group is all of the rest.
    const std::string_view strGroup =
        strObj.substr(nGroup, nGroupEnd - nGroup + varName.size() + 3);
    const std::string strBeginTag = Joined({"<", objName, ">"});
    const std::string strEndTag = Joined({"</", objName, ">"});
    std::size_t nBegin = FindText(strGroup, strBeginTag, 0);
    std::size_t nEnd = FindText(strGroup, strEndTag, 0);
    if (nBegin == NPOS || nEnd == NPOS) {
        Report("not finding objectName ");
        return false;
    }
    while (nBegin != NPOS && nEnd != NPOS) {
        const std::size_t nBehind = nEnd + strEndTag.size();
        // An end tag left over from a child cut at a nested name: nothing lies before it.
        objs.emplace_back(nBegin < nBehind ? strGroup.substr(nBegin, nBehind - nBegin)
                                           : std::string_view());
        // What was found behind the cut is still the first.
        if (nBegin < nBehind)
            nBegin = FindText(strGroup, strBeginTag, nBehind);
        nEnd = FindText(strGroup, strEndTag, nBehind);
    }
    return true;
}

}  // namespace NSTN_util

#include "zemb/asn.h"

#include "base/escape.h"
#include "zemb/debug.h"

#include <algorithm>

// Values of messages as an indented text, a line for each part. A value appends its own text to one
// string and hands it on to its parts, so the cost is the characters written. Names and texts are
// escaped: a value cannot forge a line of a log.

AsnType::~AsnType() = default;

namespace {

constexpr const char* INDENT = "    ";
constexpr const char* LABEL = " --";
constexpr int TRACE_LEVEL = 1;

void AppendPart(std::string& strOut, std::size_t nDepth, const std::string& strName,
                const AsnType* pValue) {
    for (std::size_t i = 0; i < nDepth; ++i)
        strOut += INDENT;
    strOut += LABEL;
    base::AppendEscaped(strName, "", strOut);
    const std::string strType = pValue == nullptr ? "" : pValue->GetTypeName();
    if (!strType.empty()) {
        strOut += strName.empty() ? "(" : " (";
        base::AppendEscaped(strType, "", strOut);
        strOut += ")";
    }
    if (pValue != nullptr)
        pValue->AppendText(strOut, nDepth);
    else
        strOut += ": \n";
}

}  // namespace

void AsnInt::AppendText(std::string& strOut, std::size_t /*nDepth*/) const {
    strOut.append(": ").append(std::to_string(m_nValue)).append("\n");
}

void AsnOcts::AppendText(std::string& strOut, std::size_t /*nDepth*/) const {
    strOut += ": 0x";
    for (const char c : m_strData)
        base::AppendHex(c, strOut);
    strOut += "\n";
}

void AsnText::AppendText(std::string& strOut, std::size_t /*nDepth*/) const {
    strOut += ": \"";
    base::AppendEscaped(m_strText, "", strOut);
    strOut += "\"\n";
}

void AsnIntList::AppendText(std::string& strOut, std::size_t nDepth) const {
    strOut += ": " + std::to_string(m_vecInt.size()) + " elements\n";
    for (std::size_t i = 0; i < m_vecInt.size(); ++i)
        AppendPart(strOut, nDepth + 1, "[" + std::to_string(i) + "]", &m_vecInt[i]);
}

void AsnTree::Add(std::string strName, std::shared_ptr<const AsnType> pPart) {
    m_vecPart.push_back({std::move(strName), std::move(pPart)});
}

void AsnTree::AppendText(std::string& strOut, std::size_t nDepth) const {
    strOut += m_eKind == EKind::LIST ? ": " + std::to_string(m_vecPart.size()) + " elements\n"
                                     : (m_eKind == EKind::CHOICE ? ": choice\n" : ":\n");
    std::size_t nPlace = 0;
    for (const Part& part : m_vecPart) {
        const std::string strPlace = "[" + std::to_string(nPlace++) + "]";
        AppendPart(strOut, nDepth + 1, m_eKind == EKind::LIST ? strPlace : part.strName,
                   part.pValue.get());
    }
}

namespace NSTE_util {

std::string toString(const AsnType& value) {
    std::string strText;
    AppendPart(strText, 0, "", &value);
    return strText;
}

void AsnTrace(const AsnType& value, TEDebugInterface& debug) {
    const std::string strText = toString(value);
    for (std::size_t nStart = 0; nStart < strText.size();) {
        const std::size_t nEnd = std::min(strText.find('\n', nStart), strText.size());
        debug.Trace(TRACE_LEVEL, strText.substr(nStart, nEnd - nStart).c_str());
        nStart = nEnd + 1;
    }
}

}  // namespace NSTE_util

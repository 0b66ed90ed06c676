#include "output.h"

#include <json/writer.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace host {

void FailWithErrno(const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(errno));
}

namespace {

// The library prints some of its lines: none of them may come between the objects.
std::shared_ptr<std::FILE> TakeStandardOutput() {
    std::fflush(stdout);
    std::FILE* const pFile = fdopen(dup(STDOUT_FILENO), "w");
    if (pFile == nullptr)
        throw CommandError(SYSTEM_FAILED, "standard output is closed");
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return {pFile, &std::fclose};
}

}  // namespace

Output::Output(bool bJson) : m_pJson(bJson ? TakeStandardOutput() : nullptr) {}

bool Output::IsGood() const {
    return std::cout.good() && (!IsJson() || std::ferror(m_pJson.get()) == 0);
}

void Output::Put(const std::string& strText, const Json::Value& record) const {
    if (!IsJson())
        return Say(strText);
    std::fputs((JsonLine(record) + "\n").c_str(), m_pJson.get());
    std::fflush(m_pJson.get());
}

void Output::Say(const std::string& strText) const {
    if (!IsJson())
        std::cout << strText << std::endl;
}

void Output::PutPart(const std::string& strPart) const {
    if (IsJson())
        std::fwrite(strPart.data(), 1, strPart.size(), m_pJson.get());
    else
        std::cout << strPart;
}

void Output::EndLine() const {
    PutPart("\n");
    if (IsJson())
        std::fflush(m_pJson.get());
    else
        std::cout.flush();
}

std::string Table(const std::vector<std::vector<std::string>>& vecRow) {
    std::vector<std::size_t> vecWidth;
    for (const auto& row : vecRow)
        for (std::size_t i = 0; i < row.size(); ++i) {
            vecWidth.resize(std::max(vecWidth.size(), i + 1));
            vecWidth[i] = std::max(vecWidth[i], row[i].size());
        }
    std::string strTable;
    for (const auto& row : vecRow) {
        std::string strLine;
        for (std::size_t i = 0; i < row.size(); ++i) {
            strLine += row[i];
            if (i + 1 < row.size())
                strLine.append(vecWidth[i] - row[i].size() + 2, ' ');
        }
        strLine.erase(strLine.find_last_not_of(' ') + 1);
        strTable += strTable.empty() ? strLine : "\n" + strLine;
    }
    return strTable;
}

std::string Counted(std::size_t nCount, const std::string& strThing, const std::string& strThings) {
    const std::string strMany = strThings.empty() ? strThing + "s" : strThings;
    return std::to_string(nCount) + " " + (nCount == 1 ? strThing : strMany);
}

std::string Hex(unsigned long nValue) {
    char szText[24];
    std::snprintf(szText, sizeof szText, "0x%lX", nValue);
    return szText;
}

namespace {

// How many octets the UTF-8 character at p has; 0 when there is none.
std::size_t CharacterAt(const unsigned char* p, std::size_t nRest) {
    const unsigned nLead = *p;
    const std::size_t nSize = nLead < 0x80                    ? 1
                              : nLead >= 0xC2 && nLead < 0xE0 ? 2
                              : nLead >= 0xE0 && nLead < 0xF0 ? 3
                              : nLead >= 0xF0 && nLead < 0xF5 ? 4
                                                              : 0;
    if (nSize > nRest)
        return 0;
    for (std::size_t i = 1; i < nSize; ++i)
        if ((p[i] & 0xC0) != 0x80)
            return 0;
    // Neither longer than needed, nor half of a pair, nor beyond the last character.
    const bool bBad = (nLead == 0xE0 && p[1] < 0xA0) || (nLead == 0xED && p[1] > 0x9F) ||
                      (nLead == 0xF0 && p[1] < 0x90) || (nLead == 0xF4 && p[1] > 0x8F);
    return nSize > 1 && bBad ? 0 : nSize;
}

std::string ValidUtf8(const std::string& strText) {
    std::string strValid;
    strValid.reserve(strText.size());
    const auto* const pText = reinterpret_cast<const unsigned char*>(strText.data());
    for (std::size_t i = 0; i < strText.size();) {
        const std::size_t nSize = CharacterAt(pText + i, strText.size() - i);
        if (nSize == 0)
            strValid += "\xEF\xBF\xBD";
        else
            strValid.append(strText, i, nSize);
        i += nSize == 0 ? 1 : nSize;
    }
    return strValid;
}

}  // namespace

std::string JsonLine(const Json::Value& record) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder compact;
        compact["indentation"] = "";
        compact["emitUTF8"] = true;
        return compact;
    }();
    return ValidUtf8(Json::writeString(builder, record));
}

std::string OnOneLine(const std::string& strText) {
    std::string strShown;
    for (const char c : strText) {
        const auto nByte = static_cast<unsigned char>(c);
        char szHex[8];
        std::snprintf(szHex, sizeof szHex, "\\x%02X", nByte);
        if (nByte < ' ' || nByte == 0x7F)
            strShown += szHex;
        else
            strShown += c == '\\' ? std::string(2, c) : std::string(1, c);
    }
    return strShown;
}

}  // namespace host

#include "view/output.h"

#include "base/escape.h"

#include <json/writer.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string_view>

// What the program prints, as text or as JSON. With JSON standard output is moved aside at once:
// the library prints some lines of its own, and none of them may come between the objects. Control
// characters are escaped on the way to a terminal, as texts of logs and files must not steer it.
namespace host {

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

void Output::PutExact(const std::string& strText, const Json::Value& record) const {
    if (IsJson() || isatty(STDOUT_FILENO) == 1)
        return Put(strText, record);
    std::cout << strText << std::endl;
}

void Output::Say(const std::string& strText) const {
    if (!IsJson())
        std::cout << Shown(strText) << std::endl;
}

void Complain(const std::string& strText) {
    std::cerr << "tovelkarin: " << Shown(strText) << std::endl;
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

void AppendItem(std::string& strList, const std::string& strItem, const char* szBetween) {
    strList += (strList.empty() ? "" : szBetween) + strItem;
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

// JSON as it is sent: what stands outside of texts is ASCII, and the writer has escaped what is
// below U+0020.
std::string SafeJson(std::string_view strText) {
    std::string strSafe;
    strSafe.reserve(strText.size());
    for (std::size_t nSize = 0; !strText.empty(); strText.remove_prefix(nSize)) {
        nSize = base::Utf8Size(strText);
        if (nSize == 0) {
            strSafe += "\xEF\xBF\xBD";
            nSize = 1;
        } else if (base::ControlSize(strText) != 0) {
            strSafe += "\\u00";
            base::AppendHex(strText[nSize - 1], strSafe);
        } else {
            strSafe.append(strText, 0, nSize);
        }
    }
    return strSafe;
}

}  // namespace

std::string JsonLine(const Json::Value& record) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder compact;
        compact["indentation"] = "";
        compact["emitUTF8"] = true;
        return compact;
    }();
    return SafeJson(Json::writeString(builder, record));
}

std::string Shown(const std::string& strText) {
    std::string strShown;
    base::AppendEscaped(strText, "\n\t\\", strShown);
    return strShown;
}

std::string OnOneLine(const std::string& strText) {
    std::string strShown;
    base::AppendEscaped(strText, "", strShown);
    return strShown;
}

}  // namespace host

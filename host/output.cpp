#include "output.h"

#include <json/writer.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace host {

void Output::Put(const std::string& strText, const Json::Value& record) const {
    if (!m_bJson) {
        std::cout << strText << std::endl;
        return;
    }
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder compact;
        compact["indentation"] = "";
        compact["emitUTF8"] = true;
        return compact;
    }();
    std::cout << Json::writeString(builder, record) << std::endl;
}

void Output::Say(const std::string& strText) const {
    if (!m_bJson)
        std::cout << strText << std::endl;
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

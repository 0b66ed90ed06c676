#pragma once

#include "tests/naive/byte_source.h"

#include "tovelkarin/nml_filemgr.h"
#include "zemb/control.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

// Item files and paths, handled a character or a step at a time.
namespace naive {

using Items = std::map<std::string, std::string>;

inline std::string Trimmed(std::string strText) {
    const std::string strBlanks = " \t\n\r";
    while (!strText.empty() && strBlanks.find(strText.front()) != std::string::npos)
        strText.erase(0, 1);
    while (!strText.empty() && strBlanks.find(strText.back()) != std::string::npos)
        strText.pop_back();
    return strText;
}

// vecBad gets the lines without "=".
inline bool ReadItemFile(const std::string& strPath, Items& mapItem,
                         std::vector<std::string>& vecBad) {
    std::ifstream file(strPath);
    if (!file)
        return false;
    do {
        char szLine[1024] = {};
        file.getline(szLine, 1023);
        const std::string strLine = Trimmed(szLine);
        if (strLine.empty() || strLine[0] == '#')
            continue;
        const std::size_t nEqual = strLine.find('=');
        if (nEqual == std::string::npos)
            vecBad.push_back(strLine);
        else
            mapItem[Trimmed(strLine.substr(0, nEqual))] = Trimmed(strLine.substr(nEqual + 1));
    } while (file);
    return true;
}

inline std::string AbsolutePath(std::string strPath) {
    strPath = Trimmed(strPath);
    for (char& c : strPath)
        c = c == '\\' ? '/' : c;
    if (strPath.empty() || strPath[0] == '.')
        return strPath;
    for (std::size_t n; (n = strPath.find("/..")) != std::string::npos;) {
        const std::size_t nBefore = n == 0 ? std::string::npos : strPath.rfind('/', n - 1);
        if (nBefore == std::string::npos)
            return strPath;
        strPath.erase(nBefore, n + 3 - nBefore);
    }
    for (std::size_t n; (n = strPath.find("/./")) != std::string::npos;)
        strPath.replace(n, 3, "/");
    return strPath;
}

inline const std::string& ScratchFile() {
    static const std::string strFile = "/tmp/tovelkarin-naive." + std::to_string(getpid());
    static const struct Remover {
        ~Remover() { std::remove(ScratchFile().c_str()); }
    } remover;
    return strFile;
}

inline void CheckItemFile(const std::uint8_t* pData, std::size_t nSize) {
    ByteSource source(pData, nSize);
    std::string strPath = source.TextOf("/..ab\\ ", 24);
    const std::string strExpected = AbsolutePath(strPath);
    NSTN_util::ConvertAbsolutePath(strPath);
    Expect(strPath == strExpected, "path " + strExpected);

    std::string strText;
    while (!source.IsEmpty()) {
        const int nKind = source.Below(12);
        if (nKind == 0)
            strText.append(static_cast<std::size_t>(1000 + source.Below(40)), 'x');
        strText += nKind == 1 ? source.Text(6) : source.TextOf("ab= =\t#\r", 12);
        if (nKind != 2)
            strText += '\n';
    }
    std::ofstream(ScratchFile(), std::ios::binary) << strText;
    std::vector<std::string> vecBad;
    std::vector<std::string> vecReported;
    Items mapNaive = {{"a", "before"}, {"kept", "x"}};
    Items mapOurs = mapNaive;
    ReadItemFile(ScratchFile(), mapNaive, vecBad);
    {
        const zemb::ScopedDebugSink sink(
            [&](const zemb::DebugLine& line) { vecReported.push_back(line.strText); });
        Expect(NSTN_util::ReadCfgItemFromFile(ScratchFile(), mapOurs) == 0, "opened");
    }
    Expect(mapOurs == mapNaive, "items of " + strText);
    Expect(vecReported.size() == vecBad.size(), "reports on " + strText);
    for (std::size_t i = 0; i < vecBad.size(); ++i)
        Expect(vecReported[i] == " TNReadCfg_SplitStrBySeparator (" + vecBad[i] + ") error! ",
               vecReported[i]);

    // What was read is written and read back, unless a line gets too long or looks like a comment.
    Expect(NSTN_util::WriteCfgItemToFile(ScratchFile(), mapOurs) == 0, "written");
    for (const auto& [strKey, strValue] : mapOurs)
        if (strKey.size() + strValue.size() + 3 > 1022 || strKey.compare(0, 1, "#") == 0)
            return;
    Items mapBack;
    Expect(NSTN_util::ReadCfgItemFromFile(ScratchFile(), mapBack) == 0 && mapBack == mapOurs,
           "items come back");
}

}  // namespace naive

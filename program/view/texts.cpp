#include "view/texts.h"

#include "view/output.h"

#include "tovelkarin/nml_commondataapi.h"
#include "tovelkarin/stringutil.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace host {

namespace {

int ConvertOne(const std::string& strText, const std::function<void(const std::string&)>& convert,
               const CLI::App& app) {
    try {
        convert(strText);
        return DONE;
    } catch (const CommandError& error) {
        return Report(error, app);
    }
}

}  // namespace

void Texts::Define(CLI::App& app, const std::string& strWhat, bool bRequired) {
    m_pApp = &app;
    app.add_option("TEXT", m_vecText,
                   strWhat + "; -: each line of standard input; behind --: also what begins with -")
        ->required(bRequired);
}

int Texts::Each(const std::function<void(const std::string&)>& convert) const {
    int nWorst = DONE;
    for (const std::string& strText : m_vecText) {
        if (strText != "-") {
            nWorst = std::max(nWorst, ConvertOne(strText, convert, *m_pApp));
            continue;
        }
        for (std::string strLine; std::getline(std::cin, strLine);) {
            if (!strLine.empty() && strLine.back() == '\r')
                strLine.pop_back();
            nWorst = std::max(nWorst, ConvertOne(strLine, convert, *m_pApp));
        }
    }
    return nWorst;
}

void WarnOfEveryNe(const std::string& strWhy) {
    Complain("warning: " + (strWhy.empty() ? "" : strWhy + "; ") + "NE 0 stands for every NE");
}

void WarnOfLoss(const std::string& strText, const std::string& strReadAs) {
    Complain("warning: '" + strText + "' is read as " + strReadAs);
}

std::string AddressText(std::uint32_t nAddress) {
    return NSTN_util::IPInt2String(static_cast<int>(nAddress));
}

std::uint32_t ReadAddress(const std::string& strText) {
    unsigned long nAddress = 0;
    if (!NSTN_util::TEStr2Ip(strText.c_str(), nAddress))
        throw CommandError(WRONG_USAGE, "'" + strText + "' is no IPv4 address");
    return static_cast<std::uint32_t>(nAddress);
}

}  // namespace host

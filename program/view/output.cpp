#include "view/output.h"

#include "base/escape.h"
#include "view/colors.h"

#include "tovelkarin/stringutil.h"

#include <json/writer.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <iostream>
#include <regex>
#include <string_view>
#include <utility>

// What the program prints, as text or as JSON. With JSON standard output is moved aside at once:
// the library prints some lines of its own, and none of them may come between the objects. Control
// characters are escaped on the way, as texts of logs and files must not steer a terminal; a pipe
// mostly leads to one. Colours and local times are put in behind that.
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

// 0 where standard output is no terminal.
std::size_t TerminalWidth() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

// A text for a cell: what is escaped already stays as it is.
std::string InOneLine(const std::string& strText) {
    std::string strShown;
    base::AppendEscaped(strText, "\\", strShown);
    return strShown;
}

// "2026-03-01 08:00:00.000Z" as "2026-03-01 09:00:00.000+0100".
std::string LocalTime(const std::string& strUtc, const std::string& strFraction) {
    std::tm parts{};
    if (strptime(strUtc.c_str(), "%Y-%m-%d %H:%M:%S", &parts) == nullptr)
        return strUtc;
    const std::time_t tSeconds = timegm(&parts);
    char szTime[32];
    char szOffset[16];
    const std::tm local = NSTN_util::UTC2Local(tSeconds);
    if (std::strftime(szTime, sizeof szTime, "%Y-%m-%d %H:%M:%S", &local) == 0 ||
        std::strftime(szOffset, sizeof szOffset, "%z", &local) == 0)
        return strUtc;
    return szTime + strFraction + szOffset;
}

}  // namespace

void Output::Configure(const OutputWishes& wishes) {
    m_wishes = wishes;
    if (wishes.bJson && m_pJson == nullptr)
        m_pJson = TakeStandardOutput();
}

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
    if (IsJson())
        return;
    const std::string strShown = Localized(m_wishes.bRaw ? strText : Shown(strText));
    std::cout << (IsColored(STDOUT_FILENO) ? Colored(strShown) : strShown) << std::endl;
}

void Output::SayTable(std::vector<std::vector<std::string>> vecRow) const {
    if (IsJson())
        return;
    for (auto& row : vecRow)
        for (std::string& strCell : row)
            strCell = Localized(InOneLine(strCell));
    const bool bColors = IsColored(STDOUT_FILENO);
    std::cout << Table(vecRow, {TerminalWidth(), bColors ? ColoredCell : nullptr}) << std::endl;
}

// Every time that zemb::FormatTime wrote, in local time with its offset. What is not on a terminal
// is read by programs, which want UTC.
std::string Output::Localized(const std::string& strText) const {
    static const std::regex UTC_TIME(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d(\.\d{3})Z)");
    if (!m_wishes.bLocal || isatty(STDOUT_FILENO) != 1)
        return strText;
    std::string strLocal;
    auto itRest = strText.begin();
    for (std::sregex_iterator it(strText.begin(), strText.end(), UTC_TIME), end; it != end; ++it) {
        strLocal.append(itRest, (*it)[0].first);
        strLocal += LocalTime(it->str(), it->str(1));
        itRest = (*it)[0].second;
    }
    return strLocal.append(itRest, strText.end());
}

void Complain(const std::string& strText) {
    const std::string strShown = "tovelkarin: " + Shown(strText);
    std::cerr << (IsColored(STDERR_FILENO) ? Colored(strShown) : strShown) << std::endl;
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

void AppendItem(std::string& strList, const std::string& strItem, const char* szBetween) {
    strList += (strList.empty() ? "" : szBetween) + strItem;
}

std::string Counted(std::size_t nCount, const std::string& strThing, const std::string& strThings) {
    const std::string strMany = strThings.empty() ? strThing + "s" : strThings;
    return std::to_string(nCount) + " " + (nCount == 1 ? strThing : strMany);
}

std::string DurationText(std::int64_t nMicroseconds) {
    constexpr std::pair<double, const char*> UNITS[] = {{1e6, " s"}, {1e3, " ms"}};
    for (const auto& [dUnit, szUnit] : UNITS)
        if (const double dValue = static_cast<double>(nMicroseconds) / dUnit; dValue >= 1) {
            char szText[32];
            std::snprintf(szText, sizeof szText, "%.*f",
                          dValue < 10    ? 2
                          : dValue < 100 ? 1
                                         : 0,
                          dValue);
            return szText + std::string(szUnit);
        }
    return std::to_string(nMicroseconds) + " us";
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

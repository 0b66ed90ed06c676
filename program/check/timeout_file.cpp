#include "check/timeout_file.h"

#include "check/line_file.h"
#include "view/output.h"

#include "tovelkarin/stringutil.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

// Reads a time-out file as the library does, with the line of each number, so that an answer can be
// explained. A second file goes over the first as in the library: lines that are gone keep their
// effect.
// The format: docs/formats/timeout-file.md.
namespace host {

namespace {

constexpr const char* COMMON = "cmdreq_common_config";
constexpr const char* TIMEOUT = "cmdreq_command_timeout";
constexpr const char* DUAL = "cmdreq_timedual_do";

// A number at the beginning of a text, cut to int; false without one.
bool ReadNumber(const std::string& strText, int& nValue) {
    char* pEnd = nullptr;
    const long nRead = std::strtol(strText.c_str(), &pEnd, 10);
    nValue = static_cast<int>(std::clamp<long>(nRead, INT_MIN, INT_MAX));
    return pEnd != strText.c_str();
}

// The number behind the first "="; 0 without one.
int NumberBehindEqual(const std::string& strLine) {
    int nValue = 0;
    const std::size_t nEqual = strLine.find('=');
    if (nEqual != std::string::npos)
        ReadNumber(strLine.substr(nEqual + 1), nValue);
    return nValue;
}

}  // namespace

TimeoutFile::TimeoutFile(const std::string& strFile) {
    LineFile file(strFile);
    vecFinding = std::move(file.vecFinding);
    for (TextLine& line : file.vecLine) {
        std::string& strText = line.place.strText;
        strText = NSTN_util::RTrim(strText.substr(0, strText.find('#')));
        if (!strText.empty())
            ReadLine(line.place);
    }
    CheckWhole(strFile);
}

void TimeoutFile::LoadOver(const TimeoutFile& next) {
    if (next.bCommon) {
        defaultTimeout = next.defaultTimeout;
        offset = next.offset;
        refresh = next.refresh;
    }
    for (const auto& [nCmd, fact] : next.mapTimeout)
        mapTimeout.insert_or_assign(nCmd, fact);
    for (const auto& [nCmd, fact] : next.mapDual)
        mapDual.insert_or_assign(nCmd, fact);
}

void TimeoutFile::Add(ESeverity eSeverity, const Place& place, const std::string& strWhat,
                      const std::string& strExpected) {
    vecFinding.push_back({place, eSeverity, strWhat, strExpected});
}

void TimeoutFile::ReadLine(const Place& place) {
    const std::size_t nOpen = place.strText.find('[');
    const std::size_t nClose = nOpen == std::string::npos ? nOpen : place.strText.find(']', nOpen);
    if (nClose == std::string::npos) {
        if (m_eSection == ESection::NONE)
            Add(ESeverity::ERROR, place, "line before the first section: it is left out",
                "a header such as [cmdreq_common_config]");
        else if (m_eSection == ESection::COMMON)
            ReadCommon(place);
        else if (m_eSection != ESection::OTHER)
            ReadCommand(place);
        return;
    }
    const std::string strName =
        NSTN_util::Trim(place.strText.substr(nOpen + 1, nClose - nOpen - 1));
    m_eSection = strName == COMMON    ? ESection::COMMON
                 : strName == TIMEOUT ? ESection::TIMEOUT
                 : strName == DUAL    ? ESection::DUAL
                                      : ESection::OTHER;
    bCommon = bCommon || m_eSection == ESection::COMMON;
    if (m_eSection == ESection::OTHER) {
        const std::string strNearest = LineFile::Nearest(strName, {COMMON, TIMEOUT, DUAL});
        Add(ESeverity::WARNING, place, "nobody reads section '" + strName + "'",
            strNearest.empty() ? "" : "perhaps " + strNearest);
    }
    if (nOpen != 0 || nClose + 1 != place.strText.size())
        Add(ESeverity::WARNING, place, "the whole line is taken for a section header",
            "[" + strName + "] alone");
}

void TimeoutFile::ReadCommon(const Place& place) {
    struct Key {
        const char* szName;
        std::optional<Fact>* pFact;
    };
    const Key arrKey[] = {{"default_timeout", &defaultTimeout},
                          {"offset_time", &offset},
                          {"need_auto_refresh", &refresh}};
    const std::string strKey = NSTN_util::Trim(place.strText.substr(0, place.strText.find('=')));
    bool bKnown = false;
    for (const Key& key : arrKey) {
        if (place.strText.find(key.szName) == std::string::npos)
            continue;
        bKnown = true;
        int nNumber = 0;
        const std::size_t nEqual = place.strText.find('=');
        if (nEqual == std::string::npos || !ReadNumber(place.strText.substr(nEqual + 1), nNumber))
            Add(ESeverity::ERROR, place,
                std::string("no number for '") + key.szName + "': it is read as 0", "key = number");
        if (*key.pFact) {
            Add(ESeverity::WARNING, place,
                std::string("hidden: '") + key.szName + "' is read from " +
                    (*key.pFact)->place.Text() + ", the first line that contains the name");
            continue;
        }
        *key.pFact = Fact{NumberBehindEqual(place.strText), place};
        if (strKey != key.szName)
            Add(ESeverity::WARNING, place,
                "'" + strKey + "' contains '" + key.szName + "' and is read for it",
                "a name that contains no other");
    }
    if (!bKnown) {
        const std::string strNearest =
            LineFile::Nearest(strKey, {"default_timeout", "offset_time", "need_auto_refresh"});
        Add(ESeverity::WARNING, place, "nobody reads '" + strKey + "'",
            strNearest.empty() ? "" : "perhaps " + strNearest);
    }
}

void TimeoutFile::ReadCommand(const Place& place) {
    int nCmd = 0;
    const std::size_t nEqual = place.strText.find('=');
    if (!ReadNumber(place.strText, nCmd) || nEqual == std::string::npos)
        return Add(ESeverity::ERROR, place, "no command: the line is left out",
                   "command = seconds");
    int nSeconds = 0;
    if (!ReadNumber(place.strText.substr(nEqual + 1), nSeconds))
        Add(ESeverity::ERROR, place, "no number of seconds: 0 is read", "command = seconds");
    else if (nSeconds <= 0)
        Add(ESeverity::WARNING, place,
            std::to_string(nSeconds) + " seconds" +
                (m_eSection == ESection::TIMEOUT ? ": where that stays so, 60 are taken" : ""),
            "a number above 0");
    if (nSeconds == INT_MAX || nSeconds == INT_MIN)
        Add(ESeverity::WARNING, place, "cut to " + std::to_string(nSeconds) + " seconds",
            "a number that 32 bits hold");
    std::map<int, Fact>& mapFact = m_eSection == ESection::TIMEOUT ? mapTimeout : mapDual;
    const auto [it, bNew] = mapFact.try_emplace(nCmd, Fact{nSeconds, place});
    if (!bNew) {
        Add(ESeverity::WARNING, place,
            "command " + std::to_string(nCmd) + " again: this line counts, not the one at " +
                it->second.place.Text());
        it->second = Fact{nSeconds, place};
    }
}

void TimeoutFile::CheckWhole(const std::string& strFile) {
    const Place whole{strFile, 1, 1, ""};
    if (!bCommon)
        Add(ESeverity::ERROR, whole, "no section [cmdreq_common_config]: the load counts as failed",
            "the section, if only its header");
    if (defaultTimeout && defaultTimeout->nValue <= 0)
        Add(ESeverity::WARNING, defaultTimeout->place,
            "a default of " + std::to_string(defaultTimeout->nValue) +
                " seconds: 60, or the caller's default, are taken",
            "a number above 0");
    if (offset && offset->nValue < 0)
        for (const auto& [nCmd, fact] : mapTimeout)
            if (fact.nValue > 0 && long{fact.nValue} + offset->nValue <= 0)
                Add(ESeverity::WARNING, fact.place,
                    "with the offset of " + std::to_string(offset->nValue) +
                        " not above 0: 60 are taken");
}

}  // namespace host

#include "check/timeout_file.h"

#include "check/line_file.h"
#include "config/timeout_format.h"
#include "view/output.h"

#include "tovelkarin/stringutil.h"

#include <climits>

// Reads a time-out file as the library does, with the line of each number, so that an answer can be
// explained. A second file goes over the first as in the library: lines that are gone keep their
// effect.
// The format: docs/formats/timeout-file.md.
namespace host {

using namespace NSTE_util;

TimeoutFile::TimeoutFile(const std::string& strFile) {
    LineFile file(strFile);
    vecFinding = std::move(file.vecFinding);
    NSTN_util::SectionLine line;
    for (NSTN_util::SectionWalk walk(file.strText); walk.Next(line);)
        ReadLine(
            {strFile, line.nNumber, static_cast<int>(line.nIndent) + 1, std::string(line.strText)},
            line.strTitle);
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

void TimeoutFile::ReadLine(const Place& place, const std::optional<std::string_view>& strTitle) {
    if (strTitle)
        ReadHeader(place, std::string(*strTitle));
    else if (m_eSection == ESection::NONE)
        Add(ESeverity::ERROR, place, "line before the first section: it is left out",
            "a header such as [cmdreq_common_config]");
    else if (m_eSection == ESection::COMMON)
        ReadCommon(place);
    else if (m_eSection != ESection::OTHER)
        ReadCommand(place);
}

void TimeoutFile::ReadHeader(const Place& place, const std::string& strName) {
    m_eSection = strName == SECTION_COMMON    ? ESection::COMMON
                 : strName == SECTION_TIMEOUT ? ESection::TIMEOUT
                 : strName == SECTION_DUAL    ? ESection::DUAL
                                              : ESection::OTHER;
    bCommon = bCommon || m_eSection == ESection::COMMON;
    if (m_eSection == ESection::OTHER)
        Add(ESeverity::WARNING, place, "nobody reads section '" + strName + "'",
            LineFile::Perhaps(strName, {SECTION_COMMON, SECTION_TIMEOUT, SECTION_DUAL}));
    if (place.strText.front() != '[' || place.strText.find(']') + 1 != place.strText.size())
        Add(ESeverity::WARNING, place, "the whole line is taken for a section header",
            "[" + strName + "] alone");
}

void TimeoutFile::ReadCommon(const Place& place) {
    struct Key {
        const char* szName;
        std::optional<Fact>* pFact;
    };
    const Key arrKey[] = {{KEY_DEFAULT_TIMEOUT, &defaultTimeout},
                          {KEY_OFFSET_TIME, &offset},
                          {KEY_AUTO_REFRESH, &refresh}};
    const BehindEqual number(place.strText);
    const std::string strKey = NSTN_util::Trim(place.strText.substr(0, place.strText.find('=')));
    bool bKnown = false;
    for (const Key& key : arrKey) {
        if (!HasKey(place.strText, key.szName))
            continue;
        bKnown = true;
        if (!number.bNumber)
            Add(ESeverity::ERROR, place,
                std::string("no number for '") + key.szName + "': it is read as 0", "key = number");
        if (*key.pFact) {
            Add(ESeverity::WARNING, place,
                std::string("hidden: '") + key.szName + "' is read from " +
                    (*key.pFact)->place.Text() + ", the first line that contains the name");
            continue;
        }
        *key.pFact = Fact{number.nValue, place};
        if (strKey != key.szName)
            Add(ESeverity::WARNING, place,
                "'" + strKey + "' contains '" + key.szName + "' and is read for it",
                "a name that contains no other");
    }
    if (!bKnown)
        Add(ESeverity::WARNING, place, "nobody reads '" + strKey + "'",
            LineFile::Perhaps(strKey, {KEY_DEFAULT_TIMEOUT, KEY_OFFSET_TIME, KEY_AUTO_REFRESH}));
}

void TimeoutFile::ReadCommand(const Place& place) {
    const CommandLine line(place.strText);
    if (!line.bTaken)
        return Add(ESeverity::ERROR, place, "no command: the line is left out",
                   "command = seconds");
    const int nSeconds = line.seconds.nValue;
    if (!line.seconds.bNumber)
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
    const auto [it, bNew] = mapFact.try_emplace(line.nCmd, Fact{nSeconds, place});
    if (!bNew) {
        Add(ESeverity::WARNING, place,
            "command " + std::to_string(line.nCmd) + " again: this line counts, not the one at " +
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

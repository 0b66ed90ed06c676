#include "command.h"
#include "view/texts.h"

#include "tovelkarin/stringutil.h"

#include "zemb/control.h"
#include "zemb/time.h"

#include <CLI/CLI.hpp>

#include <time.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <memory>

// Times in both directions, the zone of the process and its clock. What was typed is compared with
// what it was read as, so an hour that the clocks leave out is told.
namespace host {

namespace {

struct TimeArguments {
    Texts texts;
    std::string strZone;
    bool bUtc = false;
};

// "2026-03-01 08:00:00" and the like: six numbers with anything but digits between them.
std::tm ReadFields(const std::string& strText) {
    static const char* const FIELDS[] = {"year", "month", "day", "hour", "minute", "second"};
    std::tm parts{};
    parts.tm_isdst = -1;
    std::size_t nAt = 0;
    for (unsigned nIndex = 0; nIndex < 6; ++nIndex) {
        const std::size_t nEnd =
            std::min(strText.find_first_not_of("0123456789", nAt), strText.size());
        std::string strField = strText.substr(nAt, nEnd - nAt);
        if (strField.empty() || !NSTN_util::TEStrSubStr2DateTime(nIndex, parts, strField))
            throw CommandError(WRONG_USAGE,
                               "'" + strText + "': bad " + FIELDS[nIndex] +
                                   "; expected seconds since 1970 or \"YYYY-MM-DD hh:mm:ss\"",
                               EName::COMMAND);
        nAt = std::min(strText.find_first_of("0123456789", nEnd), strText.size());
    }
    return parts;
}

constexpr const char* TIME_FORMAT = "%Y-%m-%d %H:%M:%S";

std::string Written(const std::tm& parts, const char* szFormat) {
    char szText[96];
    return std::string(szText, std::strftime(szText, sizeof szText, szFormat, &parts));
}

std::string DigitsOf(std::string strText) {
    const auto IsNoDigit = [](unsigned char c) { return std::isdigit(c) == 0; };
    strText.erase(std::remove_if(strText.begin(), strText.end(), IsNoDigit), strText.end());
    return strText;
}

// Seconds since 1970 of what was typed.
long ReadTime(const std::string& strText, bool bUtc) {
    char* pEnd = nullptr;
    errno = 0;
    const long nSeconds = std::strtol(strText.c_str(), &pEnd, 10);
    if (!strText.empty() && *pEnd == '\0') {
        if (errno == ERANGE)
            throw CommandError(ANSWER_NO, "'" + strText + "': too large", EName::COMMAND);
        return nSeconds;
    }
    const std::tm parts = ReadFields(strText);
    std::tm utc = parts;
    if (!bUtc)
        NSTE_util::TELOCAL2UTC(parts, utc);
    const long nResult = NSTN_util::Local2UTC(utc);
    std::tm back{};
    if (bUtc)
        gmtime_r(&nResult, &back);
    else
        back = NSTN_util::UTC2Local(nResult);
    const std::string strBack = Written(back, TIME_FORMAT);
    if (DigitsOf(strText) != DigitsOf(strBack))
        WarnOfLoss(strText, strBack);
    return nResult;
}

void ShowTime(const Session& session, long nSeconds) {
    std::tm utc{};
    if (gmtime_r(&nSeconds, &utc) == nullptr || utc.tm_year > 1000000 || utc.tm_year < -1000000)
        throw CommandError(
            ANSWER_NO,
            NSTN_util::ConvertLONGToStr(nSeconds, true) + " seconds are beyond any calendar",
            EName::COMMAND);
    const std::tm local = NSTN_util::UTC2Local(nSeconds);
    Json::Value record;
    record["seconds"] = static_cast<Json::Int64>(nSeconds);
    record["utc"] = Written(utc, TIME_FORMAT) + "Z";
    record["local"] = Written(local, TIME_FORMAT);
    record["zone"] = local.tm_zone;
    record["offset"] = static_cast<Json::Int64>(local.tm_gmtoff);
    session.out.Put(NSTN_util::ConvertLONGToStr(nSeconds, true) + "  " + record["utc"].asString() +
                        "  " + Written(local, "%a %Y-%m-%d %H:%M:%S %Z (%z)"),
                    record);
}

int ShowTimes(const Session& session, const TimeArguments& args) {
    if (!args.strZone.empty() && !zemb::SetTimeZone(args.strZone))
        throw CommandError(
            ANSWER_NO, "there is no zone '" + args.strZone + "'; expected such as Europe/Berlin",
            EName::COMMAND);
    if (args.texts.IsEmpty())
        ShowTime(session, NSTN_util::GetCurUtcTime());
    return args.texts.Each(
        [&](const std::string& strTime) { ShowTime(session, ReadTime(strTime, args.bUtc)); });
}

// "2026-03-01 08:00:00", UTC, as microseconds since 1970.
long long ParseMoment(const std::string& strText) {
    tm parts{};
    const char* const pEnd = strptime(strText.c_str(), "%Y-%m-%d %H:%M:%S", &parts);
    if (pEnd == nullptr || *pEnd != '\0')
        throw CommandError(
            WRONG_USAGE,
            "'" + strText + "': expected +SECONDS, -SECONDS or \"YYYY-MM-DD hh:mm:ss\" (UTC)",
            EName::COMMAND);
    return static_cast<long long>(timegm(&parts)) * 1000000;
}

int SetClock(Session& session, const std::string& strText) {
    if (!strText.empty() && (strText.front() == '+' || strText.front() == '-')) {
        char* pEnd = nullptr;
        const long nSeconds = std::strtol(strText.c_str(), &pEnd, 10);
        if (*pEnd != '\0' || nSeconds > 1000000000L || nSeconds < -1000000000L)
            throw CommandError(WRONG_USAGE, "'" + strText + "': expected whole seconds",
                               EName::COMMAND);
        session.clock.Advance(nSeconds);
    } else if (!strText.empty()) {
        session.clock.Freeze(ParseMoment(strText));
    }
    Json::Value record;
    record["time"] = zemb::FormatTime(zemb::NowMicroseconds());
    session.out.Put(record["time"].asString(), record);
    return DONE;
}

}  // namespace

Runner DefineTime(CLI::App& app) {
    const auto pArgs = std::make_shared<TimeArguments>();
    pArgs->texts.Define(
        app, "seconds since 1970, or \"YYYY-MM-DD hh:mm:ss\" in local time; none: now", false);
    app.add_option("--zone", pArgs->strZone, "make this the zone of the process: Europe/Berlin");
    app.add_flag("--utc", pArgs->bUtc, "what is typed is UTC");
    return [pArgs](Session& session) { return ShowTimes(session, *pArgs); };
}

Runner DefineClock(CLI::App& app) {
    const auto pText = std::make_shared<std::string>();
    app.add_option("TIME", *pText,
                   "+SECONDS or -SECONDS moves it, \"YYYY-MM-DD hh:mm:ss\" (UTC) stops it there");
    app.allow_extras(false)->prefix_command(false);
    return [pText](Session& session) { return SetClock(session, *pText); };
}

}  // namespace host

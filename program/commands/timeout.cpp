#include "check/timeout_file.h"
#include "command.h"
#include "view/rows.h"

#include "tovelkarin/tnreqtimeout.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <climits>
#include <memory>
#include <optional>
#include <set>

// Tells a time-out and the lines that led to it. The library answers; the steps are reckoned beside
// it from the file with its places. When both differ, the library may have read a changed file
// meanwhile, so the file of now is tried before anything is said.
namespace host {

namespace {

struct TimeoutArguments {
    int nCmd = 0;
    int nCount = 1;
    bool bOffset = false;
    bool bDual = false;
    std::string strFile;
};

constexpr int WITHOUT_DEFAULT = 60;
constexpr int WITHOUT_DUAL = 604800;

NSTE_util::TNReqTimeoutIF& Service() {
    return *NSTE_util::TNReqTimeoutIF::Instance();
}

std::string At(const TimeoutFile::Fact& fact) {
    return " (" + fact.place.Text() + ": " + fact.place.strText + ")";
}

// How the files lead to a number of seconds.
struct Reason {
    long nSeconds = 0;
    std::vector<std::string> vecStep;

    void Step(const std::string& strText) { vecStep.push_back(strText); }
};

Reason ReasonOf(const TimeoutFile& file, const TimeoutArguments& args) {
    Reason reason;
    const std::string strCmd = "command " + std::to_string(args.nCmd);
    const auto& mapFact = args.bDual ? file.mapDual : file.mapTimeout;
    const auto it = mapFact.find(args.nCmd);
    if (it != mapFact.end()) {
        reason.nSeconds = it->second.nValue;
        reason.Step(strCmd + ": " + std::to_string(reason.nSeconds) + " s" + At(it->second));
    } else if (args.bDual) {
        reason.nSeconds = WITHOUT_DUAL;
        reason.Step(strCmd + " has no second time: 604800 s, seven days");
    } else if (file.defaultTimeout) {
        reason.nSeconds = file.defaultTimeout->nValue;
        reason.Step(strCmd + " has no line: the default of " + std::to_string(reason.nSeconds) +
                    " s" + At(*file.defaultTimeout));
    } else {
        reason.nSeconds = WITHOUT_DEFAULT;
        reason.Step(strCmd + " has no line, and the file no default: 60 s");
    }
    if (args.bDual)
        return reason;
    if (args.nCount > 1) {
        reason.nSeconds *= args.nCount / 2;
        reason.Step("count " + std::to_string(args.nCount) + ": times " +
                    std::to_string(args.nCount / 2) + ", half of it rounded down");
    }
    if (args.bOffset) {
        reason.nSeconds += file.offset ? file.offset->nValue : 0;
        reason.Step(file.offset
                        ? "offset: " + std::to_string(file.offset->nValue) + " s" + At(*file.offset)
                        : "offset: the file names none");
    }
    if (reason.nSeconds <= 0) {
        reason.nSeconds = WITHOUT_DEFAULT;
        reason.Step("not above 0: 60 s instead");
    } else if (reason.nSeconds > INT_MAX) {
        reason.nSeconds = INT_MAX;
        reason.Step("cut to what 32 bits hold");
    }
    return reason;
}

int Answer(const TimeoutArguments& args) {
    return args.bDual ? Service().GetReqTimeDualValue(args.nCmd)
                      : Service().GetReqTimeOutValue(args.nCmd, args.nCount, args.bOffset);
}

// The book with the file over it as it is now; nothing when the file is gone.
std::optional<TimeoutFile> WithFileNow(const TimeoutFile& book, const std::string& strFile) {
    try {
        TimeoutFile file = book;
        file.LoadOver(TimeoutFile(strFile));
        return file;
    } catch (const CommandError&) {
        return std::nullopt;
    }
}

int ShowTimeout(Session& session, const TimeoutArguments& args) {
    const std::string strFile = session.LoadTimeouts(args.strFile);
    const int nSeconds = Answer(args);
    Json::Value record;
    record["command"] = args.nCmd;
    record["seconds"] = nSeconds;
    std::string strText = std::to_string(nSeconds) + " s";
    if (session.timeouts) {
        // The library has read the file again when only the file of now explains its answer.
        const std::optional<TimeoutFile> now = WithFileNow(*session.timeouts, strFile);
        Reason reason = ReasonOf(*session.timeouts, args);
        const long nNow = now ? ReasonOf(*now, args).nSeconds : reason.nSeconds;
        if (reason.nSeconds != nSeconds && nNow == nSeconds) {
            session.timeouts = now;
            reason = ReasonOf(*now, args);
        }
        if (reason.nSeconds != nNow)
            reason.Step("the file has changed since: " + std::to_string(nNow) +
                        " s when it is read again");
        for (const std::string& strStep : reason.vecStep) {
            record["why"].append(strStep);
            strText += "\n  " + strStep;
        }
    }
    session.out.Put(strText, record);
    return DONE;
}

// Brings the book to what the library has read, if it has read the file again.
void Follow(Session& session, const std::string& strFile) {
    const auto IsAnswered = [](const TimeoutFile& book) {
        const auto Same = [&](const std::map<int, TimeoutFile::Fact>& mapFact, bool bDual) {
            return std::all_of(mapFact.begin(), mapFact.end(), [&](const auto& entry) {
                TimeoutArguments args;
                args.nCmd = entry.first;
                args.bDual = bDual;
                return ReasonOf(book, args).nSeconds == Answer(args);
            });
        };
        return Same(book.mapTimeout, false) && Same(book.mapDual, true);
    };
    const std::optional<TimeoutFile> now = WithFileNow(*session.timeouts, strFile);
    if (now && IsAnswered(*now))
        session.timeouts = now;
}

int ShowTimeouts(Session& session, const std::string& strGiven) {
    const std::string strFile = session.LoadTimeouts(strGiven);
    if (!session.timeouts)
        throw CommandError(ANSWER_NO, "no time-out file is loaded; give --file", EName::COMMAND);
    Follow(session, strFile);
    const TimeoutFile& file = *session.timeouts;
    std::set<int> setCmd;
    for (const auto* const pMap : {&file.mapTimeout, &file.mapDual})
        for (const auto& [nCmd, fact] : *pMap)
            setCmd.insert(nCmd);
    Rows rows(session.out, {{"command", "COMMAND"},
                            {"seconds", "SECONDS"},
                            {"second_time", "SECOND TIME"},
                            {"", "LINES"}});
    const auto Line = [](const std::map<int, TimeoutFile::Fact>& mapFact, int nCmd) {
        const auto it = mapFact.find(nCmd);
        return it == mapFact.end() ? std::string("-") : it->second.place.Text();
    };
    for (const int nCmd : setCmd) {
        const std::string strLines = Line(file.mapTimeout, nCmd) + ", " + Line(file.mapDual, nCmd);
        rows.Add({nCmd, Service().GetReqTimeOutValue(nCmd, 1, false),
                  Service().GetReqTimeDualValue(nCmd), AsIs(strLines)});
    }
    rows.Put();
    const int nDefault = Service().GetReqDefaultTimeout(WITHOUT_DEFAULT);
    const int nOffset = file.offset ? file.offset->nValue : 0;
    const bool bRefresh = file.refresh && file.refresh->nValue != 0;
    session.out.Put("default " + std::to_string(nDefault) + " s, offset " +
                        std::to_string(nOffset) +
                        " s, read again when it changes: " + (bRefresh ? "yes" : "no"),
                    RecordOf({{"default", nDefault}, {"offset", nOffset}, {"refresh", bRefresh}}));
    return DONE;
}

}  // namespace

Runner DefineTimeout(CLI::App& app) {
    const auto pArgs = std::make_shared<TimeoutArguments>();
    app.add_option("CMD", pArgs->nCmd, "the command number")->required();
    app.add_option("--count", pArgs->nCount, "how many objects the request is about")
        ->capture_default_str();
    app.add_flag("--offset", pArgs->bOffset, "add the offset");
    app.add_flag("--dual", pArgs->bDual, "the second time instead");
    app.add_option("--file", pArgs->strFile, "load this time-out file first; else the root's own");
    return [pArgs](Session& session) { return ShowTimeout(session, *pArgs); };
}

Runner DefineTimeouts(CLI::App& app) {
    const auto pFile = std::make_shared<std::string>();
    app.add_option("--file", *pFile, "load this time-out file first; else the root's own");
    return [pFile](Session& session) { return ShowTimeouts(session, *pFile); };
}

}  // namespace host

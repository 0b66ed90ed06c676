#include "command.h"
#include "commands/merged_log.h"
#include "console/interrupt.h"
#include "view/record.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/utilif.h"

#include "zemb/black_box.h"
#include "zemb/paths.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cstdlib>
#include <deque>
#include <memory>
#include <string>

// Shows lines of a log, of all processes by time, and new ones as they come.
namespace host {

namespace {

struct LogArguments {
    std::string strModule = TOVELKARIN_MODULE_NAME;
    std::string strProcess;
    int nLevel = 0;
    std::string strFrom;
    std::string strTo;
    std::string strPattern;
    std::size_t nLast = 0;
    bool bFollow = false;
};

// Assertions, prints and exceptions are of every level.
bool IsWanted(const LogLine& line, const LogArguments& args) {
    if (line.strKind.find_first_not_of("-0123456789") == std::string::npos &&
        std::strtol(line.strKind.c_str(), nullptr, 10) < args.nLevel)
        return false;
    return (args.strFrom.empty() || line.strTime >= args.strFrom) &&
           (args.strTo.empty() || line.strTime < args.strTo) &&
           (args.strPattern.empty() ||
            NSTN_util::IsNameMeetingRequire(line.strText, args.strPattern));
}

void PutLine(const Session& session, const LogLine& line) {
    const std::string strProcess = line.strProcess.empty() ? "-" : line.strProcess;
    session.out.Put(line.strTime + (line.strTime.empty() ? "" : " ") + strProcess +
                        (line.strTime.empty() ? " " : "") +
                        line.strWhole.substr(line.strTime.size()),
                    RecordOf({{"time", line.strTime},
                              {"process", line.strProcess},
                              {"thread", line.strThread},
                              {"kind", line.strKind},
                              {"text", line.strText}}));
}

// The name under which a process writes: that of the number, if it is one.
std::string NameOfProcess(const std::string& strProcess) {
    for (const zemb::BoxSummary& box : zemb::ListBlackBoxes(zemb::GetStatePath()))
        if (box.strError.empty() && std::to_string(box.nProcess) == strProcess)
            return box.strProgram;
    return strProcess;
}

int ShowLog(const Session& session, const LogArguments& args) {
    Session::RequireState(zemb::LogFileOf(args.strModule));
    RequireAccess(zemb::GetStatePath() + "/log", R_OK | X_OK);
    MergedLog log(args.strModule, NameOfProcess(args.strProcess));
    std::deque<LogLine> dequeLast;
    for (LogLine line; log.Next(line, !args.bFollow);) {
        if (!IsWanted(line, args))
            continue;
        if (args.nLast == 0)
            PutLine(session, line);
        else
            dequeLast.push_back(line);
        if (dequeLast.size() > args.nLast)
            dequeLast.pop_front();
    }
    for (const LogLine& line : dequeLast)
        PutLine(session, line);
    if (!args.bFollow)
        return DONE;
    const Interruptible interruptible;
    do {
        for (const LogLine& line : log.TakeNew())
            if (IsWanted(line, args))
                PutLine(session, line);
    } while (!interruptible.Pause());
    return DONE;
}

}  // namespace

Runner DefineLog(CLI::App& app) {
    const auto pArgs = std::make_shared<LogArguments>();
    app.add_option("MODULE", pArgs->strModule, "whose log")->capture_default_str();
    app.add_option("--process", pArgs->strProcess,
                   "of one process only: its name, or the number of one that 'ps' lists");
    app.add_option("--level", pArgs->nLevel, "lines of this level and graver ones");
    app.add_option("--from", pArgs->strFrom, "not before this UTC time, or a beginning of it");
    app.add_option("--to", pArgs->strTo, "before this UTC time");
    app.add_option("--text", pArgs->strPattern, "the whole text; * and ? are wildcards");
    app.add_option("--last", pArgs->nLast, "only so many lines, the last ones");
    app.add_flag("--follow", pArgs->bFollow, "then show lines as they are written");
    return [pArgs](Session& session) { return ShowLog(session, *pArgs); };
}

}  // namespace host

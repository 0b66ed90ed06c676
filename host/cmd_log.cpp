#include "command.h"
#include "interrupt.h"

#include "tovelkarin/stringutil.h"
#include "tovelkarin/utilif.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>

namespace host {

namespace {

struct LogArguments {
    std::string strModule = TOVELKARIN_MODULE_NAME;
    int nLevel = 0;
    std::string strFrom;
    std::string strTo;
    std::string strPattern;
    std::size_t nLast = 0;
    bool bFollow = false;
};

// "2026-03-01 08:00:00.123Z [1234] 1 text"; an empty kind for a line of another form.
struct LogLine {
    std::string strTime;
    std::string strThread;
    std::string strKind;
    std::string strText;
};

LogLine Split(const std::string& strLine) {
    const std::size_t nThread = strLine.find(" [");
    const std::size_t nKind = strLine.find("] ", nThread);
    if (nThread == std::string::npos || nKind == std::string::npos)
        return {"", "", "", strLine};
    const std::size_t nText = std::min(strLine.find(' ', nKind + 2), strLine.size());
    return {strLine.substr(0, nThread), strLine.substr(nThread + 2, nKind - nThread - 2),
            strLine.substr(nKind + 2, nText - nKind - 2),
            strLine.substr(std::min(nText + 1, strLine.size()))};
}

// Assertions, prints and exceptions are of every level.
bool IsWanted(const LogLine& line, const LogArguments& args) {
    if (line.strKind.find_first_not_of("-0123456789") == std::string::npos &&
        std::atoi(line.strKind.c_str()) < args.nLevel)
        return false;
    return (args.strFrom.empty() || line.strTime >= args.strFrom) &&
           (args.strTo.empty() || line.strTime < args.strTo) &&
           (args.strPattern.empty() ||
            NSTN_util::IsNameMeetingRequire(line.strText, args.strPattern));
}

void Put(const Session& session, const LogLine& line, const std::string& strLine) {
    Json::Value record;
    record["time"] = line.strTime;
    record["thread"] = line.strThread;
    record["kind"] = line.strKind;
    record["text"] = line.strText;
    session.out.Put(strLine, record);
}

// Shows lines from nRead on as they come; begins again where the file gave way to a new one.
void Follow(const Session& session, const LogArguments& args, std::streamoff nRead) {
    const std::string strFile = zemb::LogFileOf(args.strModule);
    const Interruptible interruptible;
    do {
        std::ifstream file(strFile, std::ios::binary | std::ios::ate);
        if (file.tellg() < nRead)
            nRead = 0;
        file.seekg(nRead);
        // A line that does not end yet is read again.
        for (std::string strLine; std::getline(file, strLine) && !file.eof();) {
            nRead = file.tellg();
            const LogLine line = Split(strLine);
            if (IsWanted(line, args))
                Put(session, line, strLine);
        }
    } while (!interruptible.Pause());
}

int ShowLog(const Session& session, const LogArguments& args) {
    const std::string strFile = zemb::LogFileOf(args.strModule);
    if (strFile.empty())
        throw CommandError(WRONG_USAGE, "log: where? give --state DIR or --root DIR");
    std::ifstream file(strFile, std::ios::binary);
    if (!file)
        throw CommandError(ANSWER_NO, strFile + ": there is no log of this module");
    std::deque<std::string> dequeLast;
    std::streamoff nEnd = 0;
    for (std::string strLine; std::getline(file, strLine);) {
        if (file.eof() && args.bFollow)
            break;  // the rest of the line is yet to come
        nEnd = file.tellg();
        const LogLine line = Split(strLine);
        if (!IsWanted(line, args))
            continue;
        if (args.nLast == 0)
            Put(session, line, strLine);
        else
            dequeLast.push_back(strLine);
        if (dequeLast.size() > args.nLast)
            dequeLast.pop_front();
    }
    for (const std::string& strLine : dequeLast)
        Put(session, Split(strLine), strLine);
    if (args.bFollow)
        Follow(session, args, nEnd);
    return DONE;
}

}  // namespace

Runner DefineLog(CLI::App& app) {
    const auto pArgs = std::make_shared<LogArguments>();
    app.add_option("MODULE", pArgs->strModule, "whose log")->capture_default_str();
    app.add_option("--level", pArgs->nLevel, "lines of this level and graver ones");
    app.add_option("--from", pArgs->strFrom, "not before this UTC time, or a beginning of it");
    app.add_option("--to", pArgs->strTo, "before this UTC time");
    app.add_option("--text", pArgs->strPattern, "the whole text; * and ? are wildcards");
    app.add_option("--last", pArgs->nLast, "only so many lines, the last ones");
    app.add_flag("--follow", pArgs->bFollow, "then show lines as they are written");
    return [pArgs](Session& session) { return ShowLog(session, *pArgs); };
}

}  // namespace host

#include "command.h"

#include "tovelkarin/tntrace.h"
#include "tovelkarin/utilif.h"

#include <CLI/CLI.hpp>

#include <time.h>

#include <iostream>
#include <memory>
#include <utility>

// Writes lines to logs through the library's formatter, and shows lines as they come. The overload
// for the number of arguments is picked at run time.
namespace host {

namespace {

constexpr unsigned int LINE_BOUND = 5120;
constexpr std::size_t ARGUMENTS_MAX = 15;

struct TraceArguments {
    std::string strModule = TOVELKARIN_MODULE_NAME;
    int nLevel = 1;
    std::string strFormat;
    std::vector<std::string> vecArgument;
};

template <std::size_t... N>
void Fill(std::string& strLine, const TraceArguments& args, std::index_sequence<N...>) {
    NSTN_util::TNTrace2Str(LINE_BOUND, strLine, args.strFormat,
                           NSTN_util::TNString(args.vecArgument[N])...);
}

// Calls the overload for as many arguments as there are.
template <std::size_t N>
void FillCounted(std::string& strLine, const TraceArguments& args) {
    if (args.vecArgument.size() == N)
        return Fill(strLine, args, std::make_index_sequence<N>());
    if constexpr (N < ARGUMENTS_MAX)
        FillCounted<N + 1>(strLine, args);
}

int WriteLine(const Session& session, const TraceArguments& args) {
    if (args.vecArgument.size() > ARGUMENTS_MAX)
        throw CommandError(WRONG_USAGE, "trace line: at most 15 arguments");
    std::string strLine;
    FillCounted<0>(strLine, args);
    NSTN_util::TNTrace2LogFile(args.strModule, args.nLevel, strLine);
    Json::Value record;
    record["line"] = strLine;
    const std::string strFile = zemb::LogFileOf(args.strModule);
    if (!strFile.empty())
        record["file"] = strFile;
    session.out.Put(strLine, record);
    return DONE;
}

}  // namespace

Runner DefineTrace(CLI::App& app) {
    const auto pArgs = std::make_shared<TraceArguments>();
    CLI::App* const pOn = app.add_subcommand("on", "show log lines here as they are written");
    CLI::App* const pOff = app.add_subcommand("off", "stop showing them");
    CLI::App* const pLevel = app.add_subcommand("level", "drop a module's lines below a level");
    pLevel->add_option("LEVEL", pArgs->nLevel, "0 keeps all")->required();
    pLevel->add_option("--module", pArgs->strModule, "whose lines")->capture_default_str();
    CLI::App* const pLine = app.add_subcommand("line", "format a line and write it to the log");
    pLine->add_option("FORMAT", pArgs->strFormat, "'%' and the character after it are a slot")
        ->required();
    pLine->add_option("ARGUMENT", pArgs->vecArgument, "texts for the slots, at most 15");
    pLine->add_option("--level", pArgs->nLevel, "level of the line")->capture_default_str();
    pLine->add_option("--module", pArgs->strModule, "whose log")->capture_default_str();
    app.require_subcommand(1);
    return [pArgs, pOn, pOff, pLevel](Session& session) {
        if (pOn->parsed() || pOff->parsed())
            session.EchoTrace(pOn->parsed());
        else if (pLevel->parsed())
            zemb::SetTraceLevel(pArgs->strModule, pArgs->nLevel);
        else
            return WriteLine(session, *pArgs);
        return DONE;
    };
}

Runner DefineSay(CLI::App& app) {
    const auto pWords = std::make_shared<std::vector<std::string>>();
    app.add_option("TEXT", *pWords, "the text; none: an empty line");
    return [pWords](Session& session) {
        std::string strText;
        for (const std::string& strWord : *pWords)
            strText += (strText.empty() ? "" : " ") + strWord;
        session.out.Say(strText);
        return DONE;
    };
}

}  // namespace host

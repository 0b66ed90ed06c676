#include "sub_commands.h"

#include "tovelkarin/tntrace.h"
#include "tovelkarin/utilif.h"

#include <unistd.h>

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
        throw CommandError(WRONG_USAGE, "at most 15 arguments", EName::SUB_COMMAND);
    std::string strLine;
    FillCounted<0>(strLine, args);
    zemb::SetLogFiles(true);
    NSTN_util::TNTrace2LogFile(args.strModule, args.nLevel, strLine);
    zemb::SetLogFiles(session.bHosting);
    const std::string strFile = zemb::LogFileOf(args.strModule);
    if (!strFile.empty() && access(strFile.c_str(), W_OK) != 0)
        FailWithErrno(strFile);  // so the line is lost
    Json::Value record;
    record["line"] = strLine;
    if (!strFile.empty())
        record["file"] = strFile;
    session.out.Put(strLine, record);
    return DONE;
}

template <bool ON>
int Echo(Session& session, const TraceArguments& /*args*/) {
    session.EchoTrace(ON);
    return DONE;
}

int SetLevel(const Session& /*session*/, const TraceArguments& args) {
    zemb::SetTraceLevel(args.strModule, args.nLevel);
    return DONE;
}

}  // namespace

Runner DefineTrace(CLI::App& app) {
    SubCommands<TraceArguments> commands(app);
    TraceArguments& args = commands.Args();
    commands.Add("on", "show log lines here as they are written", Echo<true>);
    commands.Add("off", "stop showing them", Echo<false>);
    CLI::App* const pLevel = commands.Add("level", "drop a module's lines below a level", SetLevel);
    pLevel->add_option("LEVEL", args.nLevel, "0 keeps all")->required();
    pLevel->add_option("--module", args.strModule, "whose lines")->capture_default_str();
    CLI::App* const pLine =
        commands.Add("line", "format a line and write it to the log", WriteLine);
    pLine->add_option("FORMAT", args.strFormat, "'%' and the character after it are a slot")
        ->required();
    pLine->add_option("ARGUMENT", args.vecArgument, "texts for the slots, at most 15");
    pLine->add_option("--level", args.nLevel, "level of the line")->capture_default_str();
    pLine->add_option("--module", args.strModule, "whose log")->capture_default_str();
    return commands.RunGiven();
}

Runner DefineSay(CLI::App& app) {
    const auto pWords = std::make_shared<std::vector<std::string>>();
    app.add_option("TEXT", *pWords, "the text; none: an empty line");
    return [pWords](Session& session) {
        std::string strText;
        for (const std::string& strWord : *pWords)
            AppendItem(strText, strWord, " ");
        session.out.Say(strText);
        return DONE;
    };
}

}  // namespace host

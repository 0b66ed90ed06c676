#include "command.h"

#include "global_arguments.h"
#include "help.h"
#include "mistake.h"
#include "view/record.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

// Reads a command's words and runs it, whether they come from a shell, a script or a prompt.
namespace host {

const Command* FindCommand(const std::string& strName) {
    const auto& vecCommand = Commands();
    const auto it = std::find_if(vecCommand.begin(), vecCommand.end(),
                                 [&](const Command& command) { return strName == command.szName; });
    return it == vecCommand.end() ? nullptr : &*it;
}

namespace {

int PutHelp(const Output& out, const Command& command, std::string strHelp) {
    while (!strHelp.empty() && strHelp.back() == '\n')
        strHelp.pop_back();
    out.Put(strHelp, RecordOf({{"command", command.szName}, {"help", strHelp}}));
    return DONE;
}

int RunParsed(Session& session, const Command& command, const CLI::App& app, const Runner& run) {
    try {
        RequireHost(session, NameOfParsed(app));
        if (command.bNeedsModule)
            session.Start();
        return run(session);
    } catch (const CommandError& error) {
        return Report(error, app);
    } catch (const std::exception& error) {
        return Report(CommandError(SYSTEM_FAILED, error.what(), EName::COMMAND), app);
    }
}

}  // namespace

int RunCommand(Session& session, const std::vector<std::string>& vecWord,
               GlobalArguments* pGlobal) {
    const Command* const pCommand = FindCommand(vecWord.front());
    if (pCommand == nullptr) {
        Complain("no command '" + vecWord.front() + "'; " + CommandMeant(vecWord.front()) +
                 "'help' lists the commands");
        return WRONG_USAGE;
    }
    CLI::App app(pCommand->szSummary, pCommand->szName);
    app.footer(FooterOf(*pCommand));
    const Runner run = pCommand->Define(app);
    TellForHost(app);
    if (pGlobal != nullptr)
        DefineGlobalWithin(app, *pGlobal);
    const std::vector<std::string> vecArgument(vecWord.begin() + 1, vecWord.end());
    int nParsed = 0;
    std::string strError;
    try {
        app.parse(std::vector<std::string>(vecArgument.rbegin(), vecArgument.rend()));
    } catch (const CLI::ParseError& error) {
        nParsed = error.get_exit_code();
        strError = nParsed == 0 ? app.help() : error.what();
    }
    if (pGlobal != nullptr)
        Apply(*pGlobal, session);
    if (nParsed != 0) {
        const std::string strName = NameOfParsed(app);
        Complain(strName + ": " + strError + "; " + WordMeant(app, vecArgument) + "'help " +
                 strName + "' tells more");
        return WRONG_USAGE;
    }
    if (!strError.empty())
        return PutHelp(session.out, *pCommand, strError);
    return RunParsed(session, *pCommand, app, run);
}

}  // namespace host

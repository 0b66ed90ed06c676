#include "command.h"
#include "console/console.h"
#include "help.h"
#include "view/manual.h"
#include "view/record.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <memory>

// The command that reads commands, and those that tell about commands. Where input and output are
// terminals it gives a prompt; otherwise it runs what it reads as a script.
namespace host {

namespace {

struct HostArguments {
    std::string strScript;
    bool bEcho = false;
};

int RunHost(Session& session, const HostArguments& args) {
    session.bHosting = true;
    if (!args.strScript.empty() && args.strScript != "-") {
        std::ifstream script(args.strScript);
        RequireAccess(args.strScript, R_OK);
        if (!script || script.peek() == std::ifstream::traits_type::eof())
            throw CommandError(SYSTEM_FAILED, args.strScript + ": the script cannot be read");
        return RunScript(session, script, args.strScript, args.bEcho);
    }
    if (args.strScript.empty() && isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0)
        return RunTerminal(session);
    return RunScript(session, std::cin, args.strScript.empty() ? "standard input" : args.strScript,
                     args.bEcho);
}

struct HelpArguments {
    std::vector<std::string> vecWord;
    bool bMan = false;
};

int ShowHelp(Session& session, HelpArguments args) {
    if (args.bMan) {
        session.out.Put(ManualPage(), RecordOf({{"manual", ManualPage()}}));
        return DONE;
    }
    if (!args.vecWord.empty()) {
        args.vecWord.push_back("--help");
        return RunCommand(session, args.vecWord);
    }
    session.out.Say(HelpText() + "\n'help COMMAND' tells more.");
    if (session.out.IsJson())
        for (const Command& command : Commands()) {
            session.out.Put(
                "", RecordOf({{"command", command.szName}, {"summary", command.szSummary}}));
        }
    return DONE;
}

}  // namespace

Runner DefineHost(CLI::App& app) {
    const auto pArgs = std::make_shared<HostArguments>();
    app.add_option("SCRIPT", pArgs->strScript,
                   "file of commands; none, or -: standard input; $ROOT and $STATE "
                   "stand for the folders; a failure ends it, an answer 'no' does not");
    app.add_flag("--echo", pArgs->bEcho, "print each command before it runs");
    return [pArgs](Session& session) { return RunHost(session, *pArgs); };
}

Runner DefineHelp(CLI::App& app) {
    const auto pArgs = std::make_shared<HelpArguments>();
    app.add_option("COMMAND", pArgs->vecWord, "the command, and one of its own commands");
    app.add_flag("--man", pArgs->bMan, "the manual page of the program, in roff");
    return [pArgs](Session& session) { return ShowHelp(session, *pArgs); };
}

Runner DefineQuit(CLI::App&) {
    return [](Session& session) {
        session.Quit();
        return DONE;
    };
}

}  // namespace host

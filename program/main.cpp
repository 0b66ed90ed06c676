#include "command.h"
#include "global_arguments.h"
#include "help.h"
#include "mistake.h"

#include "zemb/black_box.h"
#include "zemb/control.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace {

// The words of the command; "--process" before it is one of its own options.
std::vector<std::string> WordsOf(const CLI::App& app, const host::GlobalArguments& args) {
    std::vector<std::string> vecWord = app.remaining();
    if (!vecWord.empty() && !args.strProcess.empty())
        vecWord.insert(std::find(vecWord.begin(), vecWord.end(), "--"),
                       "--process=" + args.strProcess);
    return vecWord;
}

int Run(int argc, char** argv) {
    host::GlobalArguments args;
    CLI::App app(
        "Host process and toolbox of the tovelkarin module: tovelkarin [OPTIONS] COMMAND ...",
        "tovelkarin");
    host::DefineGlobal(app, args);
    app.add_option("--process", args.strProcess, "for commands that show other processes: which");
    app.set_version_flag("--version", "tovelkarin " TOVELKARIN_VERSION);
    app.footer(host::HelpText() +
               "\n'tovelkarin COMMAND --help' tells more.\n\n"
               "Exit status: 0 done, 1 the answer is no, 2 wrong usage, 3 the system failed.");
    app.prefix_command();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);
            return host::DONE;
        }
        host::Complain(std::string(error.what()) + "; 'tovelkarin --help' tells more");
        return host::WRONG_USAGE;
    }
    const std::vector<std::string> vecWord = WordsOf(app, args);
    if (vecWord.empty()) {
        std::cerr << host::FirstSteps();
        return host::WRONG_USAGE;
    }
    if (vecWord.front().compare(0, 1, "-") == 0) {
        host::Complain("no option '" + vecWord.front() + "'; " + host::WordMeant(app, vecWord) +
                       "'tovelkarin --help' tells more");
        return host::WRONG_USAGE;
    }
    // What runs for long can be looked into from outside. A command that answers at once is none of
    // the server processes that others list.
    const bool bServer = vecWord.front() == "host" || vecWord.front() == "load";
    zemb::SetBlackBox(bServer);
    zemb::SetLogFiles(bServer);  // a command leaves the logs, which are evidence, as they are
    host::Session session;
    const int nStatus = host::RunCommand(session, vecWord, &args);
    const int nEnd = std::max(nStatus, session.End());
    if (session.out.IsGood())
        return nEnd;
    host::Complain("standard output cannot be written");
    return host::SYSTEM_FAILED;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        host::Complain(error.what());
        return host::SYSTEM_FAILED;
    }
}

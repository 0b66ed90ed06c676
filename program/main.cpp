#include "command.h"
#include "global_arguments.h"

#include "zemb/black_box.h"
#include "zemb/control.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace {

int Run(int argc, char** argv) {
    host::GlobalArguments args;
    CLI::App app(
        "Host process and toolbox of the tovelkarin module: tovelkarin [OPTIONS] COMMAND ...",
        "tovelkarin");
    host::DefineGlobal(app, args);
    app.set_version_flag("--version", "tovelkarin " TOVELKARIN_VERSION);
    app.footer("Commands:\n" + host::HelpText() +
               "\n'tovelkarin COMMAND --help' tells more.\n\n"
               "Exit status: 0 done, 1 the answer is no, 2 wrong usage, 3 the system failed.");
    app.prefix_command();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? host::DONE : host::WRONG_USAGE;
    }
    const std::vector<std::string> vecWord = app.remaining();
    if (vecWord.empty()) {
        std::cerr << app.help();
        return host::WRONG_USAGE;
    }
    if (!args.strRoot.empty())
        zemb::SetRootPath(args.strRoot);
    if (!args.strState.empty())
        zemb::SetStatePath(args.strState);
    // What runs for long can be looked into from outside. A command that answers at once is none of
    // the server processes that others list.
    const bool bServer = vecWord.front() == "host" || vecWord.front() == "load";
    zemb::SetBlackBox(bServer);
    zemb::SetLogFiles(bServer);  // a command leaves the logs, which are evidence, as they are
    host::Session session(args.bJson);
    const int nStatus = host::RunCommand(session, vecWord);
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

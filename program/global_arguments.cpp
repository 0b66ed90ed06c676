#include "global_arguments.h"

#include "session.h"
#include "view/colors.h"

#include "zemb/control.h"

#include <CLI/CLI.hpp>

#include <map>

namespace host {

namespace {

const std::map<std::string, EColors> COLORS = {
    {"auto", EColors::AUTO}, {"always", EColors::ALWAYS}, {"never", EColors::NEVER}};

}  // namespace

void DefineGlobal(CLI::App& app, GlobalArguments& args) {
    const auto IsFree = [&](const char* szName) {
        return app.get_option_no_throw(szName) == nullptr;
    };
    if (IsFree("--root"))
        app.add_option("--root", args.strRoot, "installation root; else the variable ZEMB_ROOT");
    if (IsFree("--state"))
        app.add_option("--state", args.strState,
                       "folder of logs; else the variable ZEMB_STATE, else var under the root");
    if (IsFree("--json"))
        app.add_flag("--json", args.bJson, "one JSON object a line instead of text");
    if (IsFree("--raw"))
        app.add_flag("--raw", args.bRaw, "texts with their control characters, for a file");
    if (IsFree("--local"))
        app.add_flag("--local", args.bLocal, "times of the local zone, on a terminal alone");
    if (IsFree("--color"))
        app.add_option("--color", args.strColor, "auto: on terminals, without NO_COLOR")
            ->check(CLI::IsMember({"auto", "always", "never"}));
}

void DefineGlobalWithin(CLI::App& command, GlobalArguments& args) {
    std::vector<CLI::App*> vecApp = command.get_subcommands({});
    vecApp.push_back(&command);
    for (CLI::App* const pApp : vecApp) {
        const std::size_t nOwn = pApp->get_options().size();
        DefineGlobal(*pApp, args);
        const std::vector<CLI::Option*> vecOption = pApp->get_options({});
        for (std::size_t i = nOwn; i < vecOption.size(); ++i)
            vecOption[i]->group("");
    }
}

void Apply(const GlobalArguments& args, Session& session) {
    if (!args.strRoot.empty())
        zemb::SetRootPath(args.strRoot);
    if (!args.strState.empty())
        zemb::SetStatePath(args.strState);
    SetColors(COLORS.at(args.strColor));
    session.out.Configure({args.bJson, args.bRaw, args.bLocal});
}

}  // namespace host

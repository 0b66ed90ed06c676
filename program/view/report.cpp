#include "view/command_error.h"

#include "view/output.h"

#include <CLI/CLI.hpp>

// Apart from command_error.cpp: the checks and readers throw and are linked without the option
// parser too.
namespace host {

std::string NameOfParsed(const CLI::App& app) {
    std::string strName = app.get_name();
    for (const CLI::App* const pInner : app.get_subcommands())
        strName += " " + NameOfParsed(*pInner);
    return strName;
}

int Report(const CommandError& error, const CLI::App& app) {
    const CLI::App* pCommand = &app;
    while (pCommand->get_parent() != nullptr)
        pCommand = pCommand->get_parent();
    const std::string strName = error.eName == EName::NONE      ? ""
                                : error.eName == EName::COMMAND ? pCommand->get_name()
                                                                : NameOfParsed(*pCommand);
    Complain(strName.empty() ? error.what() : strName + ": " + error.what());
    return error.nStatus;
}

}  // namespace host

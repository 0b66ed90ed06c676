#pragma once

#include <string>

namespace CLI {
class App;
}

namespace host {

class Session;

// Options of the whole program, which may stand anywhere in the line.
struct GlobalArguments {
    std::string strRoot;
    std::string strState;
    std::string strColor = "auto";
    std::string strProcess;  // handed on to the command
    bool bJson = false;
    bool bRaw = false;
    bool bLocal = false;
};

// Names them; one that the command has itself is left to it.
void DefineGlobal(CLI::App& app, GlobalArguments& args);

// The same for a command and its own commands, without a word of it in their help.
void DefineGlobalWithin(CLI::App& command, GlobalArguments& args);

// Brings the process and the output to what was given.
void Apply(const GlobalArguments& args, Session& session);

}  // namespace host

#pragma once

#include <string>

namespace CLI {
class App;
}

namespace host {

// What stands before the command.
struct GlobalArguments {
    std::string strRoot;
    std::string strState;
    bool bJson = false;
};

void DefineGlobal(CLI::App& app, GlobalArguments& args);

}  // namespace host

#include "global_arguments.h"

#include <CLI/CLI.hpp>

namespace host {

void DefineGlobal(CLI::App& app, GlobalArguments& args) {
    app.add_option("--root", args.strRoot, "installation root; else the variable ZEMB_ROOT");
    app.add_option("--state", args.strState,
                   "folder of logs; else the variable ZEMB_STATE, else var under the root");
    app.add_flag("--json", args.bJson, "one JSON object a line instead of text");
}

}  // namespace host

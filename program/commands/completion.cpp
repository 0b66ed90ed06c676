#include "candidates.h"
#include "command.h"
#include "view/record.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <utility>

// The completion scripts. They know nothing themselves: they hand the words to the program, which
// offers what fits, and leave files to the shell where it offers nothing.
namespace host {

namespace {

constexpr std::pair<const char*, const char*> SCRIPTS[] = {
    {"bash", R"(# Completion of tovelkarin for bash, made by 'tovelkarin completion bash'.
_tovelkarin() {
    local IFS=$'\n'
    COMPREPLY=($("${COMP_WORDS[0]}" completion --of -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
}
complete -o default -F _tovelkarin tovelkarin)"},
    {"zsh", R"(#compdef tovelkarin
# Completion of tovelkarin for zsh, made by 'tovelkarin completion zsh'.
_tovelkarin() {
    local -a fitting
    fitting=("${(@f)$("${words[1]}" completion --of -- "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ -n "$fitting" ]]; then compadd -a fitting; else _files; fi
}
if [[ "${funcstack[1]}" == _tovelkarin ]]; then _tovelkarin "$@"; else compdef _tovelkarin tovelkarin; fi)"},
    {"fish", R"(# Completion of tovelkarin for fish, made by 'tovelkarin completion fish'.
function __tovelkarin_fitting
    set -l fitting (tovelkarin completion --of -- (commandline -opc)[2..] (commandline -ct) 2>/dev/null)
    if test -n "$fitting"
        printf '%s\n' $fitting
    else
        __fish_complete_path (commandline -ct)
    end
end
complete -c tovelkarin -f -a '(__tovelkarin_fitting)')"},
};

struct CompletionArguments {
    std::string strShell = "bash";
    std::vector<std::string> vecWord;
    bool bOf = false;
};

int PutCompletion(const Session& session, const CompletionArguments& args) {
    if (args.bOf) {
        for (const std::string& strWord : Candidates(args.vecWord))
            session.out.Put(strWord, RecordOf({{"candidate", strWord}}));
        return DONE;
    }
    for (const auto& [szShell, szScript] : SCRIPTS)
        if (args.strShell == szShell)
            session.out.Put(szScript, RecordOf({{"completion", szScript}}));
    return DONE;
}

}  // namespace

Runner DefineCompletion(CLI::App& app) {
    const auto pArgs = std::make_shared<CompletionArguments>();
    app.add_flag("--of", pArgs->bOf, "what the last of the words behind -- may become");
    app.add_option_function<std::vector<std::string>>(
        "SHELL", [pArgs](const std::vector<std::string>& vecWord) { pArgs->vecWord = vecWord; },
        "bash, zsh or fish; with --of the words");
    return [pArgs](Session& session) {
        if (!pArgs->bOf && !pArgs->vecWord.empty())
            pArgs->strShell = pArgs->vecWord.front();
        const auto IsThis = [&](const auto& script) { return pArgs->strShell == script.first; };
        if (!pArgs->bOf && std::none_of(std::begin(SCRIPTS), std::end(SCRIPTS), IsThis))
            throw CommandError(WRONG_USAGE, "expected bash, zsh or fish", EName::COMMAND);
        return PutCompletion(session, *pArgs);
    };
}

}  // namespace host

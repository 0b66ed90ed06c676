#include "command.h"
#include "view/record.h"

#include <CLI/CLI.hpp>

// The completion script for bash, out of the table of commands: a case for each command and each of
// its own commands, with the words that may follow.
namespace host {

namespace {

constexpr const char* SCRIPT_BEGIN =
    R"(# Completion of tovelkarin for bash, made by 'tovelkarin completion'.
_tovelkarin() {
    local command= sub= words= i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            --root | --state) ((++i)); [[ ${COMP_WORDS[i]} != = ]] || ((++i)) ;;
            -*) ;;
            *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}
               elif [[ -z $sub ]]; then sub=${COMP_WORDS[i]}; fi ;;
        esac
    done
    COMPREPLY=()
    ((i == COMP_CWORD)) || return 0  # a folder: bash knows those
    case $command/$sub in
)";

constexpr const char* SCRIPT_END = R"(    esac
    COMPREPLY=($(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]}"))
}
complete -o default -F _tovelkarin tovelkarin)";

std::string CommandNames() {
    std::string strWords;
    for (const Command& command : Commands())
        strWords += std::string(command.szName) + " ";
    return strWords;
}

// "run list --help": the words that may follow.
std::string WordsOf(CLI::App& app) {
    std::string strWords;
    for (const CLI::App* const pSub : app.get_subcommands({}))
        strWords += pSub->get_name() + " ";
    for (const CLI::Option* const pOption : app.get_options())
        for (const std::string& strName : pOption->get_lnames())
            strWords += "--" + strName + " ";
    return strWords;
}

std::string Case(const std::string& strPattern, const std::string& strWords) {
    return "        " + strPattern + ") words='" + strWords.substr(0, strWords.size() - 1) +
           "' ;;\n";
}

std::string Script() {
    std::string strScript = SCRIPT_BEGIN;
    strScript += Case("/", CommandNames() + "--root --state --json --version --help ");
    strScript += Case("help/", CommandNames());
    for (const Command& command : Commands()) {
        CLI::App app;
        command.Define(app);
        const std::string strName = command.szName;
        for (CLI::App* const pSub : app.get_subcommands({}))
            strScript += Case(strName + "/" + pSub->get_name(), WordsOf(*pSub));
        strScript += Case(strName + "/*", WordsOf(app));
    }
    return strScript + SCRIPT_END;
}

}  // namespace

Runner DefineCompletion(CLI::App& /*app*/) {
    return [](Session& session) {
        const std::string strScript = Script();
        session.out.Put(strScript, RecordOf({{"completion", strScript}}));
        return DONE;
    };
}

}  // namespace host

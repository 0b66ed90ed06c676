#include "mistake.h"

#include "command.h"
#include "view/nearest.h"

#include <CLI/CLI.hpp>

#include <algorithm>

// What a user probably meant who typed something else: a word that is not there, or a command that
// would do nothing for the server he has in mind.
namespace host {

namespace {

std::string Question(const std::string& strMeant) {
    return strMeant.empty() ? "" : "did you mean '" + strMeant + "'? ";
}

std::vector<std::string> NamesOf(const std::vector<const CLI::App*>& vecApp) {
    std::vector<std::string> vecName;
    vecName.reserve(vecApp.size());
    for (const CLI::App* const pApp : vecApp)
        vecName.push_back(pApp->get_name());
    return vecName;
}

std::vector<std::string> OptionsOf(const CLI::App& app) {
    std::vector<std::string> vecName;
    for (const CLI::Option* const pOption : app.get_options())
        for (const std::string& strName : pOption->get_lnames())
            vecName.push_back("--" + strName);
    return vecName;
}

bool HasPositionals(const CLI::App& app) {
    const auto vecOption = app.get_options();
    return std::any_of(vecOption.begin(), vecOption.end(),
                       [](const CLI::Option* pOption) { return pOption->get_positional(); });
}

struct LocalCommand {
    const char* szName;
    const char* szMeant;
};

// clang-format off
constexpr LocalCommand LOCAL_COMMANDS[] = {
    {"acquire",       "'why' tells whether a server would grant it"},
    {"release",       "'running' shows what servers have granted"},
    {"trail take",    "'running' shows what servers have granted"},
    {"trail give",    "'running' shows what servers have granted"},
    {"trail list",    "'running' shows what servers have granted"},
    {"mutex load",    "'mutex matrix' shows a table, 'check mutex' looks it over"},
    {"task start",    "'task run' runs one to its end"},
    {"task abort",    "'task list' shows those of servers"},
    {"task finish",   "'task list' shows those of servers"},
    {"errors --clear", "'errors' shows those of servers"},
    {"threads enter", "'threads' shows those of servers"},
    {"threads leave", "'threads' shows those of servers"},
    {"threads wait",  "'threads' shows those of servers"},
    {"module start",  "'module list' shows what a start loads"},
    {"module stop",   "'module list' shows what a start loads"},
    {"trace on",      "'log --follow' shows lines as they come"},
    {"trace off",     "'log --follow' shows lines as they come"},
    {"trace level",   "'log --level' shows lines by their level"},
    {"chain on",      "log/callchain.jsonl has the records of servers"},
    {"chain off",     "log/callchain.jsonl has the records of servers"},
    {"chain begin",   "log/callchain.jsonl has the records of servers"},
    {"chain end",     "log/callchain.jsonl has the records of servers"},
    {"chain set",     "log/callchain.jsonl has the records of servers"},
    {"chain trace",   "log/callchain.jsonl has the records of servers"},
    {"clock",         "'time' shows the time"},
};
// clang-format on

const LocalCommand* FindLocal(const std::string& strName) {
    const auto* const pEnd = std::end(LOCAL_COMMANDS);
    const auto* const pFound =
        std::find_if(std::begin(LOCAL_COMMANDS), pEnd,
                     [&](const LocalCommand& command) { return strName == command.szName; });
    return pFound == pEnd ? nullptr : pFound;
}

}  // namespace

const CLI::App* OwnCommand(const CLI::App& app, const std::string& strName) {
    for (const CLI::App* const pSub : app.get_subcommands(nullptr))
        if (pSub->get_name() == strName)
            return pSub;
    return nullptr;
}

std::string CommandMeant(const std::string& strName) {
    std::vector<std::string> vecName;
    for (const Command& command : Commands())
        vecName.emplace_back(command.szName);
    return Question(NearestOf(strName, vecName));
}

std::string WordMeant(const CLI::App& app, const std::vector<std::string>& vecWord) {
    const CLI::App* pApp = &app;
    std::string strName = app.get_name();
    for (const std::string& strWord : vecWord) {
        const std::vector<std::string> vecSub = NamesOf(pApp->get_subcommands(nullptr));
        if (const CLI::App* const pSub = OwnCommand(*pApp, strWord)) {
            pApp = pSub;
            strName += " " + strWord;
        } else if (strWord.compare(0, 2, "--") == 0) {
            const std::vector<std::string> vecOption = OptionsOf(*pApp);
            const std::string strOption = strWord.substr(0, strWord.find('='));
            if (std::find(vecOption.begin(), vecOption.end(), strOption) == vecOption.end())
                return Question(NearestOf(strOption, vecOption));
        } else if (!vecSub.empty() && !HasPositionals(*pApp)) {
            const std::string strNearest = NearestOf(strWord, vecSub);
            return Question(strNearest.empty() ? "" : strName + " " + strNearest);
        }
    }
    return "";
}

void RequireHost(const Session& session, const std::string& strName) {
    const LocalCommand* const pLocal = FindLocal(strName);
    if (pLocal != nullptr && !session.bHosting)
        throw CommandError(WRONG_USAGE, strName +
                                            ": it would end with this program, and no server would "
                                            "see it; for use inside 'host' and scripts; " +
                                            pLocal->szMeant);
}

void TellForHost(CLI::App& app) {
    for (CLI::App* const pSub : app.get_subcommands({}))
        if (FindLocal(app.get_name() + " " + pSub->get_name()) != nullptr)
            pSub->description(pSub->get_description() + "; inside 'host'");
}

bool IsForHost(const std::string& strName) {
    return FindLocal(strName) != nullptr || strName == "trail" || strName == "chain";
}

}  // namespace host

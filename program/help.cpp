#include "help.h"

#include "base/root_files.h"
#include "mistake.h"
#include "view/columns.h"

// The help over all commands. What is said of one stands in the table of commands.
namespace host {

namespace {

struct HelpGroup {
    EGroup eGroup;
    const char* szTitle;
    std::string strExamples;
};

// clang-format off
const std::vector<HelpGroup>& HelpGroups() {
    static const std::vector<HelpGroup> vecGroup = {
    {EGroup::EXCLUSION, "Exclusion",
     "  tovelkarin running\n"
     "  tovelkarin why 101 5/7/99\n"
     "  tovelkarin mutex matrix " + SampleFile(base::MUTEX_TABLE_UNDER_ROOT) + "\n"},
    {EGroup::TASKS, "Tasks",
     "  tovelkarin task list\n"
     "  tovelkarin task run 200 6 --user 7\n"
     "  tovelkarin threads\n"},
    {EGroup::LOGS, "Logs",
     "  tovelkarin log --last 20\n"
     "  tovelkarin oplog list --last 20\n"
     "  tovelkarin oplog verify\n"},
    {EGroup::CONFIGURATION, "Configuration",
     "  tovelkarin check mutex " + SampleFile(base::MUTEX_TABLE_UNDER_ROOT) + "\n"
     "  tovelkarin settings\n"
     "  tovelkarin timeout 1201\n"},
    {EGroup::OBJECT_TEXTS, "Object texts",
     "  tovelkarin fdn 'NE=5,FR=0,S=3,LP=3|7|300,'\n"
     "  tovelkarin otn ODU4:1-ODU2:3\n"
     "  tovelkarin backup view port.txt\n"},
    {EGroup::TEXT_TOOLS, "Text tools",
     "  tovelkarin time 1772352000\n"
     "  tovelkarin list 1-3,7\n"
     "  tovelkarin match 'NE-*' NE-5-OCH-3\n"},
    {EGroup::PROCESS, "Process",
     "  tovelkarin doctor\n"
     "  tovelkarin host share/scenarios/tour\n"
     "  tovelkarin help acquire\n"},
    };
    return vecGroup;
}

constexpr const char* FIRST_COMMANDS[] = {
    "doctor", "ps", "running", "why", "top", "log", "oplog", "check", "host", "help",
};
// clang-format on

}  // namespace

std::string SampleFile(const char* szUnderRoot) {
    return std::string("share/root") + szUnderRoot;
}

std::string HelpText() {
    std::string strHelp;
    for (const HelpGroup& group : HelpGroups()) {
        std::vector<std::vector<std::string>> vecRow;
        for (const Command& command : Commands())
            if (command.eGroup == group.eGroup)
                vecRow.push_back({std::string("  ") + command.szName, command.szSummary});
        strHelp += std::string(strHelp.empty() ? "" : "\n") + group.szTitle + ":\n" +
                   Table(vecRow) + "\n Examples:\n" + group.strExamples;
    }
    return strHelp;
}

std::string FirstSteps() {
    std::vector<std::vector<std::string>> vecRow;
    for (const char* const szName : FIRST_COMMANDS)
        vecRow.push_back({std::string("  ") + szName, FindCommand(szName)->szSummary});
    return "tovelkarin [OPTIONS] COMMAND ...; ten commands to start with:\n" + Table(vecRow) +
           "\n'tovelkarin help' shows all of them, 'tovelkarin help COMMAND' all about one.\n";
}

std::string FooterOf(const Command& command) {
    return (IsForHost(command.szName) ? "Example, inside 'host':\n  " : "Example:\n  ") +
           command.strExample;
}

}  // namespace host

#pragma once

#include "session.h"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

// Runs one command whose words have been read; returns its exit status.
using Runner = std::function<int(Session&)>;

// Names a command's arguments and options and gives what runs it. The runner owns what the
// arguments are read into.
using Definer = Runner (*)(CLI::App& app);

// What a command is about, in the order of the help.
enum class EGroup { EXCLUSION, TASKS, LOGS, CONFIGURATION, OBJECT_TEXTS, TEXT_TOOLS, PROCESS };

struct Command {
    EGroup eGroup;
    const char* szName;
    const char* szSummary;
    std::string strExample;  // one or more command lines, of 'host' where RequireHost wants one
    bool bNeedsModule;       // the module is started before it runs
    Definer Define;
};

// All commands, in the order of the help. The one table behind shell, console, help and completion.
const std::vector<Command>& Commands();

// The command of that name, or null.
const Command* FindCommand(const std::string& strName);

struct GlobalArguments;

// Runs a command from its words, the name first. Reports to standard error and returns the status:
// an unknown command or a wrong argument is WRONG_USAGE. With pGlobal the options of the whole
// program may stand among the words; they are brought into force.
int RunCommand(Session& session, const std::vector<std::string>& vecWord,
               GlobalArguments* pGlobal = nullptr);

// One family of commands each.
Runner DefineHost(CLI::App& app);
Runner DefineModule(CLI::App& app);
Runner DefineSettings(CLI::App& app);
Runner DefineAcquire(CLI::App& app);
Runner DefineRelease(CLI::App& app);
Runner DefineRunning(CLI::App& app);
Runner DefinePs(CLI::App& app);
Runner DefineEvents(CLI::App& app);
Runner DefineCounters(CLI::App& app);
Runner DefineWhy(CLI::App& app);
Runner DefinePostMortem(CLI::App& app);
Runner DefineTop(CLI::App& app);
Runner DefineTrail(CLI::App& app);
Runner DefineMutex(CLI::App& app);
Runner DefineCheck(CLI::App& app);
Runner DefineLang(CLI::App& app);
Runner DefineTrace(CLI::App& app);
Runner DefineClock(CLI::App& app);
Runner DefineTime(CLI::App& app);
Runner DefineText(CLI::App& app);
Runner DefineNeId(CLI::App& app);
Runner DefineNum(CLI::App& app);
Runner DefineIp(CLI::App& app);
Runner DefineList(CLI::App& app);
Runner DefineOid(CLI::App& app);
Runner DefineMatch(CLI::App& app);
Runner DefineLike(CLI::App& app);
Runner DefineFile(CLI::App& app);
Runner DefineCfg(CLI::App& app);
Runner DefineTimeout(CLI::App& app);
Runner DefineTimeouts(CLI::App& app);
Runner DefineFdn(CLI::App& app);
Runner DefineOtn(CLI::App& app);
Runner DefineFbType(CLI::App& app);
Runner DefineTask(CLI::App& app);
Runner DefineLoad(CLI::App& app);
Runner DefineErrors(CLI::App& app);
Runner DefineProgress(CLI::App& app);
Runner DefineDebugCmd(CLI::App& app);
Runner DefineUserCfg(CLI::App& app);
Runner DefineNode(CLI::App& app);
Runner DefineChain(CLI::App& app);
Runner DefineThreads(CLI::App& app);
Runner DefineAsn(CLI::App& app);
Runner DefineEvent(CLI::App& app);
Runner DefineOpLog(CLI::App& app);
Runner DefineLog(CLI::App& app);
Runner DefineBackup(CLI::App& app);
Runner DefineDoctor(CLI::App& app);
Runner DefineCompletion(CLI::App& app);
Runner DefineSay(CLI::App& app);
Runner DefineQuit(CLI::App& app);
Runner DefineHelp(CLI::App& app);

}  // namespace host

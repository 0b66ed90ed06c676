#include "command.h"

#include "base/root_files.h"
#include "view/record.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

// The one table of commands: the shell, the prompt, completion, help and the manual page all walk
// it. A command defines its arguments and returns what runs it. It is defined anew for each run, so
// nothing is left over from one line of a script to the next.
namespace host {

namespace {

// A file of the sample root, as it is named from the top of the tree.
std::string Sample(const char* szUnderRoot) {
    return std::string("share/root") + szUnderRoot;
}

}  // namespace

const std::vector<Command>& Commands() {
    // clang-format off
    static const std::vector<Command> vecCommand = {
        {"host",     "load and start the module, then read commands from a script or standard input",
                     "host --echo share/scenarios/tour", true, DefineHost},
        {"acquire",  "ask for an operation on objects; tells what is in the way",
                     "acquire 101 5/7/99 --by alice", true, DefineAcquire},
        {"release",  "give back what was granted",
                     "release 1", true, DefineRelease},
        {"running",  "show who holds what, since when",
                     "running", false, DefineRunning},
        {"ps",       "list the processes of the state folder, and what each is busy with",
                     "ps", false, DefinePs},
        {"top",      "watch processes, grants, busy NEs and tasks on a full screen",
                     "top --once", false, DefineTop},
        {"why",      "tell whether another process would grant an operation now, or what is in the way",
                     "why 101 5/7/99 --process 4711", false, DefineWhy},
        {"events",   "show what another process granted and refused last; follow or record it",
                     "events --since 5m --refused\n  events --record today.events", false,
                     DefineEvents},
        {"counters", "show what another process has counted since its start",
                     "counters", false, DefineCounters},
        {"post-mortem", "show what a process that died held and did",
                     "post-mortem", false, DefinePostMortem},
        {"trail",    "mark trails as busy, give them back, list them",
                     "trail take crew-1 3 9", true, DefineTrail},
        {"mutex",    "load a table file of conflicting operations, or show it as a matrix or graph",
                     "mutex matrix " + Sample(base::MUTEX_TABLE_UNDER_ROOT), false,
                     DefineMutex},
        {"check",    "look for faults in configuration files",
                     "check mutex " + Sample(base::MUTEX_TABLE_UNDER_ROOT), false,
                     DefineCheck},
        {"lang",     "load and look up texts of the process language; compare languages",
                     "lang missing en zh\n  lang get --load refusal.4101F001", true, DefineLang},
        {"cfg",      "show the items of a configuration file as a process reads them; change one",
                     "cfg " + Sample(base::EMS_UNDER_ROOT) + " " + base::KEY_OVERTIME_LOW +
                     "\n  cfg set my.cfg retry 3", false, DefineCfg},
        {"timeout",  "tell how long a command request may take, and why",
                     "timeout 1201 --count 5 --offset", true, DefineTimeout},
        {"timeouts", "show the whole table of request time-outs in force",
                     "timeouts", true, DefineTimeouts},
        {"file",     "paths in parts, sizes, listings; delete the oldest of many files",
                     "file absolute /a/b/../c\n  file prune log --keep 10 --dry-run", false,
                     DefineFile},
        {"fdn",      "take an FDN apart: pairs, port key, path; or build one",
                     "fdn 'NE=5,FR=0,S=3,LP=3|7|300,'\n  fdn build 1 7", true, DefineFdn},
        {"otn",      "take a path through the optical transport hierarchy, or its location ID, apart",
                     "otn ODU4:1-ODU2:3 0x01100010", true, DefineOtn},
        {"backup",   "show the backup text of an object, read a value of it, build one",
                     "backup view port.txt\n  backup get port.txt SUBS/C1[2]/label\n"
                     "  backup build PORT id=5 'label=a,b' vlans:list=1-3,7", false, DefineBackup},
        {"fbtype",   "tell to which function block a detailed type belongs",
                     "fbtype 862\n  fbtype --table", true, DefineFbType},
        {"text",     "trim, turn, cut and replace text",
                     "text upper 'och 3'\n  text words --separators , 'a,b'", false, DefineText},
        {"neid",     "read NE identifiers in any form and write them in all",
                     "neid 5-3 0x50003", false, DefineNeId},
        {"num",      "read decimal and hexadecimal numbers and write them as both",
                     "num 0x1F -- -12", false, DefineNum},
        {"ip",       "turn IPv4 addresses into numbers and back",
                     "ip 10.0.0.1 0x0A000001", false, DefineIp},
        {"list",     "read a list of numbers in any notation and write it in all",
                     "list 1-3,7\n  list '1&&3&7' --to span", false, DefineList},
        {"oid",      "read an OID and write it with its runs",
                     "oid 1,3,6,7,8", false, DefineOid},
        {"match",    "print the names that fit a pattern",
                     "match 'NE-*-OCH-?' NE-5-OCH-3 NE-5-ODU-3", false, DefineMatch},
        {"like",     "make an SQL LIKE pattern of what a user typed",
                     "like '5%*' --column name", false, DefineLike},
        {"time",     "show times as seconds, in UTC and in the local zone",
                     "time 1772352000 --zone Europe/Berlin", false, DefineTime},
        {"settings", "show the settings of the process and where each comes from",
                     "settings", false, DefineSettings},
        {"module",   "list the loaded modules; start, stop or load one",
                     "module list", true, DefineModule},
        {"task",     "run an operation as a server process does: task, exclusion, progress, log",
                     "task run 200 6 --user 7\n  task start 200 6\n  task abort 1", false, DefineTask},
        {"load",     "run many operations on many NEs at once, and check that nothing went wrong",
                     "load --tasks 100000 --threads 4 --nes 1000", true, DefineLoad},
        {"progress", "show the missions of all tasks with their percent",
                     "progress", false, DefineProgress},
        {"errors",   "show what NEs replied that somebody should know of",
                     "errors", false, DefineErrors},
        {"node",     "write a node identifier as text",
                     "node 20003", false, DefineNode},
        {"usercfg",  "show and set values of the user configuration",
                     "usercfg set view rows 50\n  usercfg get view rows", false, DefineUserCfg},
        {"debugcmd", "execute a debug command; the registry takes none, so nothing answers",
                     "debugcmd show", false, DefineDebugCmd},
        {"chain",    "record which call led to which",
                     "chain on\n  chain begin upload", false, DefineChain},
        {"threads",  "show the registered threads; register this one, or wait for all",
                     "threads\n  threads enter backup", false, DefineThreads},
        {"asn",      "trace a value as the messages of NEs are traced",
                     "asn share/asn/connect.json --mode 3", true, DefineAsn},
        {"oplog",    "show, follow, export, verify and prune the operation log",
                     "oplog list --user 7 --object 'NE 5*'\n  oplog follow", false, DefineOpLog},
        {"event",    "send an event; 51 writes an entry of the operation log",
                     "event 51 'made a trail' --user 7 --command 1201", true, DefineEvent},
        {"log",      "show a module's log file: by level, time and text; follow it",
                     "log --last 20 --follow\n  log --text '*refused*' --from 2026-03-01", false,
                     DefineLog},
        {"trace",    "write a line to the module's log, or show its lines as they come",
                     "trace line 'NE %d: %s' 5 ready", true, DefineTrace},
        {"clock",    "show, move or stop the platform's clock",
                     "clock +301", false, DefineClock},
        {"doctor",   "look over root, files, state folder, clock, room and versions; say what to do",
                     "doctor", false, DefineDoctor},
        {"completion", "print the completion script for bash",
                     "completion > ~/.local/share/bash-completion/completions/tovelkarin", false,
                     DefineCompletion},
        {"say",      "print a text",
                     "say 'Alice begins.'", false, DefineSay},
        {"help",     "show the commands, or all about one",
                     "help acquire", false, DefineHelp},
        {"quit",     "stop reading commands",
                     "quit", false, DefineQuit},
    };
    // clang-format on
    return vecCommand;
}

const Command* FindCommand(const std::string& strName) {
    const auto& vecCommand = Commands();
    const auto it = std::find_if(vecCommand.begin(), vecCommand.end(),
                                 [&](const Command& command) { return strName == command.szName; });
    return it == vecCommand.end() ? nullptr : &*it;
}

std::string HelpText() {
    std::vector<std::vector<std::string>> vecRow;
    for (const Command& command : Commands())
        vecRow.push_back({std::string("  ") + command.szName, command.szSummary});
    return Table(vecRow);
}

namespace {

int PutHelp(const Output& out, const Command& command, std::string strHelp) {
    while (!strHelp.empty() && strHelp.back() == '\n')
        strHelp.pop_back();
    out.Put(strHelp, RecordOf({{"command", command.szName}, {"help", strHelp}}));
    return DONE;
}

}  // namespace

int RunCommand(Session& session, const std::vector<std::string>& vecWord) {
    const Command* const pCommand = FindCommand(vecWord.front());
    if (pCommand == nullptr) {
        Complain("no command '" + vecWord.front() + "'; 'help' lists the commands");
        return WRONG_USAGE;
    }
    CLI::App app(pCommand->szSummary, pCommand->szName);
    app.footer("Example:\n  " + pCommand->strExample);
    const Runner run = pCommand->Define(app);
    try {
        app.parse(std::vector<std::string>(vecWord.rbegin(), vecWord.rend() - 1));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return PutHelp(session.out, *pCommand, app.help());
        const std::string strName = NameOfParsed(app);
        Complain(strName + ": " + error.what() + "; 'help " + strName + "' tells more");
        return WRONG_USAGE;
    }
    try {
        if (pCommand->bNeedsModule)
            session.Start();
        return run(session);
    } catch (const CommandError& error) {
        return Report(error, app);
    } catch (const std::exception& error) {
        return Report(CommandError(SYSTEM_FAILED, error.what(), EName::COMMAND), app);
    }
}

}  // namespace host

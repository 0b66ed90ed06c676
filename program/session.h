#pragma once

#include "check/timeout_file.h"
#include "commands/ledger.h"
#include "view/output.h"

#include "tovelkarin/tnreadcfg.h"

#include "zemb/control.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace host {

class TaskRunner;
class TrailHolder;

// What the commands of one run of the program share: the started module, the book of grants, the
// trails in hand, the clock.
class Session {
public:
    Session();
    ~Session();  // gives everything back and stops the module, if it was started

    // Starts the module over the installation root and loads the root's own table file, if it has
    // one; nothing when it runs. Commands call it before they run and do not start again what was
    // stopped; bAgain does.
    void Start(bool bAgain = false);
    // Gives everything back, stops the module, waits for threads and for the operation log.
    void Stop();
    // Stop, if it was started; what fails is told. Returns the exit status.
    int End();

    // Loads a table file into the library and the book; throws CommandError when it cannot be
    // opened. False when some of its lines are bad.
    bool LoadTable(const std::string& strFile);
    // What is told of such lines.
    static void TellBadLines(const std::string& strFile);

    // Loads a request time-out file into the library; "": none but the root's own, which Start has
    // loaded if there is one. Returns the file that was loaded last, or "".
    std::string LoadTimeouts(const std::string& strFile);

    // Shows the module's log lines on standard output as they are written.
    void EchoTrace(bool bOn);
    bool IsEchoing() const { return m_pEcho != nullptr; }

    // Ends the reading of commands.
    void Quit() { m_bQuit = true; }
    bool IsQuit() const { return m_bQuit; }

    // Whether the commands are those of 'host': they mean this process unless they say otherwise.
    bool bHosting = false;

    // The path of a file of the state folder, which is "" when there is no such folder; throws
    // CommandError then.
    static std::string RequireState(const std::string& strFile);

    Output out;
    Ledger ledger;
    std::map<std::string, std::unique_ptr<TrailHolder>> mapTrail;
    std::shared_ptr<TaskRunner> pTaskRunner;  // made when it is first needed
    std::map<std::string, int> mapUser;       // numbers of those who asked, for the operation log
    std::map<std::string, NSTN_util::TNReadCfg> mapCfg;  // by the path as given
    std::optional<TimeoutFile> timeouts;  // what the time-out files said when they were loaded
    zemb::ScopedClock clock;

private:
    std::unique_ptr<zemb::ScopedDebugSink> m_pEcho;
    bool m_bStarted = false;
    bool m_bStopped = false;
    bool m_bEnded = false;
    bool m_bTableLoaded = false;
    std::string m_strTimeoutFile;
    bool m_bQuit = false;
};

}  // namespace host

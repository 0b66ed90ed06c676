#pragma once

#include "zemb/export.h"

#include <functional>
#include <string>

class ZembGnlTask;

// The host's and the tests' side of the embedded platform. Any thread unless said otherwise; what
// is replaced by a scope object is put back when the object goes.
namespace zemb {

// Sets the installation root in place of the environment variable ZEMB_ROOT.
ZEMB_API void SetRootPath(const std::string& strRoot);
// Back to the environment variable.
ZEMB_API void ResetRootPath();

// The folder of logs and databases: what was set here, else the environment variable ZEMB_STATE,
// else "var" under the root; "" when there is no root either. Made when it is first needed.
ZEMB_API void SetStatePath(const std::string& strState);
ZEMB_API void ResetStatePath();
ZEMB_API std::string GetStatePath();

// Sets the language of the process in place of the environment variable ZEMB_LANG; "": back to it.
ZEMB_API void SetLanguage(const std::string& strLanguage);

// Announces that the process is exiting (or not); ZembIsExit() tells.
ZEMB_API void SetExit(bool bExit);

// Makes a call-chain manager that writes each record as a line of <state>/log/callchain.jsonl, or
// takes it away again; at first there is none.
ZEMB_API void SetCallChain(bool bOn);
ZEMB_API std::string CallChainLog();  // "" without a state folder

// The platform's clock: microseconds since 1970, UTC.
ZEMB_API long long NowMicroseconds();
// The same in whole seconds, at the cost of one time().
ZEMB_API long long NowSeconds();
// nMicroseconds as "2026-03-01 08:00:00.123Z".
ZEMB_API std::string FormatTime(long long nMicroseconds);

// Moves the platform's clock; one at a time.
class ZEMB_API ScopedClock {
public:
    explicit ScopedClock(long nOffset = 0);  // seconds added to the system's time
    ~ScopedClock();                          // back to the system's time
    ScopedClock(const ScopedClock&) = delete;
    ScopedClock& operator=(const ScopedClock&) = delete;
    // Moves the clock on from where it is, or back.
    void Advance(long nSeconds);
    // Stops the clock at that moment; Advance still moves it.
    void Freeze(long long nMicroseconds);
};

// Puts a time zone in place of the process's own (environment variable TZ, else the system's):
// "Europe/Berlin". False, and nothing changed, when there is no such zone. "": back to the own one.
ZEMB_API bool SetTimeZone(const std::string& strZone);

// Makes the calling thread work on pTask; null: on none.
class ZEMB_API ScopedTask {
public:
    explicit ScopedTask(ZembGnlTask* pTask);
    ~ScopedTask();
    ScopedTask(const ScopedTask&) = delete;
    ScopedTask& operator=(const ScopedTask&) = delete;

private:
    ZembGnlTask* m_pBefore;
};

// One line on its way to a log.
struct DebugLine {
    std::string strModule;
    std::string strKind;  // the level in decimal; "A" assertion, "P" print, "E" exception
    std::string strText;  // as written by the caller, nothing escaped
};

// Gets each line as it was written.
using DebugSink = std::function<void(const DebugLine&)>;

// Sends every line to a function of the host, on the thread that wrote it. The platform holds no
// lock meanwhile; who wrote the line may, as the library does where its headers say so. The
// function may throw: the exception reaches the writer of the line.
class ZEMB_API ScopedDebugSink {
public:
    // bPassOn: the lines also go where they went before. The sink made last comes first.
    explicit ScopedDebugSink(DebugSink sink, bool bPassOn = false);
    ~ScopedDebugSink();  // lines on their way may still arrive while it runs
    ScopedDebugSink(const ScopedDebugSink&) = delete;
    ScopedDebugSink& operator=(const ScopedDebugSink&) = delete;

private:
    int m_nId;
};

// Takes all debug channels away: GetDebugInterface and GetDefaultDebugInterface answer null.
class ZEMB_API ScopedNoDebugChannel {
public:
    ScopedNoDebugChannel();
    ~ScopedNoDebugChannel();
    ScopedNoDebugChannel(const ScopedNoDebugChannel&) = delete;
    ScopedNoDebugChannel& operator=(const ScopedNoDebugChannel&) = delete;
};

// Drops the module's trace lines below nLevel. At first 0: all but those of negative levels are
// written.
ZEMB_API void SetTraceLevel(const std::string& strModule, int nLevel);

// The file that holds the module's log: <state>/log/<module>.log, "" when there is no state
// folder (lines then go to standard error). Characters other than letters, digits, "-" and "_" are
// "%" and two hexadecimal digits in the file's name; of a name of over 64 characters the beginning
// and a number stand for it.
ZEMB_API std::string LogFileOf(const std::string& strModule);

}  // namespace zemb

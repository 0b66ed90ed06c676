#pragma once

#include "zemb/export.h"

#include <functional>
#include <string>
#include <vector>

// Where the lines of the logs go. Any thread unless said
// otherwise; what a scope object replaces is put back when the object goes.
namespace zemb {

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

// The file that holds what this process writes into the module's log:
// <state>/log/<module>.<process>.log, "" when there is no state folder (lines then go to standard
// error). The process is what SetProcessName() says. Characters of a name other than letters,
// digits, "-" and "_" are "%" and two hexadecimal digits; of a name of over 64 characters the
// beginning and a number stand for it.
ZEMB_API std::string LogFileOf(const std::string& strModule);

// A file of a module's log.
struct LogFileName {
    std::string strFile;
    std::string strProcess;  // who writes it; "": a file of the time when all wrote one log
    int nAge = 0;            // 0: the present one; the higher, the older
};

// The files of a module's log, of all processes that have written into the state folder: by
// process, the oldest first. Throws std::system_error when the folder is there and cannot be read.
ZEMB_API std::vector<LogFileName> LogFilesOf(const std::string& strModule);

// Whether lines go into files, as they do at first. Without, they reach sinks only, and what the
// platform has to tell goes to standard error.
ZEMB_API void SetLogFiles(bool bWanted);

}  // namespace zemb

#pragma once

#include "zemb/debug_sink.h"

#include <sys/types.h>

#include <chrono>
#include <cstdio>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

// "2026-03-01 08:00:00.123Z [1234] 1 text"; an empty kind for a line of another form.
struct LogLine {
    std::string strProcess;
    std::string strWhole;
    std::string strTime;
    std::string strThread;
    std::string strKind;
    std::string strText;
    std::string strPlace;  // its time, or that of the line before: where it stands among others
};

// A file that others write, and which may give its name to a new one.
class LogReader {
public:
    // Throws CommandError when the file is there and cannot be read.
    explicit LogReader(std::string strFile);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    // The next line without its line feed; one that does not end yet only when bUnended.
    bool Next(std::string& strLine, bool bUnended);
    // Another file has the name now, or this one begins anew.
    bool IsReplaced() const;
    const std::string& File() const { return m_strFile; }

private:
    struct Close {
        void operator()(std::FILE* pFile) const { std::fclose(pFile); }
    };

    const std::string m_strFile;
    const std::unique_ptr<std::FILE, Close> m_pFile;  // null: it was not there
    char* m_szLine = nullptr;
    std::size_t m_nRoom = 0;
};

// The lines of a module's log that all processes of the state folder wrote, by time. Lines of one
// process stay in their order.
class MergedLog {
public:
    // strProcess: of one process only, unless it is "". Throws CommandError when there is no such
    // log, or when a file cannot be read.
    MergedLog(const std::string& strModule, const std::string& strProcess);
    ~MergedLog();
    MergedLog(const MergedLog&) = delete;
    MergedLog& operator=(const MergedLog&) = delete;

    // The next line of what was there at the beginning; a last one that does not end yet only when
    // bUnended. Cost: linear in the number of processes.
    bool Next(LogLine& line, bool bUnended);

    // What has come since, by time, when Next() has come to the end. Of files that give way to one
    // another between two looks only the last is shown.
    std::vector<LogLine> TakeNew();

private:
    class Stream;

    void AddStreams();
    bool Has(const std::string& strProcess) const;

    const std::string m_strModule;
    const std::string m_strProcess;
    std::list<Stream> m_listStream;
};

}  // namespace host

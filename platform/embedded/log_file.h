#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace zemb {

class LogFileSink;

// The log file of one module: opened at the first line under the state folder of that moment,
// reopened when the folder or the name of the process changes, rotated by size. Any thread; throws
// nothing: when the file cannot be written, one warning goes to standard error and lines are lost
// until it can.
class LogFile {
public:
    explicit LogFile(const std::string& strModule);
    ~LogFile();

    // Writes one line with time and thread in front; handed to the system before it returns.
    void Write(std::string_view strKind, std::string_view strText) noexcept;

private:
    std::shared_ptr<LogFileSink> Open();
    void Warn(const char* szReason);

    const std::string m_strModule;
    std::mutex m_lock;  // for what follows; not held while a line is written
    std::shared_ptr<LogFileSink> m_pSink;
    unsigned long m_nGeneration = 0;
    std::atomic<bool> m_bWarned{false};
};

// Whether lines go into files: see SetLogFiles().
bool HasLogFiles();

// Grows each time the host or a reset moves the state folder.
unsigned long StateGeneration();

}  // namespace zemb

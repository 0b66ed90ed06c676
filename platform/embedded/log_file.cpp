#include "embedded/log_file.h"

#include "base/escape.h"
#include "base/number_text.h"
#include "base/root_files.h"
#include "embedded/descriptor.h"
#include "embedded/fork_gate.h"
#include "embedded/item_line.h"
#include "embedded/line_file.h"
#include "embedded/log_names.h"
#include "embedded/state_folder.h"
#include "zemb/control.h"
#include "zemb/live.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

// The log of a module: lines with time, thread and kind, in files that are rotated by size. A line
// is put together in a string that keeps its room, and only the thousandths of its time are written
// anew within a second: a line takes 1.1 us with the write to the system. When the file cannot be
// written, standard error is told once and each further line tries again.
//
// Processes of one name share a log. Each line is one write behind the last one, so none is torn;
// one process at a time rotates, and the others see once a second that their file has another name.
// What they write until then stands in the file that gave way. A file is deleted only when nobody
// has it open to write: each writer holds a shared lock on its own.
namespace zemb {

namespace {

constexpr std::uint32_t FILE_BYTES = 10U << 20;  // size at which a log is rotated
constexpr std::uint32_t FILE_BYTES_LEAST = 4096;
constexpr int HELD_MOST = 64;  // files beyond those that are kept, since somebody has them open
constexpr std::uint32_t FILES_KEPT = 5;       // rotated files beside the current one
constexpr std::size_t LINE_KEPT = 64U << 10;  // room for lines of a log that is not given back
std::atomic<bool> g_bWanted{true};
constexpr std::size_t TIME_CHARS = 24;  // "2026-03-01 08:00:00.123Z"

// "time [thread] kind text". One thread at a time.
class LineFormatter {
public:
    // Puts the line into the place of what strLine holds.
    void Format(std::string_view strKind, std::string_view strText, std::string& strLine) {
        strLine.clear();
        AppendTime(strLine);
        strLine += " [";
        AppendThread(strLine);
        strLine.append("] ").append(strKind) += ' ';
        base::AppendEscaped(strText, "\t", strLine);
        strLine += '\n';
    }

    // Of the last line, since 1970; -1 before.
    long long Second() const { return m_nSecond; }

private:
    static void AppendThread(std::string& strLine) {
        static thread_local const pid_t t_nThread = gettid();
        strLine += base::IntegerText(t_nThread);
    }

    void AppendTime(std::string& strLine) {
        const long long nNow = NowMicroseconds();
        const long long nSecond = nNow / 1000000;
        if (nNow < 0 || nSecond != m_nSecond || m_strTime.size() != TIME_CHARS) {
            m_strTime = FormatTime(nNow);
            m_nSecond = nNow < 0 ? -1 : nSecond;
        } else {
            const long long nMilli = nNow % 1000000 / 1000;
            // Same second: only the thousandths are written anew.
            m_strTime[20] = static_cast<char>('0' + nMilli / 100);
            m_strTime[21] = static_cast<char>('0' + nMilli / 10 % 10);
            m_strTime[22] = static_cast<char>('0' + nMilli % 10);
        }
        strLine += m_strTime;
    }

    long long m_nSecond = -1;
    std::string m_strTime;
};

// Whether nobody has the file open to write into it any more; then it is gone.
bool DeleteUnused(const std::string& strFile) {
    const Descriptor file(open(strFile.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file.Get() == -1)  // of a file that cannot be opened nobody knows; a link holds no lines
        return errno == ENOENT || (errno == ELOOP && unlink(strFile.c_str()) == 0);
    return flock(file.Get(), LOCK_EX | LOCK_NB) == 0 && unlink(strFile.c_str()) == 0;
}

// One process at a time rotates the logs of a folder. Whoever does not get the lock goes on with
// the file that is there.
class RotationLock {
public:
    explicit RotationLock(const std::string& strFile)
        : m_folder(open(strFile.substr(0, strFile.rfind('/')).c_str(),
                        O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_bHeld(m_folder.Get() != -1 && flock(m_folder.Get(), LOCK_EX | LOCK_NB) == 0) {}
    bool IsHeld() const { return m_bHeld; }

private:
    const Descriptor m_folder;
    const bool m_bHeld;
};

void Rename(const std::string& strFrom, const std::string& strTo) {
    if (rename(strFrom.c_str(), strTo.c_str()) != 0 && errno != ENOENT)
        FailOn(strTo);
}

// Makes room for a new file: each one gets the name of the next older one, and what is older than
// nKept goes. A file that a process still has open, since it was stopped or has written nothing
// for long, stays beyond that until it is let go. False when there are too many of these.
bool Rotate(const std::string& strFile, int nKept) {
    int nOldest = nKept;  // the first number that is free
    for (int nAge = nKept; nAge <= nKept + HELD_MOST; ++nAge)
        if (!DeleteUnused(RotatedName(strFile, nAge)))
            nOldest = nAge + 1;
    if (nOldest > nKept + HELD_MOST)
        return false;
    for (int nAge = nOldest - 1; nAge >= 0; --nAge)
        Rename(RotatedName(strFile, nAge), RotatedName(strFile, nAge + 1));
    return true;
}

}  // namespace

// The files of one log. Any thread.
class LogFileSink {
public:
    explicit LogFileSink(const std::string& strFile)
        : m_strFile(strFile),
          m_nBytes(NumberUnderRoot(base::KEY_LOG_BYTES, FILE_BYTES, FILE_BYTES_LEAST, 1U << 30)),
          m_nKept(static_cast<int>(NumberUnderRoot(base::KEY_LOG_FILES, FILES_KEPT, 1, 999))),
          m_pFile(std::make_unique<LineFile>(strFile)) {}

    void Write(std::string_view strKind, std::string_view strText) {
        std::lock_guard<std::mutex> guard(m_lock);
        m_formatter.Format(strKind, strText, m_strLine);
        if (m_formatter.Second() != m_nLookedAt || m_pFile->Size() + m_strLine.size() > m_nBytes)
            Look();
        m_pFile->Append(m_strLine);
        if (m_strLine.capacity() > LINE_KEPT)
            m_strLine = {};
    }

private:
    // Once a second, and when the file seems full: other processes write into it, and may have
    // given it another name.
    void Look() {
        m_nLookedAt = m_formatter.Second();
        if (!m_pFile->IsNamed())
            m_pFile = std::make_unique<LineFile>(m_strFile);
        if (m_pFile->Size() == 0 || m_pFile->Size() + m_strLine.size() <= m_nBytes)
            return;
        const RotationLock lock(m_strFile);
        if (!lock.IsHeld())
            return;
        if (m_pFile->IsNamed() && !Rotate(m_strFile, m_nKept))
            return;
        // Where another process was quicker, that one's is the new file.
        m_pFile = std::make_unique<LineFile>(m_strFile);
    }

    const std::string m_strFile;
    const std::size_t m_nBytes;
    const int m_nKept;
    long long m_nLookedAt = 0;
    std::mutex m_lock;
    LineFormatter m_formatter;
    std::string m_strLine;  // keeps its room from line to line
    std::unique_ptr<LineFile> m_pFile;
};

LogFile::LogFile(const std::string& strModule) : m_strModule(strModule) {}

LogFile::~LogFile() = default;

std::shared_ptr<LogFileSink> LogFile::Open() {
    std::lock_guard<std::mutex> guard(m_lock);
    const unsigned long nGeneration = StateGeneration();
    if (m_pSink != nullptr && m_nGeneration == nGeneration)
        return m_pSink;
    m_pSink = nullptr;
    const std::string strFile = LogFileOf(m_strModule);
    if (strFile.empty())
        return nullptr;
    m_pSink = std::make_shared<LogFileSink>(strFile);
    m_nGeneration = nGeneration;
    return m_pSink;
}

void LogFile::Write(std::string_view strKind, std::string_view strText) noexcept {
    if (!HasLogFiles())
        return;
    const ForkGate gate;
    try {
        if (const std::shared_ptr<LogFileSink> pSink = Open()) {
            pSink->Write(strKind, strText);
            if (m_bWarned.load(std::memory_order_relaxed))
                m_bWarned = false;
            LiveCount(ELiveCounter::LINES_WRITTEN);
        } else {
            std::string strLine;
            LineFormatter().Format(strKind, strText, strLine);
            std::fwrite(strLine.data(), 1, strLine.size(), stderr);
        }
    } catch (const std::exception& error) {
        Warn(error.what());
    } catch (...) {
        Warn("unknown error");
    }
}

void LogFile::Warn(const char* szReason) {
    LiveCount(ELiveCounter::LINES_LOST);
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_pSink = nullptr;  // the next line tries again
    }
    if (m_bWarned.exchange(true))
        return;
    std::fprintf(stderr,
                 "zembedded: log of module %s: %s; its lines are lost until this is mended\n",
                 m_strModule.c_str(), szReason);
}

void SetLogFiles(bool bWanted) {
    g_bWanted = bWanted;
}

bool HasLogFiles() {
    return g_bWanted.load(std::memory_order_relaxed);
}

}  // namespace zemb

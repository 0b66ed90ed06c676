#include "embedded/log_file.h"

#include "base/escape.h"
#include "base/number_text.h"
#include "base/read_number.h"
#include "embedded/fork_gate.h"
#include "embedded/line_file.h"
#include "zemb/control.h"
#include "zemb/live.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <system_error>

// The log of a module: lines with time, thread and kind, in files that are rotated at 10 MB. A line
// is put together in a string that keeps its room, and only the thousandths of its time are written
// anew within a second: a line takes 1.1 us with the write to the system. When the file cannot be
// written, standard error is told once and each further line tries again.
namespace zemb {

namespace {

constexpr std::size_t FILE_BYTES = 10U << 20;  // size at which a log is rotated
constexpr int FILES_KEPT = 5;                  // rotated files beside the current one
constexpr std::size_t LINE_KEPT = 64U << 10;   // room for lines of a log that is not given back
constexpr std::size_t NAME_MAX_CHARS = 64;     // of a module's name in the name of its file
constexpr std::size_t TIME_CHARS = 24;         // "2026-03-01 08:00:00.123Z"

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

// "m.log" for 0, else "m.3.log".
std::string RotatedName(const std::string& strFile, int nAge) {
    const std::size_t nDot = strFile.rfind('.');
    return nAge == 0 ? strFile
                     : strFile.substr(0, nDot) + "." + std::to_string(nAge) + strFile.substr(nDot);
}

// Makes room for a new file: each one gets the name of the next older one, the oldest goes.
void Rotate(const std::string& strFile) {
    for (int nAge = FILES_KEPT; nAge > 0; --nAge) {
        const std::string strTo = RotatedName(strFile, nAge);
        if (rename(RotatedName(strFile, nAge - 1).c_str(), strTo.c_str()) != 0 && errno != ENOENT)
            throw std::system_error(errno, std::generic_category(), strTo);
    }
}

}  // namespace

// The files of one log. Any thread.
class LogFileSink {
public:
    explicit LogFileSink(const std::string& strFile)
        : m_strFile(strFile), m_pFile(std::make_unique<LineFile>(strFile)) {}

    void Write(std::string_view strKind, std::string_view strText) {
        std::lock_guard<std::mutex> guard(m_lock);
        m_formatter.Format(strKind, strText, m_strLine);
        if (m_pFile->Size() + m_strLine.size() > FILE_BYTES && m_pFile->Size() > 0) {
            if (m_pFile->IsNamed())  // else another process, or another try, has done that
                Rotate(m_strFile);
            m_pFile = std::make_unique<LineFile>(m_strFile);
        }
        m_pFile->Append(m_strLine);
        if (m_strLine.capacity() > LINE_KEPT)
            m_strLine = {};
    }

private:
    const std::string m_strFile;
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

std::string LogFileOf(const std::string& strModule) {
    const std::string strState = GetStatePath();
    if (strState.empty())
        return "";
    std::string strName = strModule.empty() ? "%" : "";
    for (const char c : strModule.substr(0, NAME_MAX_CHARS)) {
        const bool bPlain = base::IsLetterOrDigit(c) || c == '-' || c == '_';
        strName += bPlain ? c : '%';
        if (!bPlain)
            base::AppendHex(c, strName);
    }
    if (strModule.size() > NAME_MAX_CHARS)
        strName += "%" + std::to_string(std::hash<std::string>()(strModule));
    return strState + "/log/" + strName + ".log";
}

}  // namespace zemb

#include "embedded/log_file.h"

#include "embedded/escape.h"
#include "embedded/state_folder.h"
#include "zemb/control.h"

#include <time.h>

#include <spdlog/sinks/rotating_file_sink.h>

#include <array>
#include <cstdio>
#include <exception>
#include <functional>

namespace zemb {

namespace {

constexpr std::size_t FILE_BYTES = 10U << 20;  // size at which a log is rotated
constexpr std::size_t FILES_KEPT = 5;          // rotated files beside the current one
constexpr std::size_t NAME_MAX_CHARS = 64;     // of a module's name in the name of its file
constexpr std::size_t TIME_CHARS = 24;         // "2026-03-01 08:00:00.123Z"

// Characters that could end a line, move a cursor or be mistaken for an escape.
constexpr std::array<bool, 256> EscapedChars() {
    std::array<bool, 256> arrEscaped{};
    for (std::size_t i = 0; i < 0x20; ++i)
        arrEscaped[i] = i != '\t';
    arrEscaped[0x7F] = true;
    arrEscaped['\\'] = true;
    return arrEscaped;
}

constexpr std::array<bool, 256> ESCAPED = EscapedChars();

// "time [thread] kind text". The sink calls it under its lock.
class LineFormatter final : public spdlog::formatter {
public:
    void format(const spdlog::details::log_msg& msg, spdlog::memory_buf_t& buf) override {
        AppendTime(buf);
        AppendText(" [", buf);
        AppendThread(msg.thread_id, buf);
        AppendText("] ", buf);
        AppendText({msg.logger_name.data(), msg.logger_name.size()}, buf);
        buf.push_back(' ');
        const char* p = msg.payload.data();
        const char* const pEnd = p + msg.payload.size();
        while (p != pEnd) {
            const char* const pPlain = p;
            while (p != pEnd && !ESCAPED[static_cast<unsigned char>(*p)])
                ++p;
            buf.append(pPlain, p);
            if (p != pEnd)
                AppendEscaped(*p++, buf);
        }
        buf.push_back('\n');
    }

    std::unique_ptr<spdlog::formatter> clone() const override {
        return std::make_unique<LineFormatter>();
    }

private:
    static void AppendText(std::string_view strText, spdlog::memory_buf_t& buf) {
        buf.append(strText.data(), strText.data() + strText.size());
    }

    static void AppendThread(std::size_t nThread, spdlog::memory_buf_t& buf) {
        const fmt::format_int text(nThread);
        buf.append(text.data(), text.data() + text.size());
    }

    void AppendTime(spdlog::memory_buf_t& buf) {
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
        AppendText(m_strTime, buf);
    }

    long long m_nSecond = -1;
    std::string m_strTime;
};

spdlog::file_event_handlers Handlers() {
    spdlog::file_event_handlers handlers;
    handlers.before_open = [](const spdlog::filename_t& strFile) { MakeStateFile(strFile); };
    handlers.after_open = [](const spdlog::filename_t&, std::FILE* pFile) {
        // Each line is one write: whole lines in the file, none lost when the process dies.
        std::setvbuf(pFile, nullptr, _IONBF, 0);
    };
    return handlers;
}

}  // namespace

class LogFileSink {
public:
    explicit LogFileSink(const std::string& strFile)
        : m_sink(strFile, FILE_BYTES, FILES_KEPT, false, Handlers()) {
        m_sink.set_formatter(std::make_unique<LineFormatter>());
    }

    void Write(std::string_view strKind, std::string_view strText) {
        m_sink.log(spdlog::details::log_msg(spdlog::log_clock::time_point(), {},
                                            {strKind.data(), strKind.size()}, spdlog::level::info,
                                            {strText.data(), strText.size()}));
    }

private:
    spdlog::sinks::rotating_file_sink_mt m_sink;
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
    try {
        if (const std::shared_ptr<LogFileSink> pSink = Open()) {
            pSink->Write(strKind, strText);
            if (m_bWarned.load(std::memory_order_relaxed))
                m_bWarned = false;
        } else {
            spdlog::memory_buf_t buf;
            LineFormatter().format(
                spdlog::details::log_msg(spdlog::log_clock::time_point(), {},
                                         {strKind.data(), strKind.size()}, spdlog::level::info,
                                         {strText.data(), strText.size()}),
                buf);
            std::fwrite(buf.data(), 1, buf.size(), stderr);
        }
    } catch (const std::exception& error) {
        Warn(error.what());
    } catch (...) {
        Warn("unknown error");
    }
}

void LogFile::Warn(const char* szReason) {
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
        const bool bPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                            (c >= '0' && c <= '9') || c == '-' || c == '_';
        strName += bPlain ? c : '%';
        if (!bPlain)
            AppendHex(c, strName);
    }
    if (strModule.size() > NAME_MAX_CHARS)
        strName += "%" + std::to_string(std::hash<std::string>()(strModule));
    return strState + "/log/" + strName + ".log";
}

}  // namespace zemb

#pragma once

#include "zemb/control.h"
#include "zemb/debug.h"
#include "zemb/operlog_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace support {

// Collects what is written to the logs instead of writing it.
class DebugCapture {
public:
    DebugCapture()
        : m_sink([this](const zemb::DebugLine& line) {
              std::lock_guard<std::mutex> guard(m_lock);
              m_vecLine.push_back(line);
          }) {}

    // The texts so far, and forgets them.
    std::vector<std::string> Take() {
        std::lock_guard<std::mutex> guard(m_lock);
        std::vector<std::string> vecText;
        for (const zemb::DebugLine& line : m_vecLine)
            vecText.push_back(line.strText);
        m_vecLine.clear();
        return vecText;
    }

    // The same as "module kind text".
    std::vector<std::string> TakeWhole() {
        std::lock_guard<std::mutex> guard(m_lock);
        std::vector<std::string> vecText;
        for (const zemb::DebugLine& line : m_vecLine)
            vecText.push_back(line.strModule + " " + line.strKind + " " + line.strText);
        m_vecLine.clear();
        return vecText;
    }

private:
    std::mutex m_lock;
    std::vector<zemb::DebugLine> m_vecLine;
    zemb::ScopedDebugSink m_sink;
};

// A folder of its own that is gone with the object.
class TempFolder {
public:
    TempFolder() {
        char szName[] = "/tmp/tovelkarin.XXXXXX";
        m_strPath = mkdtemp(szName);
    }
    ~TempFolder() { std::filesystem::remove_all(m_strPath); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string Path(const std::string& strName = "") const {
        return strName.empty() ? m_strPath : m_strPath + "/" + strName;
    }

    // Writes a file, with the folders above it; returns its path.
    std::string Write(const std::string& strName, const std::string& strText) const {
        const std::string strPath = Path(strName);
        std::filesystem::create_directories(std::filesystem::path(strPath).parent_path());
        std::ofstream(strPath, std::ios::binary) << strText;
        return strPath;
    }

private:
    std::string m_strPath;
};

// Calls fnBody(n), n from 0, on as many threads, which wait for each other before they begin.
template <class Body>
void RunTogether(std::size_t nThreads, const Body& fnBody) {
    std::atomic<std::size_t> nReady{0};
    std::vector<std::thread> vecThread;
    for (std::size_t n = 0; n < nThreads; ++n)
        vecThread.emplace_back([&, n] {
            nReady.fetch_add(1, std::memory_order_relaxed);
            while (nReady.load(std::memory_order_relaxed) != nThreads)
                std::this_thread::yield();
            fnBody(n);
        });
    for (std::thread& thread : vecThread)
        thread.join();
}

// When a file was changed last, in seconds.
inline void SetFileTime(const std::string& strPath, long nSeconds) {
    const timespec arrTime[] = {{nSeconds, 0}, {nSeconds, 0}};
    EXPECT_EQ(0, utimensat(AT_FDCWD, strPath.c_str(), arrTime, 0)) << strPath;
}

// Entries of the operation log, oldest first.
inline std::vector<zemb::OperLogRow> OperLogRows(const zemb::OperLogFilter& filter = {}) {
    std::vector<zemb::OperLogRow> vecRow;
    std::string strError;
    const auto Take = [&](const zemb::OperLogRow& row) { return vecRow.push_back(row), true; };
    EXPECT_TRUE(zemb::ReadOperLog(filter, Take, strError)) << strError;
    return vecRow;
}

inline std::string ReadAll(const std::string& strPath) {
    std::ifstream file(strPath, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace support

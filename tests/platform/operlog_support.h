#pragma once

#include "tests/support.h"
#include "zemb/operlog.h"

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace support {

constexpr long long MORNING = 1772352000000000LL;  // 2026-03-01 08:00
constexpr const char* NO_DATABASE = "no database at all, but long enough to be looked at";

// A connection of somebody else.
class OtherConnection {
public:
    explicit OtherConnection(const std::string& strFile) {
        EXPECT_EQ(SQLITE_OK, sqlite3_open(strFile.c_str(), &m_pHandle));
    }
    ~OtherConnection() { sqlite3_close(m_pHandle); }
    void Run(const char* szSql) {
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(m_pHandle, szSql, nullptr, nullptr, nullptr))
            << sqlite3_errmsg(m_pHandle);
    }

private:
    sqlite3* m_pHandle = nullptr;
};

class OperLogStoreTest : public testing::Test {
protected:
    OperLogStoreTest() { UseState("state"); }
    ~OperLogStoreTest() override {
        zemb::SetOperLogRoom(10000);
        zemb::SetStatePath(m_folder.Path("rest"));
        zemb::FlushOperLog();  // nothing is left for the next test
        zemb::ResetStatePath();
    }

    // Runs fn in a child process; true when it answers true there.
    template <class Fn>
    static bool InChild(Fn fn) {
        const pid_t nChild = fork();
        if (nChild == 0)
            _exit(fn() ? 0 : 1);
        int nStatus = -1;
        return waitpid(nChild, &nStatus, 0) == nChild && nStatus == 0;
    }

    static bool Prune() {
        long long nDeleted = 0;
        std::string strError;
        return zemb::PruneOperLog("2000", nDeleted, strError);
    }

    // Databases and write-ahead logs that were put aside as damaged.
    std::vector<std::string> Aside() const {
        std::vector<std::string> vecAside;
        for (const auto& entry : std::filesystem::directory_iterator(m_strState))
            if (entry.path().string().find("damaged") != std::string::npos)
                vecAside.push_back(entry.path());
        return vecAside;
    }

    void UseState(const std::string& strName) {
        m_strState = m_folder.Path(strName);
        zemb::SetStatePath(m_strState);
    }

    static ZembLogInfo Info(int nUserId, const char* szDesc = "") {
        ZembLogInfo info;
        info.nUserId = nUserId;
        std::strcpy(info.szDesc, szDesc);
        return info;
    }

    static std::vector<int> Users(const zemb::OperLogFilter& filter = {}) {
        std::vector<int> vecUser;
        for (const zemb::OperLogRow& row : OperLogRows(filter))
            vecUser.push_back(row.nUserId);
        return vecUser;
    }

    TempFolder m_folder;
    std::string m_strState;
    DebugCapture m_debug;
};

}  // namespace support

#include "zemb/user_config.h"

#include "base/cancel_hold.h"
#include "embedded/database.h"
#include "embedded/fault_point.h"
#include "embedded/state_folder.h"
#include "zemb/control.h"
#include "zemb/settings.h"

#include <filesystem>
#include <memory>

namespace zemb {

namespace {

constexpr auto WAIT_MOST = std::chrono::seconds(2);

std::string FileOf() {
    const std::string strState = GetStatePath();
    if (strState.empty())
        throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
    return strState + "/usercfg.db";
}

std::unique_ptr<Database> Open(int nFlags) {
    return std::make_unique<Database>(FileOf(), nFlags | SQLITE_OPEN_NOMUTEX,
                                      std::chrono::steady_clock::now() + WAIT_MOST);
}

}  // namespace

bool SetUserCfg(const UserCfgItem& item, std::string& strError) {
    const base::CancelHold hold;
    try {
        MakeStateFile(FileOf());
        const std::unique_ptr<Database> pDatabase =
            Open(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        pDatabase->UseWal();
        pDatabase->Run(
            "CREATE TABLE IF NOT EXISTS usercfg (section TEXT, key TEXT, value TEXT, PRIMARY KEY "
            "(section, key))");
        Statement statement(*pDatabase, "INSERT OR REPLACE INTO usercfg VALUES (?1, ?2, ?3)");
        statement.Bind(1, item.strSection);
        statement.Bind(2, item.strKey);
        statement.Bind(3, item.strValue);
        statement.Step();
        return true;
    } catch (const std::exception& error) {
        strError = error.what();
        return false;
    }
}

bool ReadUserCfg(std::vector<UserCfgItem>& vecItem, std::string& strError) {
    const base::CancelHold hold;
    try {
        if (!std::filesystem::exists(FileOf()))
            return true;
        const std::unique_ptr<Database> pDatabase = Open(SQLITE_OPEN_READWRITE);
        if (pDatabase->Number("SELECT count(*) FROM sqlite_master WHERE name = 'usercfg'") == 0)
            return true;
        Statement statement(*pDatabase,
                            "SELECT section, key, value FROM usercfg ORDER BY section, key");
        while (statement.Step())
            vecItem.push_back({statement.Text(0), statement.Text(1), statement.Text(2)});
        return true;
    } catch (const std::exception& error) {
        strError = error.what();
        return false;
    }
}

}  // namespace zemb

namespace FrameUtil {

bool GetUserCfgInfo(const std::string& strSection, const std::string& strKey,
                    std::string& strValue) noexcept {
    const base::CancelHold hold;
    try {
        if (zemb::IsFaultyNoThrow("GetUserCfgInfo") || !std::filesystem::exists(zemb::FileOf()))
            return false;
        const std::unique_ptr<zemb::Database> pDatabase = zemb::Open(SQLITE_OPEN_READWRITE);
        zemb::Statement statement(*pDatabase,
                                  "SELECT value FROM usercfg WHERE section = ?1 AND key = ?2");
        statement.Bind(1, strSection);
        statement.Bind(2, strKey);
        if (!statement.Step())
            return false;
        strValue = statement.Text(0);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace FrameUtil

#include "zemb/user_config.h"

#include "base/cancel_hold.h"
#include "embedded/database.h"
#include "embedded/fault_point.h"
#include "embedded/tell.h"
#include "zemb/control.h"
#include "zemb/settings.h"

#include <filesystem>
#include <memory>
#include <mutex>

// A table of values in a database of its own. Writing opens it each time; reading one value, which
// the library does often, keeps its connection and its statement, and opens them anew when the path
// leads to another file. In a write-ahead log readers wait for nobody.
namespace zemb {

namespace {

constexpr const char* WHAT = "user values: ";
constexpr auto WAIT_MOST = std::chrono::seconds(2);

std::string FileOf() {
    const std::string strState = GetStatePath();
    if (strState.empty())
        throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
    return strState + "/usercfg.db";
}

Database::Deadline LongestWaitForValues() {
    return std::chrono::steady_clock::now() + WAIT_MOST;
}

// What was wrong with the write-ahead log: values in what was kept of it may be nowhere else.
void TellNotice(const Database& database) {
    if (!database.Notice().empty())
        TellOfPlatform(WHAT, database.Notice());
}

bool HasValues(Database& database) {
    return database.Number("SELECT count(*) FROM sqlite_master WHERE name = 'usercfg'") != 0;
}

class KeptReader {
public:
    bool Get(const std::string& strSection, const std::string& strKey, std::string& strValue) {
        std::string strNotice;
        const bool bFound = Find(strSection, strKey, strValue, strNotice);
        if (!strNotice.empty())
            TellOfPlatform(WHAT, strNotice);
        return bFound;
    }

private:
    bool Find(const std::string& strSection, const std::string& strKey, std::string& strValue,
              std::string& strNotice) {
        std::lock_guard<std::mutex> guard(m_lock);
        if (!OpenIfNeeded(FileOf(), strNotice))
            return false;
        m_pDatabase->SetDeadline(LongestWaitForValues());
        try {
            m_pFind->Bind(1, strSection);
            m_pFind->Bind(2, strKey);
            const bool bFound = m_pFind->Step();
            if (bFound)
                strValue = m_pFind->Text(0);
            m_pFind->Reset();
            return bFound;
        } catch (...) {
            m_pFind.reset();
            m_pDatabase.reset();
            throw;
        }
    }

    // False when there are no values.
    bool OpenIfNeeded(const std::string& strFile, std::string& strNotice) {
        if (m_pFind != nullptr && strFile == m_strFile && m_pDatabase->IsInPlace())
            return true;
        m_pFind.reset();
        m_pDatabase.reset();
        if (!std::filesystem::exists(strFile))
            return false;
        m_strFile = strFile;
        m_pDatabase =
            std::make_unique<Database>(strFile, Database::Access::Read, LongestWaitForValues());
        strNotice = m_pDatabase->Notice();
        if (HasValues(*m_pDatabase))
            m_pFind = std::make_unique<Statement>(
                *m_pDatabase, "SELECT value FROM usercfg WHERE section = ?1 AND key = ?2");
        return m_pFind != nullptr;
    }

    std::mutex m_lock;
    std::string m_strFile;
    std::unique_ptr<Database> m_pDatabase;
    std::unique_ptr<Statement> m_pFind;  // null while there are no values
};

PerProcess<KeptReader> g_reader;

}  // namespace

bool SetUserCfg(const UserCfgItem& item, std::string& strError) {
    const base::CancelHold hold;
    try {
        Database database(FileOf(), Database::Access::Write, LongestWaitForValues());
        TellNotice(database);
        database.UseWal();
        database.Run(
            "CREATE TABLE IF NOT EXISTS usercfg (section TEXT, key TEXT, value TEXT, PRIMARY KEY "
            "(section, key))");
        Statement statement(database, "INSERT OR REPLACE INTO usercfg VALUES (?1, ?2, ?3)");
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
        Database database(FileOf(), Database::Access::Read, LongestWaitForValues());
        TellNotice(database);
        if (!HasValues(database))
            return true;
        Statement statement(database,
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
        return !zemb::IsFaultyNoThrow("GetUserCfgInfo") &&
               zemb::g_reader.Get().Get(strSection, strKey, strValue);
    } catch (...) {
        return false;
    }
}

}  // namespace FrameUtil

#include "base/cancel_hold.h"
#include "base/read_number.h"
#include "embedded/database_wal.h"
#include "embedded/operlog_database.h"
#include "zemb/operlog_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <thread>

// Reading, verifying and pruning the operation log. A filter becomes one SQL condition with bound
// values. Old entries are deleted some thousand at once, with a pause between, so that writers get
// in. A log of another user that nobody has open is read as it stands: files that SQLite would make
// beside it would keep its owner out.
namespace zemb {

namespace {

constexpr int PRUNED_AT_ONCE = 5000;

constexpr const char* COLUMNS =
    "id, time, user, address, command, object, result_kind, result, description, level, "
    "category, process";

// A whole time, or the beginning of one up to a whole field; throws for any other text.
std::string TimeOf(std::string strTime) {
    static constexpr std::string_view FORM = "0000-00-00 00:00:00.000Z";
    static constexpr std::string_view HIGHEST = "9999-12-31 23:59:60.999Z";
    if (strTime.size() > 10 && strTime[10] == 'T')
        strTime[10] = ' ';
    bool bGood = strTime.size() >= 4 && strTime.size() <= FORM.size();
    for (std::size_t i = 0; bGood && i < strTime.size(); ++i) {
        const bool bDigit = FORM[i] == '0';
        bGood = bDigit ? base::IsDigit(strTime[i]) : strTime[i] == FORM[i];
        // At the end of a field: it is not over the highest, and the text does not end inside one.
        const bool bFieldEnds = i + 1 == FORM.size() || FORM[i + 1] != '0' || !bDigit;
        if (bDigit && bFieldEnds)
            bGood = bGood && (i < 4 || strTime.compare(i - 1, 2, HIGHEST.substr(i - 1, 2)) <= 0);
        if (bDigit && !bFieldEnds && i + 1 == strTime.size())
            bGood = false;
    }
    if (!bGood)
        throw std::invalid_argument(
            "'" + strTime + "' is no time; expected such as 2026-03-01 or " + "2026-03-01 08:30");
    return strTime;
}

// The conditions of a filter, with their values in the order of the parameters.
class Where {
public:
    explicit Where(const OperLogFilter& filter) {
        Number("id > ?", filter.nAfterId != 0, filter.nAfterId);
        Number("user = ?", filter.nUserId.has_value(), filter.nUserId.value_or(0));
        Number("command = ?", filter.nCmd.has_value(),
               static_cast<std::int64_t>(filter.nCmd.value_or(0)));
        Number("result_kind = ?", filter.nResultKind.has_value(), filter.nResultKind.value_or(0));
        Text("time >= ?", filter.strFrom.empty() ? "" : TimeOf(filter.strFrom));
        Text("time < ?", filter.strTo.empty() ? "" : TimeOf(filter.strTo));
        Text("object LIKE ? ESCAPE '\\'", filter.strObjectLike);
        Text("description LIKE ? ESCAPE '\\'", filter.strDescLike);
    }

    const std::string& Sql() const { return m_strSql; }

    void Bind(Statement& statement) const {
        int n = 0;
        for (const Value& value : m_vecValue)
            if (value.bText)
                statement.Bind(++n, value.strText);
            else
                statement.Bind(++n, value.nNumber);
    }

private:
    struct Value {
        bool bText;
        std::int64_t nNumber;
        std::string strText;
    };

    void Add(const char* szCondition, const Value& value) {
        m_strSql.append(m_strSql.empty() ? " WHERE " : " AND ").append(szCondition);
        m_vecValue.push_back(value);
    }
    void Number(const char* szCondition, bool bSet, std::int64_t nNumber) {
        if (bSet)
            Add(szCondition, {false, nNumber, {}});
    }
    void Text(const char* szCondition, const std::string& strText) {
        if (!strText.empty())
            Add(szCondition, {true, 0, strText});
    }

    std::string m_strSql;
    std::vector<Value> m_vecValue;
};

OperLogRow RowOf(const Statement& statement) {
    OperLogRow row;
    int n = 0;
    row.nId = statement.Number(n++);
    row.strTime = statement.Text(n++);
    row.nUserId = static_cast<std::int32_t>(statement.Number(n++));
    row.nIpAddr = static_cast<std::uint32_t>(statement.Number(n++));
    row.nCmd = static_cast<std::uint64_t>(statement.Number(n++));
    row.strObject = statement.Text(n++);
    row.nResultKind = static_cast<std::int32_t>(statement.Number(n++));
    row.nResult = static_cast<std::uint64_t>(statement.Number(n++));
    row.strDesc = statement.Text(n++);
    row.nLevel = static_cast<unsigned>(statement.Number(n++));
    row.nCategory = static_cast<std::uint32_t>(statement.Number(n++));
    row.nProcess = static_cast<int>(statement.Number(n++));
    return row;
}

bool IsOwn(const std::string& strFile) {
    struct stat status {};
    return geteuid() == 0 || (stat(strFile.c_str(), &status) == 0 && status.st_uid == geteuid());
}

// A connection of a reader, or of one who changes what is there; null when there is no log yet.
// What was wrong with its write-ahead log goes to fnTell.
std::unique_ptr<Database> OpenLog(Database::Access access,
                                  const std::function<void(const std::string&)>& fnTell) {
    const std::string strFile = OperLogFile();
    if (strFile.empty())
        throw DatabaseError(SQLITE_CANTOPEN, "there is no state folder");
    if (!std::filesystem::exists(strFile))
        return nullptr;
    // What nobody has open is read as it stands: companions that a stranger makes beside it would
    // keep its owner out.
    const bool bForeign = !IsOwn(strFile) && !std::filesystem::exists(strFile + "-wal");
    auto pDatabase = std::make_unique<Database>(
        strFile, bForeign ? Database::Access::Frozen : access, LongestWait());
    if (!pDatabase->Notice().empty())
        fnTell(pDatabase->Notice());
    if (VersionOf(*pDatabase, strFile) == 0)
        return nullptr;
    if (access == Database::Access::Read)
        pDatabase->Run("PRAGMA case_sensitive_like = ON");
    return pDatabase;
}

// What damaged write-ahead logs were kept: entries in them may be nowhere else.
std::vector<std::string> KeptWals() {
    std::vector<std::string> vecKept;
    const std::string strFile = OperLogFile();
    std::error_code ignored;
    std::filesystem::directory_iterator it(std::filesystem::path(strFile).parent_path(), ignored);
    for (; !ignored && it != std::filesystem::directory_iterator(); it.increment(ignored))
        if (IsDamagedWalOf(strFile, it->path().filename().string()))
            vecKept.push_back("acknowledged entries may be in " + it->path().string() +
                              ", a write-ahead log that was found damaged, and nowhere else");
    return vecKept;
}

// Runs fn; false, with the text, when it throws.
template <class Fn>
bool Try(std::string& strError, Fn fn) {
    const base::CancelHold hold;
    try {
        fn();
        return true;
    } catch (const std::exception& error) {
        strError = error.what();
        return false;
    }
}

}  // namespace

bool IsOperLogTime(const std::string& strTime) {
    std::string strError;
    return Try(strError, [&] { TimeOf(strTime); });
}

bool ReadOperLog(const OperLogFilter& filter, const std::function<bool(const OperLogRow&)>& take,
                 std::string& strError) {
    return Try(strError, [&] {
        const Where where(filter);
        const std::unique_ptr<Database> pDatabase = OpenLog(Database::Access::Read, TellOfOperLog);
        if (pDatabase == nullptr)
            return;
        std::string strSql =
            std::string("SELECT ") + COLUMNS + " FROM operlog" + where.Sql() + " ORDER BY id";
        if (filter.nLast != 0)
            strSql = "SELECT * FROM (" + strSql + " DESC LIMIT " + std::to_string(filter.nLast) +
                     ") ORDER BY id";
        Statement statement(*pDatabase, strSql);
        where.Bind(statement);
        while (statement.Step() && take(RowOf(statement))) {
        }
    });
}

bool PruneOperLog(const std::string& strBefore, long long& nDeleted, std::string& strError) {
    nDeleted = 0;
    return Try(strError, [&] {
        const std::string strTime = TimeOf(strBefore);
        const std::unique_ptr<Database> pDatabase =
            OpenLog(Database::Access::Change, TellOfOperLog);
        if (pDatabase == nullptr)
            return;
        // Not all at once: writers come in between.
        Statement statement(*pDatabase,
                            "DELETE FROM operlog WHERE id IN (SELECT id FROM operlog WHERE time < "
                            "?1 LIMIT " +
                                std::to_string(PRUNED_AT_ONCE) + ")");
        for (int nChanges = PRUNED_AT_ONCE; nChanges == PRUNED_AT_ONCE; nDeleted += nChanges) {
            pDatabase->SetDeadline(LongestWait());
            statement.Bind(1, strTime);
            statement.Step();
            statement.Reset();
            nChanges = pDatabase->Changes();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
}

std::vector<std::string> VerifyOperLog() {
    const base::CancelHold hold;
    std::vector<std::string> vecProblem = KeptWals();
    std::string strError;
    const bool bRead = Try(strError, [&] {
        const std::unique_ptr<Database> pDatabase =
            OpenLog(Database::Access::Read,
                    [&](const std::string& strNotice) { vecProblem.push_back(strNotice); });
        if (pDatabase == nullptr)
            return;
        Statement statement(*pDatabase, "PRAGMA integrity_check");
        while (statement.Step())
            if (statement.Text(0) != "ok")
                vecProblem.push_back(OperLogFile() + ": " + statement.Text(0));
    });
    if (!bRead)
        vecProblem.push_back(strError);
    return vecProblem;
}

}  // namespace zemb

#include "embedded/database.h"

#include <thread>

namespace zemb {

Database::Database(const std::string& strFile, int nFlags, Deadline deadline)
    : m_strFile(strFile), m_deadline(deadline) {
    const int nCode = sqlite3_open_v2(strFile.c_str(), &m_pHandle, nFlags, nullptr);
    if (nCode != SQLITE_OK) {
        const std::string strText = strFile + ": " + sqlite3_errmsg(m_pHandle);
        sqlite3_close(m_pHandle);
        throw DatabaseError(nCode, strText);
    }
    sqlite3_busy_handler(m_pHandle, Wait, this);
}

int Database::Wait(void* pThis, int nCalls) {
    if (std::chrono::steady_clock::now() >= static_cast<Database*>(pThis)->m_deadline)
        return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(nCalls < 10 ? 1 : 10));
    return 1;
}

void Database::Fail(int nCode) const {
    throw DatabaseError(nCode, m_strFile + ": " + sqlite3_errmsg(m_pHandle));
}

Database::~Database() {
    sqlite3_close_v2(m_pHandle);
}

void Database::Run(const char* szSql) {
    const int nCode = sqlite3_exec(m_pHandle, szSql, nullptr, nullptr, nullptr);
    if (nCode != SQLITE_OK)
        Fail(nCode);
}

std::int64_t Database::Number(const char* szSql) {
    Statement statement(*this, szSql);
    return statement.Step() ? statement.Number(0) : 0;
}

std::string Database::Text(const char* szSql) {
    Statement statement(*this, szSql);
    return statement.Step() ? statement.Text(0) : "";
}

void Database::UseWal() {
    for (int nCalls = 0;; ++nCalls) {
        try {
            if (Text("PRAGMA journal_mode = WAL") != "wal")
                throw DatabaseError(SQLITE_CANTOPEN, "the database takes no write-ahead log");
            return;
        } catch (const DatabaseError& error) {
            // The switch itself does not wait for others that make it at the same time.
            if (error.nCode != SQLITE_BUSY || Wait(this, nCalls) == 0)
                throw;
        }
    }
}

Statement::Statement(const Database& database, const std::string& strSql) : m_database(database) {
    Check(sqlite3_prepare_v3(database.Handle(), strSql.data(), static_cast<int>(strSql.size()),
                             SQLITE_PREPARE_PERSISTENT, &m_pStatement, nullptr));
}

Statement::~Statement() {
    sqlite3_finalize(m_pStatement);
}

void Statement::Bind(int nParameter, std::int64_t nValue) {
    Check(sqlite3_bind_int64(m_pStatement, nParameter, nValue));
}

void Statement::Bind(int nParameter, std::string_view strText) {
    Check(sqlite3_bind_text64(m_pStatement, nParameter,
                              strText.data() == nullptr ? "" : strText.data(), strText.size(),
                              SQLITE_STATIC, SQLITE_UTF8));
}

bool Statement::Step() {
    const int nCode = sqlite3_step(m_pStatement);
    if (nCode != SQLITE_ROW && nCode != SQLITE_DONE)
        m_database.Fail(nCode);
    return nCode == SQLITE_ROW;
}

void Statement::Reset() {
    sqlite3_reset(m_pStatement);
}

std::int64_t Statement::Number(int nColumn) const {
    return sqlite3_column_int64(m_pStatement, nColumn);
}

std::string Statement::Text(int nColumn) const {
    const auto* const pText =
        reinterpret_cast<const char*>(sqlite3_column_text(m_pStatement, nColumn));
    return pText == nullptr
               ? std::string()
               : std::string(pText,
                             static_cast<std::size_t>(sqlite3_column_bytes(m_pStatement, nColumn)));
}

void Statement::Check(int nCode) const {
    if (nCode != SQLITE_OK)
        m_database.Fail(nCode);
}

}  // namespace zemb

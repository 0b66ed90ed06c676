#include "embedded/database.h"

namespace zemb {

namespace {

[[noreturn]] void Fail(sqlite3* pHandle, int nCode) {
    std::string strText = pHandle == nullptr ? sqlite3_errstr(nCode) : sqlite3_errmsg(pHandle);
    throw DatabaseError(nCode, strText);
}

}  // namespace

Database::Database(const std::string& strFile, int nFlags, int nBusyMilliseconds) {
    const int nCode = sqlite3_open_v2(strFile.c_str(), &m_pHandle, nFlags, nullptr);
    if (nCode != SQLITE_OK) {
        const DatabaseError error(nCode, strFile + ": " + sqlite3_errmsg(m_pHandle));
        sqlite3_close(m_pHandle);
        throw error;
    }
    SetBusyTimeout(nBusyMilliseconds);
}

Database::~Database() {
    sqlite3_close_v2(m_pHandle);
}

void Database::Run(const char* szSql) {
    const int nCode = sqlite3_exec(m_pHandle, szSql, nullptr, nullptr, nullptr);
    if (nCode != SQLITE_OK)
        Fail(m_pHandle, nCode);
}

std::int64_t Database::Number(const char* szSql) {
    Statement statement(*this, szSql);
    return statement.Step() ? statement.Number(0) : 0;
}

Statement::Statement(const Database& database, const std::string& strSql)
    : m_pHandle(database.Handle()) {
    Check(sqlite3_prepare_v3(m_pHandle, strSql.data(), static_cast<int>(strSql.size()),
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
        Fail(m_pHandle, nCode);
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
        Fail(m_pHandle, nCode);
}

}  // namespace zemb

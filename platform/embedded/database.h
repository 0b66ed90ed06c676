#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zemb {

// What SQLite answered, with the file and its text.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(int nCodeOf, const std::string& strText)
        : std::runtime_error(strText), nCode(nCodeOf & 0xFF) {}
    const int nCode;
};

// A connection; not for two threads at a time. Failures are thrown as DatabaseError.
class Database {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    // nFlags as of sqlite3_open_v2. Up to the deadline it waits for what others have locked.
    Database(const std::string& strFile, int nFlags, Deadline deadline);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Run(const char* szSql);
    // Of the first column of the first row.
    std::int64_t Number(const char* szSql);
    std::string Text(const char* szSql);
    // Switches the journal; throws when the database stays with another one.
    void UseWal();
    int Changes() const { return sqlite3_changes(m_pHandle); }
    void SetDeadline(Deadline deadline) { m_deadline = deadline; }
    sqlite3* Handle() const { return m_pHandle; }
    // Throws what SQLite says of the last failure.
    [[noreturn]] void Fail(int nCode) const;

private:
    static int Wait(void* pThis, int nCalls);

    const std::string m_strFile;
    sqlite3* m_pHandle = nullptr;
    Deadline m_deadline;
};

// A prepared statement.
class Statement {
public:
    Statement(const Database& database, const std::string& strSql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Parameters count from 1. A bound text must live until the statement is reset.
    void Bind(int nParameter, std::int64_t nValue);
    void Bind(int nParameter, std::string_view strText);
    bool Step();  // true: there is a row
    void Reset();
    std::int64_t Number(int nColumn) const;
    std::string Text(int nColumn) const;

private:
    void Check(int nCode) const;

    const Database& m_database;
    sqlite3_stmt* m_pStatement = nullptr;
};

}  // namespace zemb

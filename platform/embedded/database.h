#pragma once

#include "embedded/fork_gate.h"

#include <sqlite3.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

// Connections to SQLite's databases in the state folder.
//
// SQLite's locks on a database belong to the process and the file: whatever descriptor of the file
// the process closes, all its locks on it are gone, and another process may take the database apart
// while it is written. So nobody but SQLite opens or closes the file of a database once it stands
// under its name; it is made under another name, and looked at with stat(). Nor does a connection
// outlive a fork(): locks are not inherited, but SQLite's belief that it has them is. A child
// closes what it inherited, without touching the file, before fork() returns there.
namespace zemb {

// What SQLite answered, with the file and its text.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(int nCodeOf, const std::string& strText)
        : std::runtime_error(strText), nCode(nCodeOf & 0xFF) {}
    const int nCode;
};

// Which file a path leads to; {} for none.
using Identity = std::pair<dev_t, ino_t>;
Identity IdentityOf(const std::string& strFile);

struct Connection;

// A connection; not for two threads at a time. Failures are thrown as DatabaseError, or as
// std::system_error where a file could not be made.
class Database {
public:
    using Deadline = std::chrono::steady_clock::time_point;
    enum class Access {
        Write,   // makes the file, with the rights of the state folder, when there is none
        Read,    // writes nothing; leaves a write-ahead log that it found to those who write
        Change,  // of what is there already
        Frozen,  // what nobody has open is read as it stands, and nothing is made beside it
    };

    // Up to the deadline it waits for what others have locked. A link in the file's place is
    // refused, but for Frozen. Looks at the write-ahead log first, see KeepDamagedWal().
    Database(const std::string& strFile, Access access, Deadline deadline);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Run(const char* szSql);
    // Of the first column of the first row.
    std::int64_t Number(const char* szSql);
    std::string Text(const char* szSql);
    // Switches the journal; throws when the database stays with another one.
    void UseWal();
    int Changes() const;
    // The row that was written last; 0 after ForgetLastRow().
    std::int64_t LastRow() const;
    void ForgetLastRow();
    void SetDeadline(Deadline deadline) { m_deadline = deadline; }
    // Whether the path still leads to the file that was opened.
    bool IsInPlace() const { return IdentityOf(m_strFile) == m_identity; }
    // What was wrong with the write-ahead log, for people; "" for nothing.
    const std::string& Notice() const { return m_strNotice; }
    // Throws what SQLite says of the last failure.
    [[noreturn]] void Fail(int nCode) const;

private:
    friend class Statement;
    friend class Transaction;
    static int Wait(void* pThis, int nCalls);
    void Open(Access access);
    sqlite3* Handle() const;

    const std::string m_strFile;
    std::string m_strNotice;
    std::shared_ptr<Connection> m_pConnection;
    Identity m_identity;
    Deadline m_deadline;
};

// Holds those off who would exchange a database (Exclusive), or lets several open and close it at a
// time that nobody exchanges it (Shared). Throws std::system_error after the deadline.
class ExchangeLock {
public:
    enum class Kind { Shared, Exclusive };

    ExchangeLock(const std::string& strDatabase, Kind kind, Database::Deadline deadline);
    ~ExchangeLock();
    ExchangeLock(const ExchangeLock&) = delete;
    ExchangeLock& operator=(const ExchangeLock&) = delete;

private:
    const int m_nFile;
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
    void BindNull(int nParameter);
    bool Step();  // true: there is a row
    void Reset();
    std::int64_t Number(int nColumn) const;
    std::string Text(int nColumn) const;

private:
    void Check(int nCode) const;

    const Database& m_database;
    const std::shared_ptr<Connection> m_pConnection;
    sqlite3_stmt* m_pStatement = nullptr;
};

// A change that others see whole or not at all: rolled back unless it is committed. No process
// forks in its midst, see ForkGate.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void Commit();

private:
    const ForkGate m_gate;
    Database& m_database;
    bool m_bOpen = true;
};

}  // namespace zemb

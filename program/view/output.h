#pragma once

#include <json/value.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

// Exit status of the program and of each command.
constexpr int DONE = 0;
constexpr int ANSWER_NO = 1;  // refused, not found, the file has faults
constexpr int WRONG_USAGE = 2;
constexpr int SYSTEM_FAILED = 3;

// Ends a command with a status; the text goes to standard error behind the program's name.
class CommandError : public std::runtime_error {
public:
    CommandError(int nStatusOf, const std::string& strText)
        : std::runtime_error(strText), nStatus(nStatusOf) {}
    const int nStatus;
};

// Throws it for a file that the system refused, as errno tells.
[[noreturn]] void FailWithErrno(const std::string& strFile);

// Standard output, line by line: texts for people, or one JSON object a line. With JSON, what
// others in the process print to standard output goes to standard error from then on.
class Output {
public:
    explicit Output(bool bJson);
    bool IsJson() const { return m_pJson != nullptr; }
    bool IsGood() const;  // nothing was lost so far
    // strText, as Shown(), unless JSON is wanted, else the record.
    void Put(const std::string& strText, const Json::Value& record) const;
    // The same for a text that is made for a file: only a terminal gets it as Shown().
    void PutExact(const std::string& strText, const Json::Value& record) const;
    // A text that has no record; nothing when JSON is wanted.
    void Say(const std::string& strText) const;
    // The same for a line that is too long to be made as a whole: its parts as they are, texts or
    // JSON, then its end.
    void PutPart(const std::string& strPart) const;
    void EndLine() const;

private:
    const std::shared_ptr<std::FILE> m_pJson;  // null for texts
};

// Rows as columns two blanks apart; the first row is the heading.
std::string Table(const std::vector<std::vector<std::string>>& vecRow);

// "1 field", "2 fields"; strThings where an "s" is not enough.
std::string Counted(std::size_t nCount, const std::string& strThing,
                    const std::string& strThings = "");

// A line for standard error behind the program's name, as Shown().
void Complain(const std::string& strText);

// A text that cannot steer the terminal: control characters but line feeds and tabs as \x1B.
std::string Shown(const std::string& strText);

// A text for a line of its own: control characters as \n or \x1B, a backslash as two. What it holds
// can neither look like another line nor steer the terminal.
std::string OnOneLine(const std::string& strText);

// The JSON text of a record on one line, always valid UTF-8: octets that are none become U+FFFD.
// Control characters are escaped.
std::string JsonLine(const Json::Value& record);

// "0x4101F012", in capitals and without leading zeros.
std::string Hex(unsigned long nValue);

}  // namespace host

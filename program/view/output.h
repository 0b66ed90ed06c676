#pragma once

#include "view/columns.h"
#include "view/command_error.h"

#include <json/value.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace host {

// How what goes out is shown.
struct OutputWishes {
    bool bJson = false;
    bool bRaw = false;    // texts keep their control characters
    bool bLocal = false;  // on a terminal times are those of the process's zone
};

// Standard output, line by line: texts for people, or one JSON object a line. It is the one way
// out: whatever a text holds, it goes as Shown(), to terminals and pipes alike, unless it is wanted
// raw.
class Output {
public:
    // With JSON, what others in the process print to standard output goes to standard error from
    // then on.
    void Configure(const OutputWishes& wishes);
    bool IsJson() const { return m_pJson != nullptr; }
    bool IsRaw() const { return m_wishes.bRaw; }
    bool IsGood() const;  // nothing was lost so far
    // strText unless JSON is wanted, else the record.
    void Put(const std::string& strText, const Json::Value& record) const;
    // A text that has no record; nothing when JSON is wanted.
    void Say(const std::string& strText) const;
    // A table, its first row the heading: each cell on one line, never raw. On a terminal the last
    // column is cut to its width.
    void SayTable(std::vector<std::vector<std::string>> vecRow) const;
    // The same for a line that is too long to be made as a whole: its parts as they are, texts or
    // JSON, then its end.
    void PutPart(const std::string& strPart) const;
    void EndLine() const;

private:
    std::string Localized(const std::string& strText) const;

    OutputWishes m_wishes;
    std::shared_ptr<std::FILE> m_pJson;  // null for texts
};

// Adds an item to a list that is read by people: "1, 3".
void AppendItem(std::string& strList, const std::string& strItem, const char* szBetween = ", ");

// "1 field", "2 fields"; strThings where an "s" is not enough.
std::string Counted(std::size_t nCount, const std::string& strThing,
                    const std::string& strThings = "");

// A span of time as people read it: "850 us", "12.3 ms", "1.26 s".
std::string DurationText(std::int64_t nMicroseconds);

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

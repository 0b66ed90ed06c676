#pragma once

#include "view/output.h"
#include "view/record.h"

#include <json/value.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

// A column of a list.
struct Column {
    std::string strKey;                  // of the member of a record; "": in the table only
    std::optional<std::string> heading;  // in the table; none: in records only
};

// What one thing has in a column: the value for its record and the text for the table. Where no
// text is given the table shows the value, a string by OnOneLine.
struct Cell {
    Cell() = default;  // no member in the record, an empty text in the table
    template <class Value>
    Cell(const Value& valueOf) : value(JsonOf(valueOf)) {}
    template <class Value>
    Cell(const Value& valueOf, std::string strText)
        : value(JsonOf(valueOf)), text(std::move(strText)) {}

    Json::Value value;
    std::optional<std::string> text;
};

// A string that the table shows as it is, such as a path.
Cell AsIs(const std::string& strText);

// What a table shows of a cell.
std::string TextOf(const Cell& cell);

// The record of one thing. It has as many cells as there are columns.
Json::Value RecordOf(const std::vector<Column>& vecColumn, const std::vector<Cell>& vecCell);

// A list of things of one kind: a table for people, or a record for each. A command names the
// columns once and then adds one thing after the other:
//
//   Rows rows(session.out, {{"process", "PROCESS"}, {"name", "NAME"}}, "no processes");
//   for (const Process& process : listProcess)
//       rows.Add({process.nId, process.strName});
//   rows.Put();
class Rows {
public:
    // strNone is shown in place of a table without rows; "": its headings.
    Rows(const Output& out, std::vector<Column> vecColumn, std::string strNone = "");

    // A cell for each column. The record goes out at once.
    void Add(const std::vector<Cell>& vecCell);
    // A row that has no record.
    void AddText(std::vector<std::string> vecText);
    // Shows the table; call it when everything is added.
    void Put() const;

private:
    const Output& m_out;
    const std::vector<Column> m_vecColumn;
    const std::string m_strNone;
    std::vector<std::vector<std::string>> m_vecRow;  // the headings first
};

}  // namespace host

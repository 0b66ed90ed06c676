#include "view/rows.h"

#include <stdexcept>

namespace host {

std::string TextOf(const Cell& cell) {
    if (cell.text)
        return *cell.text;
    return cell.value.isString() ? OnOneLine(cell.value.asString()) : cell.value.asString();
}

namespace {

// Too few or too many would come under wrong headings.
void RequireSame(const std::vector<Column>& vecColumn, const std::vector<Cell>& vecCell) {
    if (vecColumn.size() != vecCell.size())
        throw std::logic_error("a row does not have a cell for each column");
}

}  // namespace

Cell AsIs(const std::string& strText) {
    return {strText, strText};
}

Json::Value RecordOf(const std::vector<Column>& vecColumn, const std::vector<Cell>& vecCell) {
    RequireSame(vecColumn, vecCell);
    Json::Value record;
    for (std::size_t i = 0; i < vecColumn.size(); ++i)
        if (!vecColumn[i].strKey.empty() && !vecCell[i].value.isNull())
            record[vecColumn[i].strKey] = vecCell[i].value;
    return record;
}

Rows::Rows(const Output& out, std::vector<Column> vecColumn, std::string strNone)
    : m_out(out), m_vecColumn(std::move(vecColumn)), m_strNone(std::move(strNone)) {
    std::vector<std::string> vecHeading;
    for (const Column& column : m_vecColumn)
        if (column.heading)
            vecHeading.push_back(*column.heading);
    m_vecRow.push_back(std::move(vecHeading));
}

void Rows::Add(const std::vector<Cell>& vecCell) {
    if (m_out.IsJson())
        return m_out.Put("", RecordOf(m_vecColumn, vecCell));
    RequireSame(m_vecColumn, vecCell);
    std::vector<std::string> vecText;
    for (std::size_t i = 0; i < m_vecColumn.size(); ++i)
        if (m_vecColumn[i].heading)
            vecText.push_back(TextOf(vecCell[i]));
    m_vecRow.push_back(std::move(vecText));
}

void Rows::AddText(std::vector<std::string> vecText) {
    m_vecRow.push_back(std::move(vecText));
}

void Rows::Put() const {
    const bool bNone = m_vecRow.size() == 1 && !m_strNone.empty();
    if (bNone)
        m_out.Say(m_strNone);
    else
        m_out.SayTable(m_vecRow);
}

}  // namespace host

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// The columns that a text takes on a terminal: a wide character takes two, a combining one none.
// What is no UTF-8 takes a column for each octet. Cost: linear.
std::size_t WidthOf(std::string_view strText);

// A text that takes at most nWidth columns; strMark at its end says that something was cut.
std::string Cut(const std::string& strText, std::size_t nWidth, std::string_view strMark);

// How a table is laid out.
struct TableStyle {
    std::size_t nWidth = 0;  // of the terminal, to which the last column is cut; 0: nothing is cut
    std::string (*fnPaint)(const std::string& strCell) = nullptr;  // gives a cell its colour
};

// Rows as columns two blanks apart; the first row is the heading.
std::string Table(const std::vector<std::vector<std::string>>& vecRow,
                  const TableStyle& style = {});

}  // namespace host

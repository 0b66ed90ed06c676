#pragma once

#include "base/number_text.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The integer lists: one reader and one writer for each notation.
namespace NSTN_util {

// What stands between a run's ends and between two items, and how long a run must be.
struct ListNotation {
    char szRun[3];
    char cItem;
    std::size_t nShortestRun;
};

constexpr ListNotation PLAIN_LIST = {"", ',', 0};  // no runs
constexpr ListNotation AMPERSAND_JOINED = {"", '&', 0};
constexpr ListNotation SPAN_LIST = {"-", ',', 2};
constexpr ListNotation AMPERSAND_LIST = {"&&", '&', 3};

// Replaces strOut by the list; a run rises by exactly 1 from number to number.
void WriteNumberList(const std::vector<int>& vec, const ListNotation& notation,
                     std::string& strOut);

// Reads plain and span lists, and the ampersand list.
bool ReadSpanList(std::string_view strText, std::vector<int>& vec);
bool ReadAmpersandList(std::string_view strText, std::vector<int>& vec);

// Reads one number of a list: strtol's, in nBase, all of the text but the blanks (" ") around it.
// nOut is written, cut to int, unless the text is blank.
bool ReadListNumber(std::string_view strText, int& nOut, int nBase);

// One item of a span list; false unless 0 <= nFirst <= nLast.
bool ReadListSpan(std::string_view strText, int& nFirst, int& nLast);

}  // namespace NSTN_util

#pragma once

#include "view/rows.h"

#include <functional>
#include <string>
#include <vector>

namespace host {

// One thing of a section, and all that is known of it, in lines for people.
struct TopRow {
    std::vector<Cell> vecCell;
    std::vector<std::string> vecDetail;
    std::function<std::vector<std::string>()> fnMore;  // what takes longer to find out; may be null
};

// Things of one kind. Sections come in the order in which they are shown.
struct TopSection {
    std::string strName;
    std::vector<Column> vecColumn;
    std::vector<TopRow> vecRow;
};

// What there is to see at one moment.
struct TopPicture {
    std::string strTotals;
    std::vector<TopSection> vecSection;
};

// Which row is chosen, and how large the frame is.
struct TopView {
    std::size_t nWidth = 80;
    std::size_t nHeight = 24;
    std::size_t nSection = 0;
    std::size_t nRow = 0;
};

enum class ETopLine { PLAIN, HEADING, CHOSEN };

struct TopLine {
    ETopLine eKind;
    std::string strText;
};

// At most nHeight lines of at most nWidth characters. Each section has a heading; the lines that
// are left are shared out among the rows, a row for each section in turn, and the chosen row is
// among them. What others wrote cannot steer a terminal.
std::vector<TopLine> TopFrame(const TopPicture& picture, const TopView& view);

// A text on one line, control characters escaped, and no longer than that; "~" at its end says that
// something was cut.
std::string Fitted(const std::string& strText, std::size_t nWidth);

}  // namespace host

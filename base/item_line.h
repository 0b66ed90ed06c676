#pragma once

#include "base/bounded_lines.h"
#include "base/trim.h"

#include <cstddef>
#include <string_view>

// How a line "key = value" reads, in configuration-item files (docs/formats/item-file.md) and in
// language files (docs/formats/language-files.md): the platform, the library and the checks of the
// program all take it apart here.
namespace base {

constexpr std::size_t ITEM_LINE_MAX = 1022;  // characters; a longer line of items ends the reading

enum class EItemLine {
    NOTHING,   // blank, or a comment
    NO_EQUAL,  // no item, although it looks like one
    ITEM,
};

struct ItemLine {
    EItemLine eKind = EItemLine::NOTHING;
    std::string_view strRaw;   // the line as far as it is taken
    std::string_view strText;  // the same, trimmed
    std::string_view strKey;   // this and the value of an item alone; views into the line
    std::string_view strValue;
};

// The first "=" divides; blanks around line, key and value do not count.
inline ItemLine ReadItemLine(std::string_view strLine) {
    ItemLine line;
    line.strRaw = strLine;
    line.strText = Trim(strLine);
    if (line.strText.empty() || line.strText.front() == '#')
        return line;
    const std::size_t nEqual = line.strText.find('=');
    line.eKind = nEqual == std::string_view::npos ? EItemLine::NO_EQUAL : EItemLine::ITEM;
    if (line.eKind == EItemLine::ITEM) {
        line.strKey = Trim(line.strText.substr(0, nEqual));
        line.strValue = Trim(line.strText.substr(nEqual + 1));
    }
    return line;
}

// The lines of a file of items, one after the other. Readers pass over what is no item, and take
// the beginning of a line that was cut; who judges or changes a file asks Bounds() what was cut.
class ItemLines {
public:
    explicit ItemLines(std::string_view strText) : m_lines(strText, ITEM_LINE_MAX) {}

    // False when no line is left. The views are views into the text.
    bool Next(ItemLine& line) {
        std::string_view strRaw;
        if (!m_lines.Next(strRaw))
            return false;
        line = ReadItemLine(strRaw);
        return true;
    }

    // Number and cuts of the last line.
    const BoundedLines& Bounds() const { return m_lines; }

private:
    BoundedLines m_lines;
};

}  // namespace base

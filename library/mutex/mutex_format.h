#pragma once

#include "base/bounded_lines.h"

#include "zemb/text.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How a mutex table file reads: docs/formats/mutex-table-file.md. The manager takes what is good of
// it and passes over the rest; the program's check walks it the same way and says what is wrong
// where. So everything that a line can mean stands here, and nothing that is said of it.
namespace NSTE_util {

constexpr std::size_t MUTEX_LINE_MAX = 1023;  // characters; a longer line ends the reading
constexpr const char* SECTION_TABLE = "[MUTEX_TABLE]";
constexpr const char* SECTION_ERRORCODE = "[MUTEX_ERRORCODE]";

enum class EMutexLine {
    NOTHING,  // blank, or a comment
    HEADER,
    TABLE,
    ERRORCODE,
    OUTSIDE,  // before the first header
};

struct MutexLine {
    EMutexLine eKind;
    std::string_view strRaw;  // as far as it is taken
    std::string strText;      // trimmed
};

// The lines of a table file, one after the other.
class MutexLines {
public:
    explicit MutexLines(std::string_view strText) : m_lines(strText, MUTEX_LINE_MAX) {}

    // False when no line is left.
    bool Next(MutexLine& line) {
        if (!m_lines.Next(line.strRaw))
            return false;
        line.strText = Trim(std::string(line.strRaw));
        line.eKind = KindOf(line.strText);
        return true;
    }

    // Number and cuts of the last line.
    const base::BoundedLines& Bounds() const { return m_lines; }

private:
    EMutexLine KindOf(const std::string& strText) {
        if (strText.empty() || strText.front() == '#')
            return EMutexLine::NOTHING;
        const bool bTable = strText == SECTION_TABLE;
        if (!bTable && strText != SECTION_ERRORCODE)
            return m_eSection;
        m_eSection = bTable ? EMutexLine::TABLE : EMutexLine::ERRORCODE;
        return EMutexLine::HEADER;
    }

    base::BoundedLines m_lines;
    EMutexLine m_eSection = EMutexLine::OUTSIDE;  // what an entry is taken for
};

inline std::optional<int> ReadMutexNumber(const std::string& strField) {
    int nValue = 0;
    return StrToInt(strField, nValue, 10) ? std::optional<int>(nValue) : std::nullopt;
}

// A line of the table, field by field: a value that is missing could not be read.
struct MutexTableLine {
    static constexpr std::size_t FIELDS = 3;  // without as many nothing is read

    explicit MutexTableLine(const std::string& strText) : vecField(Token(strText, ':')) {
        if (vecField.size() != FIELDS)
            return;
        oper = ReadMutexNumber(vecField[0]);
        bList = StrToNumList(vecField[1], vecBlocked);
        flag = ReadMutexNumber(vecField[2]);
    }

    bool IsGood() const { return oper && bList && flag; }

    std::vector<std::string> vecField;
    std::optional<int> oper;
    bool bList = false;
    std::vector<int> vecBlocked;
    std::optional<int> flag;  // not 0: in both directions
};

// The same of a line of the error codes.
struct MutexCodeLine {
    static constexpr std::size_t FIELDS = 2;

    explicit MutexCodeLine(const std::string& strText) : vecField(Token(strText, ':')) {
        if (vecField.size() != FIELDS)
            return;
        oper = ReadMutexNumber(vecField[0]);
        code = ReadMutexNumber(vecField[1]);
    }

    bool IsGood() const { return oper && code; }

    std::vector<std::string> vecField;
    std::optional<int> oper;
    std::optional<int> code;
};

// Calls take(first, last) for each run of numbers that follow each other.
template <class Take>
void ForEachRun(const std::vector<int>& vecOper, Take take) {
    for (std::size_t i = 0; i < vecOper.size();) {
        std::size_t nEnd = i + 1;
        while (nEnd < vecOper.size() && vecOper[nEnd - 1] < vecOper[nEnd] &&
               vecOper[nEnd] - 1 == vecOper[nEnd - 1])
            ++nEnd;
        take(vecOper[i], vecOper[nEnd - 1]);
        i = nEnd;
    }
}

template <class Table>
void RegisterPairs(Table& table, int nOper1, int nFirst2, int nLast2, bool bBoth) {
    if (nOper1 == 0)
        table.AddExclusive(nFirst2, nLast2);
    else
        table.AddPairs(nOper1, nFirst2, nLast2, bBoth);
}

// Registers that nOper1 blocks all numbers from nFirst2 to nLast2; the 0 among them, or as nOper1,
// means every operation. For two zeros nothing is registered: false.
template <class Table>
bool RegisterMutex(Table& table, int nOper1, int nFirst2, int nLast2, bool bBoth) {
    const bool bZero = nFirst2 <= 0 && nLast2 >= 0;
    if (nFirst2 < 0)
        RegisterPairs(table, nOper1, nFirst2, std::min(nLast2, -1), bBoth);
    if (bZero && nOper1 != 0)
        table.AddExclusive(nOper1, nOper1);
    if (nLast2 > 0)
        RegisterPairs(table, nOper1, std::max(nFirst2, 1), nLast2, bBoth);
    return !bZero || nOper1 != 0;
}

}  // namespace NSTE_util

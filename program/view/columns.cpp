#include "view/columns.h"

#include "base/utf8.h"

#include <clocale>
#include <cwchar>

#include <algorithm>

// Texts side by side. How wide a character is the C library knows, but only in a locale with UTF-8,
// which the process need not have: the thread borrows one for the question.
namespace host {

namespace {

constexpr const char* CUT_MARK = "\xE2\x80\xA6";  // an ellipsis
constexpr std::size_t LAST_LEAST = 4;             // a last column is not cut to less

class Utf8Locale {
public:
    Utf8Locale() : m_before(uselocale(Borrowed())) {}
    ~Utf8Locale() { uselocale(m_before); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    // Never given back. Without it every character is one column wide.
    static locale_t Borrowed() {
        static const locale_t s_locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return s_locale;  // null leaves the thread's own
    }

    const locale_t m_before;
};

// The character of a sequence that is whole.
wchar_t CharacterOf(std::string_view strSequence) {
    const auto nLead = static_cast<unsigned char>(strSequence[0]);
    unsigned nCharacter = strSequence.size() == 1 ? nLead : nLead & (0x7FU >> strSequence.size());
    for (const char c : strSequence.substr(1))
        nCharacter = nCharacter << 6 | (static_cast<unsigned char>(c) & 0x3FU);
    return static_cast<wchar_t>(nCharacter);
}

// Takes the first character away; returns its width. Within a Utf8Locale.
std::size_t TakeCharacter(std::string_view& strText) {
    const std::size_t nSize = std::max<std::size_t>(base::Utf8Size(strText), 1);
    const int nWidth = nSize == 1 ? 1 : wcwidth(CharacterOf(strText.substr(0, nSize)));
    strText.remove_prefix(nSize);
    return nWidth < 0 ? 1 : static_cast<std::size_t>(nWidth);
}

bool IsAscii(std::string_view strText) {
    return std::all_of(strText.begin(), strText.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

std::size_t WidthOf(std::string_view strText) {
    if (IsAscii(strText))
        return strText.size();
    const Utf8Locale locale;
    std::size_t nWidth = 0;
    while (!strText.empty())
        nWidth += TakeCharacter(strText);
    return nWidth;
}

std::string Cut(const std::string& strText, std::size_t nWidth, std::string_view strMark) {
    if (WidthOf(strText) <= nWidth)
        return strText;
    const std::size_t nMark = std::min(WidthOf(strMark), nWidth);
    const Utf8Locale locale;
    std::string_view strRest = strText;
    std::size_t nTaken = 0;
    std::size_t nEnd = 0;
    for (;;) {
        nTaken += TakeCharacter(strRest);
        if (nTaken > nWidth - nMark)
            return strText.substr(0, nEnd) + std::string(nMark == 0 ? "" : strMark);
        nEnd = strText.size() - strRest.size();
    }
}

namespace {

std::vector<std::size_t> WidthsOf(const std::vector<std::vector<std::string>>& vecRow) {
    std::vector<std::size_t> vecWidth;
    for (const auto& row : vecRow)
        for (std::size_t i = 0; i < row.size(); ++i) {
            vecWidth.resize(std::max(vecWidth.size(), i + 1));
            vecWidth[i] = std::max(vecWidth[i], WidthOf(row[i]));
        }
    return vecWidth;
}

std::string LineOf(const std::vector<std::string>& row, const std::vector<std::size_t>& vecWidth,
                   const TableStyle& style) {
    const auto Painted = [&](const std::string& strCell) {
        return style.fnPaint == nullptr ? strCell : style.fnPaint(strCell);
    };
    std::string strLine;
    std::size_t nBlanks = 0;  // put before the next text only: a line does not end with blanks
    std::size_t nAt = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!row[i].empty()) {
            const bool bLast = i + 1 == vecWidth.size() && style.nWidth != 0;
            const std::size_t nRoom = style.nWidth > nAt ? style.nWidth - nAt : 0;
            strLine.append(nBlanks, ' ');
            strLine += Painted(bLast ? Cut(row[i], std::max(nRoom, LAST_LEAST), CUT_MARK) : row[i]);
            nBlanks = 0;
        }
        nBlanks += vecWidth[i] - WidthOf(row[i]) + 2;
        nAt += vecWidth[i] + 2;
    }
    return strLine;
}

}  // namespace

std::string Table(const std::vector<std::vector<std::string>>& vecRow, const TableStyle& style) {
    const std::vector<std::size_t> vecWidth = WidthsOf(vecRow);
    std::string strTable;
    for (const auto& row : vecRow) {
        if (!strTable.empty() || &row != &vecRow.front())
            strTable += '\n';
        strTable += LineOf(row, vecWidth, style);
    }
    return strTable;
}

}  // namespace host

#include "view/colors.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

// Colours are put in behind the escaping of texts, so that nothing of a text can be one: words that
// stand at fixed places of a line are looked for.
namespace host {

namespace {

EColors g_eColors = EColors::AUTO;

constexpr const char* COLOR_RED = "\033[31m";
constexpr const char* COLOR_GREEN = "\033[32m";
constexpr const char* COLOR_YELLOW = "\033[33m";
constexpr const char* COLOR_END = "\033[0m";

struct ColoredWord {
    std::string_view strText;
    const char* szColor;
};

// clang-format off
constexpr ColoredWord FIRST_OF_LINE[] = {  // behind blanks, before one or the end
    {"refused", COLOR_RED}, {"error", COLOR_RED}, {"FAULT:", COLOR_RED}, {"granted", COLOR_GREEN}, {"ok", COLOR_GREEN}, {"warning", COLOR_YELLOW},
};
constexpr ColoredWord WITHIN_LINE[] = {  // the first one; the word between the marks is coloured
    {": error: ", COLOR_RED}, {": warning: ", COLOR_YELLOW}, {"  refused  ", COLOR_RED}, {" would be refused", COLOR_RED},
};
constexpr ColoredWord CELLS[] = {  // whole, or before a blank
    {"X", COLOR_RED}, {"failed", COLOR_RED}, {"died", COLOR_RED}, {"partly", COLOR_YELLOW}, {"stopped", COLOR_YELLOW}, {"long", COLOR_YELLOW},
    {"ok", COLOR_GREEN},
};
// clang-format on

bool BeginsWith(std::string_view strText, std::string_view strWord) {
    return strText.substr(0, strWord.size()) == strWord &&
           (strText.size() == strWord.size() || strText[strWord.size()] == ' ');
}

// Puts a colour around the letters of a mark that stands at nAt.
void Paint(std::string& strLine, std::size_t nAt, const ColoredWord& word) {
    const std::size_t nFirst = word.strText.find_first_not_of(": ");
    const std::size_t nLast = word.strText.find_last_not_of(": ");
    strLine.insert(nAt + nLast + 1, COLOR_END);
    strLine.insert(nAt + nFirst, word.szColor);
}

std::string ColoredLine(std::string strLine) {
    const std::size_t nBegin = std::min(strLine.find_first_not_of(' '), strLine.size());
    for (const ColoredWord& word : FIRST_OF_LINE)
        if (BeginsWith(std::string_view(strLine).substr(nBegin), word.strText)) {
            Paint(strLine, nBegin, word);
            return strLine;
        }
    for (const ColoredWord& word : WITHIN_LINE)
        if (const std::size_t nAt = strLine.find(word.strText); nAt != std::string::npos) {
            Paint(strLine, nAt, word);
            return strLine;
        }
    return strLine;
}

}  // namespace

void SetColors(EColors eColors) {
    g_eColors = eColors;
}

bool IsColored(int nDescriptor) {
    if (g_eColors != EColors::AUTO)
        return g_eColors == EColors::ALWAYS;
    const char* const szNoColor = std::getenv("NO_COLOR");
    return isatty(nDescriptor) == 1 && (szNoColor == nullptr || *szNoColor == '\0');
}

std::string Colored(const std::string& strShown) {
    std::string strColored;
    for (std::size_t nBegin = 0; nBegin <= strShown.size();) {
        const std::size_t nEnd = std::min(strShown.find('\n', nBegin), strShown.size());
        strColored += ColoredLine(strShown.substr(nBegin, nEnd - nBegin));
        if (nEnd != strShown.size())
            strColored += '\n';
        nBegin = nEnd + 1;
    }
    return strColored;
}

std::string ColoredCell(const std::string& strCell) {
    for (const ColoredWord& word : CELLS)
        if (BeginsWith(strCell, word.strText)) {
            std::string strColored = strCell;
            Paint(strColored, 0, word);
            return strColored;
        }
    return strCell;
}

}  // namespace host

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

constexpr const char* SHADE_RED = "\033[31m";
constexpr const char* SHADE_GREEN = "\033[32m";
constexpr const char* SHADE_YELLOW = "\033[33m";
constexpr const char* SHADE_END = "\033[0m";

struct ColoredWord {
    std::string_view strText;
    const char* szColor;
};

// clang-format off
constexpr ColoredWord FIRST_OF_LINE[] = {  // behind blanks, before one or the end
    {"refused", SHADE_RED}, {"error", SHADE_RED}, {"FAULT:", SHADE_RED}, {"granted", SHADE_GREEN}, {"ok", SHADE_GREEN}, {"warning", SHADE_YELLOW},
};
constexpr ColoredWord WITHIN_LINE[] = {  // the first one; the word between the marks is coloured
    {": error: ", SHADE_RED}, {": warning: ", SHADE_YELLOW}, {"  refused  ", SHADE_RED}, {" would be refused", SHADE_RED},
};
constexpr ColoredWord CELLS[] = {  // whole, or before a blank
    {"X", SHADE_RED}, {"failed", SHADE_RED}, {"died", SHADE_RED}, {"partly", SHADE_YELLOW}, {"stopped", SHADE_YELLOW}, {"long", SHADE_YELLOW},
    {"ok", SHADE_GREEN},
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
    strLine.insert(nAt + nLast + 1, SHADE_END);
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

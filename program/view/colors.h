#pragma once

#include <string>

namespace host {

enum class EColors { AUTO, ALWAYS, NEVER };

// Where colours are shown: on terminals, unless NO_COLOR is set; always; or never.
void SetColors(EColors eColors);

// Whether what goes to a descriptor gets colours.
bool IsColored(int nDescriptor);

// A text that is safe for a terminal, with the words in colour that say how something went: those
// at the beginning of a line, and the severities of findings.
std::string Colored(const std::string& strShown);

// The same for a cell of a table, such as "ok" and the X of a matrix.
std::string ColoredCell(const std::string& strCell);

}  // namespace host

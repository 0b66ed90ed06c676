#pragma once

#include "session.h"

#include <istream>
#include <string>
#include <vector>

namespace host {

// Splits a command line into words: blanks separate, '...' and "..." keep them, \ takes the next
// character as it is (not within '...'), # at the start of a word begins a comment. Throws
// CommandError when a quote is not closed.
std::vector<std::string> SplitWords(const std::string& strLine);

// Reads commands to the end or "quit". From a script the first command that is wrong usage or
// fails ends it, named with its line; "no" is an answer and does not. With bEcho each command is
// printed before it runs.
int RunScript(Session& session, std::istream& input, const std::string& strName, bool bEcho);

// The same from the terminal, with line editing, history and completion; errors do not end it.
int RunTerminal(Session& session);

}  // namespace host

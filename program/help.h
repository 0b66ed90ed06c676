#pragma once

#include "command.h"

#include <string>

namespace host {

// A file of the sample root, as it is named from the top of the tree.
std::string SampleFile(const char* szUnderRoot);

// All commands in their groups, each group with examples.
std::string HelpText();

// The commands that one starts with, for a line without any.
std::string FirstSteps();

// What stands below the help of a command: its examples, and where they are typed.
std::string FooterOf(const Command& command);

}  // namespace host

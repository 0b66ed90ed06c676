#pragma once

#include "command.h"

#include <string>

namespace host {

// All commands in their groups, each group with examples.
std::string HelpText();

// The commands that one starts with, for a line without any.
std::string FirstSteps();

// What stands below the help of a command: its examples, and where they are typed.
std::string FooterOf(const Command& command);

}  // namespace host

#pragma once

#include <string>

namespace host {

// The manual page of the program, in roff, made of the table of commands and of their options.
std::string ManualPage();

}  // namespace host

#pragma once

#include "check/finding.h"

#include <string>
#include <vector>

namespace host {

// Characters of a line that the readers of items take.
constexpr std::size_t ITEM_LINE_MAX = 1022;

// What is wrong or doubtful in a configuration-item file. Throws CommandError when it cannot be
// read.
std::vector<Finding> CheckItemFile(const std::string& strFile);

}  // namespace host

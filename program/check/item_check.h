#pragma once

#include "check/finding.h"

#include <string>
#include <vector>

namespace host {

// What is wrong or doubtful in a configuration-item file. Throws CommandError when it cannot be
// read.
std::vector<Finding> CheckItemFile(const std::string& strFile);

}  // namespace host

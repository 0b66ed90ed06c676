#pragma once

#include "check/mutex_file.h"

#include <string>
#include <vector>

namespace host {

// A table as a graph for graphviz: an arrow from what runs to what it blocks, with two heads where
// that goes both ways. Operations that no rule tells apart stand in one box with arrows of its own,
// so that many operations stay readable. Cost: quadratic in the operations.
std::string MutexGraph(const MutexFile& table, const std::vector<int>& vecOper);

}  // namespace host

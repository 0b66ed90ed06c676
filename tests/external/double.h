#pragma once

#include "zemb/export.h"

#include <map>
#include <string>
#include <vector>

// A second platform behind the seam, for the test alone: as little as the library needs to load and
// to work, all of it in memory. One thread.
namespace platform_double {

ZEMB_API std::map<std::string, std::string>& Files();  // text by path; what is not there is absent
ZEMB_API std::vector<std::string>& Lines();            // "module level text", as written

}  // namespace platform_double

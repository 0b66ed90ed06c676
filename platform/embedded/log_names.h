#pragma once

#include <string>

namespace zemb {

// "m.p.log" for 0, else "m.p.3.log".
std::string RotatedName(const std::string& strFile, int nAge);

}  // namespace zemb

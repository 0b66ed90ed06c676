#pragma once

#include <string>
#include <vector>

namespace host {

// The known word that strWord was probably meant to be, whatever its case; "" when none is near.
std::string NearestOf(const std::string& strWord, const std::vector<std::string>& vecKnown);

}  // namespace host

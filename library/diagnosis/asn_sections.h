#pragma once

#include <string>

class AsnType;

namespace NSTN_util {

// The text of a value without pieces of its indentation, as many as it takes to fit into nBudget
// characters, or all of them.
std::string CompactAsnText(std::string strText, std::size_t nBudget, bool bAll);

// Traces a value in at most nSections sections; 0: in up to 500. False when that threw.
bool AdvAsnTraceFix(const AsnType& value, unsigned nSections, int nOption) noexcept;

}  // namespace NSTN_util

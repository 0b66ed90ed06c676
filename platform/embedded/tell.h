#pragma once

#include <string>

namespace zemb {

// A line of the platform itself in the default channel: about what, and the text. The caller holds
// no lock.
void TellOfPlatform(const char* szWhat, const std::string& strText) noexcept;

}  // namespace zemb

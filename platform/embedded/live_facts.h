#pragma once

#include <functional>
#include <string>

namespace zemb {

// Calls fn, under the lock of the facts, for each: kind, name and value with a zero octet behind
// the first two.
void ForEachLiveFact(const std::function<void(const std::string& strFact)>& fn);

// Puts the facts into the box of this process, if it ever had one.
void PutLiveFacts();

}  // namespace zemb

#pragma once

#include "zemb/export.h"

#include <string>

// The log of call chains. Any thread.
namespace zemb {

// Makes a call-chain manager that writes each record as a line of <state>/log/callchain.jsonl, or
// takes it away again; at first there is none.
ZEMB_API void SetCallChain(bool bOn);
ZEMB_API std::string CallChainLog();  // "" without a state folder

}  // namespace zemb

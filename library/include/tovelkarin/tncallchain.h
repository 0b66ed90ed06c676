#pragma once

#include "tovelkarin/export.h"

#include <string>

// Which call led to which: a chain is what one thread does for one purpose, begun inside of another
// chain or on its own. Records go to the platform's call-chain manager, if there is one. Any
// thread; a chain belongs to the thread that began it. Nothing is thrown.
namespace NSTN_util {

// Begins a chain on the calling thread, inside of its innermost one; gives its id. Without a
// manager the chain has no id and no records: "" (line at level 3: "BeginCallChain: no
// CallChainMgr"). Of more than 64 chains inside each other the outermost are forgotten.
TN_API std::string BeginCallChain(const std::string& strName);

// Ends the innermost chain of the thread; nothing without one. Chains of a task end with it.
TN_API void EndCallChain();

// Sets a key of the innermost chain, which stands in each of its records from now on; nothing
// without one.
TN_API void TnSetCallChainExtInfo(const std::string& strKey, const std::string& strValue);

// Writes a record of the innermost chain: a JSON object with id, parent, sequence (from 1), module,
// name, thread, time (UTC), text and ext. False without a chain, when the manager loses the record,
// and without a manager (line at level 3: "TraceCallChain: no CallChainMgr"). Cost: linear in the
// record.
TN_API bool TraceCallChain(const std::string& strText);

}  // namespace NSTN_util

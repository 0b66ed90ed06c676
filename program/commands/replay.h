#pragma once

#include "session.h"

#include <string>
#include <vector>

namespace host {

// Plays records of 'events --record' against another table, of one or more files, and tells what it
// would have decided otherwise. ANSWER_NO when that is anything.
int ReplayRecords(const Session& session, const std::vector<std::string>& vecRecord,
                  const std::vector<std::string>& vecTable);

}  // namespace host

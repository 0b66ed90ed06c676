#pragma once

#include "zemb/export.h"

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace zemb {

// An error of an operation; the last 1,000 are kept in memory, of each 1,000 numbers and 10,000
// bytes of each text.
struct OperError {
    std::string strTime;
    int nUserId = 0;  // of the task that reported it; 0: none
    std::uint32_t nTaskId = 0;
    std::optional<unsigned long> nCode;
    std::list<int> listValue;
    std::string strFirst;  // a text, the only one beside a code
    std::string strSecond;
};

// Oldest first.
ZEMB_API std::vector<OperError> OperErrors();
ZEMB_API void ClearOperErrors();

}  // namespace zemb

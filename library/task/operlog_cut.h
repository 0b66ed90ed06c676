#pragma once

#include <cstddef>
#include <string_view>

namespace NSTN_util {

// At most nMost bytes of a text, cut before the last letter, digit, blank or one of ":,[]()-" that
// is not behind that place; nothing when there is none. A text that is not longer stays.
std::string_view SafeCut(std::string_view strText, std::size_t nMost);

// How many bytes of a long description go into one entry.
std::size_t SplitPoint(std::string_view strText);

}  // namespace NSTN_util

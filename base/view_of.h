#pragma once

#include <string_view>

namespace base {

// A text that may be null, as a view; null counts as "".
constexpr std::string_view ViewOf(const char* szText) {
    return szText == nullptr ? std::string_view() : std::string_view(szText);
}

}  // namespace base

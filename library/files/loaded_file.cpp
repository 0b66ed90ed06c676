#include "files/loaded_file.h"

#include "trace/guarded_call.h"

#include "zemb/live.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <iostream>

namespace NSTN_util {

void TellLoaded(const char* szKind, const std::string& strFile, const ContentMark& mark) noexcept {
    GuardedCall([&] {
        std::array<char, 32> szMark{};
        std::snprintf(szMark.data(), szMark.size(), "content %016" PRIx64, mark.Get());
        zemb::LiveFact(szKind, strFile, szMark.data());
    });
}

void TellLoaded(const char* szKind, const std::string& strFile, std::string_view strText) noexcept {
    ContentMark mark;
    mark.Add(strText);
    TellLoaded(szKind, strFile, mark);
}

}  // namespace NSTN_util

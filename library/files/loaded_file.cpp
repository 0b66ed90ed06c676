#include "files/loaded_file.h"

#include "trace/guarded_call.h"

#include "zemb/live.h"

#include <iostream>

namespace NSTN_util {

void TellLoaded(const char* szKind, const std::string& strFile, const ContentMark& mark) noexcept {
    GuardedCall([&] { zemb::LiveFact(szKind, strFile, mark.Text()); });
}

void TellLoaded(const char* szKind, const std::string& strFile, std::string_view strText) noexcept {
    ContentMark mark;
    mark.Add(strText);
    TellLoaded(szKind, strFile, mark);
}

}  // namespace NSTN_util

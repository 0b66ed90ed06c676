#pragma once

#include "zemb/debug.h"

#include <exception>
#include <string>

// What a call from outside has thrown. Both are for use in a handler only.
namespace zemb {

// strWhat, and behind ": " what the exception says of itself.
inline std::string ThrownText(const std::string& strWhat) {
    try {
        throw;
    } catch (const std::exception& error) {
        return strWhat + ": " + error.what();
    } catch (...) {
        return strWhat;
    }
}

// Reports it as an exception line.
inline void WriteThrown(const char* szWhat) noexcept {
    try {
        NSTE_util::WriteException(ThrownText(szWhat).c_str());
    } catch (...) {
        NSTE_util::WriteException(szWhat);  // no memory for more
    }
}

}  // namespace zemb

#pragma once

#include <string.h>

#include <cstddef>
#include <string_view>

namespace NSTN_util {

// The first place of strPiece in strText from nFrom on, or npos. Linear for any piece, which
// string_view::find is not.
inline std::size_t FindText(std::string_view strText, std::string_view strPiece,
                            std::size_t nFrom) {
    if (nFrom > strText.size())
        return std::string_view::npos;
    if (strPiece.empty())
        return nFrom;
    const void* const pFound =
        memmem(strText.data() + nFrom, strText.size() - nFrom, strPiece.data(), strPiece.size());
    return pFound == nullptr
               ? std::string_view::npos
               : static_cast<std::size_t>(static_cast<const char*>(pFound) - strText.data());
}

}  // namespace NSTN_util

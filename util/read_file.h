#pragma once

#include <cstddef>
#include <string>

namespace NSTN_util {

enum class EReadFile {
    WHOLE,       // strText holds the file
    NOT_OPENED,  // missing, unreadable or a folder; strText is empty
    BROKEN_OFF,  // reading failed on the way; strText holds what came before
};

// Reads a file of lines by large blocks. A line of over nMaxLine characters ends the reading like
// the end of the file, with all of that line or a part that is too long: what follows is never
// asked for.
EReadFile ReadFile(const std::string& strFile, std::size_t nMaxLine, std::string& strText);

}  // namespace NSTN_util

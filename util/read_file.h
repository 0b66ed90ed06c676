#pragma once

#include <string>

namespace NSTN_util {

enum class EReadFile {
    WHOLE,       // strText holds the file
    NOT_OPENED,  // missing, unreadable or a folder; strText is empty
    BROKEN_OFF,  // reading failed on the way; strText holds what came before
};

// Reads a file by large blocks.
EReadFile ReadFile(const std::string& strFile, std::string& strText);

}  // namespace NSTN_util

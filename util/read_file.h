#pragma once

#include "util/open_file.h"

#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace NSTN_util {

// Opens a file for reading, but no pipe: its writer may never come. info tells what it is. Null,
// and the reason in errno, when it cannot be opened.
OpenFile OpenToRead(const std::string& strFile, struct stat& info);

enum class EReadFile {
    WHOLE,       // strText holds the file
    NOT_OPENED,  // missing, unreadable or a folder; strText is empty, the reason in errno
    BROKEN_OFF,  // reading failed on the way; strText holds what came before, the reason in errno
};

// Reads a file by large blocks, into a string that is made as long as the file at once. A pipe, and
// what memory does not hold, counts as not opened.
EReadFile ReadFile(const std::string& strFile, std::string& strText);

// Hands a file over block by block, until take answers false: endless files end. NOT_OPENED when
// not even the first block can be read.
EReadFile ReadBlocks(const std::string& strFile, const std::function<bool(std::string_view)>& take);

// Reads a file of lines. A line of over nMaxLine characters ends the reading like the end of the
// file, with all of that line or a part that is too long: what follows is never asked for.
EReadFile ReadFile(const std::string& strFile, std::size_t nMaxLine, std::string& strText);

}  // namespace NSTN_util

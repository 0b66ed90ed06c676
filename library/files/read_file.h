#pragma once

#include "files/open_file.h"

#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace NSTN_util {

// Opens a file that is to be read to its end: a plain one of at most 1 GiB. Everything else may
// have no end, or more than memory holds, and cannot be opened: null, and in errno EISDIR for a
// folder, EFBIG for a longer file, EINVAL for a pipe or a device, else why. info tells what it is.
OpenFile OpenWithEnd(const std::string& strFile, struct stat& info);

enum class EReadFile {
    WHOLE,       // strText holds the file
    NOT_OPENED,  // missing, unreadable or a folder; strText is empty, the reason in errno
    BROKEN_OFF,  // reading failed on the way; strText holds what came before, the reason in errno
};

// Reads a file, opened as by OpenWithEnd, by large blocks into a string that is made as long as the
// file at once. What memory does not hold counts as not opened.
EReadFile ReadFile(const std::string& strFile, std::string& strText);

// Hands a file, opened as by OpenWithEnd, over block by block, until take answers false. NOT_OPENED
// when not even the first block can be read.
EReadFile ReadBlocks(const std::string& strFile, const std::function<bool(std::string_view)>& take);

// Reads a file of lines. A line of over nMaxLine characters ends the reading like the end of the
// file, with all of that line or a part that is too long: what follows is never asked for. So
// devices are read too, but no pipe: its writer may never come.
EReadFile ReadFile(const std::string& strFile, std::size_t nMaxLine, std::string& strText);

}  // namespace NSTN_util

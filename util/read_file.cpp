#include "util/read_file.h"

#include <fstream>
#include <iostream>
#include <vector>

namespace NSTN_util {

namespace {
constexpr std::size_t BLOCK = 64 * 1024;
}

EReadFile ReadFile(const std::string& strFile, std::string& strText) {
    strText.clear();
    std::ifstream file(strFile, std::ios::binary);
    if (!file.is_open())
        return EReadFile::NOT_OPENED;
    std::vector<char> vecBlock(BLOCK);
    do {
        file.read(vecBlock.data(), static_cast<std::streamsize>(vecBlock.size()));
        strText.append(vecBlock.data(), static_cast<std::size_t>(file.gcount()));
    } while (file);
    if (!file.bad())
        return EReadFile::WHOLE;
    // A folder opens, and refuses the first read.
    return strText.empty() ? EReadFile::NOT_OPENED : EReadFile::BROKEN_OFF;
}

}  // namespace NSTN_util

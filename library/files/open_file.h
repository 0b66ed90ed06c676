#pragma once

#include "zemb/os.h"

#include <cstdio>
#include <memory>

namespace NSTN_util {

// Paths are given to the platform in this code set.
constexpr const char* PATH_CODE_SET = "UTF-8";

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

// A file, closed with the object.
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace NSTN_util

#include "tests/naive/patterns_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckPatterns(pData, nSize);
    return 0;
}

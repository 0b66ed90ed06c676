#include "tests/naive/formatter_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckFormatter(pData, nSize);
    return 0;
}

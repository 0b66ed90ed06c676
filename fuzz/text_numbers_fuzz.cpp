#include "tests/naive/text_numbers_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckTextNumbers(pData, nSize);
    return 0;
}

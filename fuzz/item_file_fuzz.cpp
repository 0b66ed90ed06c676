#include "tests/naive/item_file_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckItemFile(pData, nSize);
    return 0;
}

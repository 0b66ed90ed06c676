#include "tests/naive/text_lists_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckTextLists(pData, nSize);
    return 0;
}

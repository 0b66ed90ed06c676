#include "tests/naive/object_text_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckObjectText(pData, nSize);
    return 0;
}

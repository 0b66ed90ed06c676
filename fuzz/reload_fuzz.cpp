#include "tests/naive/reload_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckReload(pData, nSize);
    return 0;
}

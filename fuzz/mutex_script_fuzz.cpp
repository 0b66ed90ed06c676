#include "tests/naive/mutex_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckMutexScript(pData, nSize);
    return 0;
}

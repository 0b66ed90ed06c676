#include "tests/naive/operlog_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckOperLogCut(pData, nSize);
    return 0;
}

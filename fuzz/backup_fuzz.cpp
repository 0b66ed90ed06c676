#include "tests/naive/backup_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    naive::CheckBackup(pData, nSize);
    return 0;
}

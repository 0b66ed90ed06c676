#include "tests/naive/asn_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    zemb::SetRootPath("");  // no file with switches
    naive::CheckAsnSections(pData, nSize);
    return 0;
}

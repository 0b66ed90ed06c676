#include "zemb/securec.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

int memcpy_s(void* pDest, std::size_t nDestSize, const void* pSrc, std::size_t nCount) {
    if (nCount == 0)
        return 0;
    if (pDest == nullptr || pSrc == nullptr)
        return EINVAL;
    if (nCount > nDestSize)
        return ERANGE;
    std::memmove(pDest, pSrc, nCount);
    return 0;
}

int memset_s(void* pDest, std::size_t nDestSize, int nByte, std::size_t nCount) {
    if (nCount == 0)
        return 0;
    if (pDest == nullptr)
        return EINVAL;
    if (nCount > nDestSize)
        return ERANGE;
    std::memset(pDest, nByte, nCount);
    return 0;
}

int snprintf_s(char* szDest, std::size_t nDestSize, std::size_t nCount, const char* szFormat, ...) {
    if (szDest == nullptr || nDestSize == 0)
        return -1;
    szDest[0] = '\0';
    if (szFormat == nullptr)
        return -1;
    const std::size_t nRoom = std::min(nDestSize - 1, nCount) + 1;  // with the terminating zero
    va_list args;
    va_start(args, szFormat);
    const int nWanted = std::vsnprintf(szDest, nRoom, szFormat, args);
    va_end(args);
    if (nWanted < 0) {
        szDest[0] = '\0';
        return -1;
    }
    return static_cast<std::size_t>(nWanted) < nRoom ? nWanted : -1;
}

#pragma once

#include "zemb/export.h"

#include <cstddef>

// Bounded memory and text functions: what does not fit is refused, nothing is ever overrun.

// Copies nCount bytes. 0; EINVAL for a null pointer or ERANGE when nDestSize is smaller than
// nCount: nothing is copied. With nCount 0 null pointers are accepted. The areas may overlap.
ZEMB_API int memcpy_s(void* pDest, std::size_t nDestSize, const void* pSrc, std::size_t nCount);

// Sets nCount bytes. Results as memcpy_s.
ZEMB_API int memset_s(void* pDest, std::size_t nDestSize, int nByte, std::size_t nCount);

// Formats at most nCount characters and a terminating zero into nDestSize bytes. Returns the number
// of characters written, or -1 when the text was cut (what fits is kept), an argument is null or
// the format is no good (szDest then holds "" where it can).
ZEMB_API int snprintf_s(char* szDest, std::size_t nDestSize, std::size_t nCount,
                        const char* szFormat, ...) __attribute__((format(printf, 4, 5)));

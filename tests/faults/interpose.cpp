#include "tests/faults/interpose.h"

#include "zemb/securec.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

// Counts calls and tells which one goes wrong.
struct Strike {
    int nAt = 0;  // 0: none
    bool bFromThenOn = false;
    int nCalls = 0;

    bool Next() {
        if (nAt == 0)
            return false;
        ++nCalls;
        return nCalls == nAt || (bFromThenOn && nCalls > nAt);
    }
    bool HasStruck() const { return nCalls >= nAt; }
};

thread_local Strike t_memory;
thread_local Strike t_lock;
thread_local Strike t_read;
thread_local const std::function<long()>* t_pRead = nullptr;
thread_local bool t_bNoCopy = false;

struct Range {
    std::uintptr_t nBegin = 0;
    std::uintptr_t nEnd = 0;
};

// Where the code of a library lies.
Range RangeOf(const char* szLibrary) {
    std::pair<const char*, Range> search{szLibrary, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* pInfo, std::size_t, void* pSearch) {
            auto& [szName, found] = *static_cast<std::pair<const char*, Range>*>(pSearch);
            if (std::strstr(pInfo->dlpi_name, szName) == nullptr)
                return 0;
            for (int i = 0; i < pInfo->dlpi_phnum; ++i)
                if (pInfo->dlpi_phdr[i].p_type == PT_LOAD) {
                    const std::uintptr_t nBegin = pInfo->dlpi_addr + pInfo->dlpi_phdr[i].p_vaddr;
                    if (found.nBegin == 0)
                        found.nBegin = nBegin;
                    found.nEnd = nBegin + pInfo->dlpi_phdr[i].p_memsz;
                }
            return 1;
        },
        &search);
    return search.second;
}

// ACE takes the library's locks, partly in functions of its own.
bool IsFromLibrary(const void* pCaller) {
    static const Range s_arrRange[] = {RangeOf("libtovelkarin.so"), RangeOf("libACE")};
    const auto nCaller = reinterpret_cast<std::uintptr_t>(pCaller);
    for (const Range& range : s_arrRange)
        if (nCaller >= range.nBegin && nCaller < range.nEnd)
            return true;
    return false;
}

// The call itself, behind the one of this program.
template <class Function>
Function* Real(Function* /*pForType*/, const char* szName) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, szName));
}

template <class Lock>
int TakeLock(int (*pReal)(Lock*), Lock* pLock, const void* pCaller) {
    if (t_lock.nAt != 0 && IsFromLibrary(pCaller) && t_lock.Next())
        return EINVAL;
    return pReal(pLock);
}

}  // namespace

void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
    return t_memory.Next() ? nullptr : std::malloc(nSize == 0 ? 1 : nSize);
}
void* operator new[](std::size_t nSize, const std::nothrow_t& noThrow) noexcept {
    return operator new(nSize, noThrow);
}
void* operator new(std::size_t nSize) {
    void* const p = operator new(nSize, std::nothrow);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}
void* operator new[](std::size_t nSize) {
    return operator new(nSize);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

extern "C" {

int pthread_mutex_lock(pthread_mutex_t* pLock) {
    static auto* const s_pReal = Real(pthread_mutex_lock, "pthread_mutex_lock");
    return TakeLock(s_pReal, pLock, __builtin_return_address(0));
}
int pthread_mutex_trylock(pthread_mutex_t* pLock) {
    static auto* const s_pReal = Real(pthread_mutex_trylock, "pthread_mutex_trylock");
    return TakeLock(s_pReal, pLock, __builtin_return_address(0));
}
int pthread_rwlock_rdlock(pthread_rwlock_t* pLock) {
    static auto* const s_pReal = Real(pthread_rwlock_rdlock, "pthread_rwlock_rdlock");
    return TakeLock(s_pReal, pLock, __builtin_return_address(0));
}
int pthread_rwlock_wrlock(pthread_rwlock_t* pLock) {
    static auto* const s_pReal = Real(pthread_rwlock_wrlock, "pthread_rwlock_wrlock");
    return TakeLock(s_pReal, pLock, __builtin_return_address(0));
}

ssize_t read(int nFile, void* pData, std::size_t nSize) {
    static auto* const s_pReal = Real(read, "read");
    if (t_read.nAt != 0 && IsFromLibrary(__builtin_return_address(0)) && t_read.Next()) {
        errno = 0;
        const long nRead = (*t_pRead)();
        if (nRead >= 0 || errno != 0)
            return nRead;
    }
    return s_pReal(nFile, pData, nSize);
}

}  // extern "C"

int memcpy_s(void* pDest, std::size_t nDestSize, const void* pSrc, std::size_t nCount) {
    using Function = int(void*, std::size_t, const void*, std::size_t);
    static auto* const s_pReal = Real(static_cast<Function*>(nullptr), "_Z8memcpy_sPvmPKvm");
    return t_bNoCopy ? EINVAL : s_pReal(pDest, nDestSize, pSrc, nCount);
}

namespace faults {

ScopedNoMemory::ScopedNoMemory(int nAllocation, bool bFromThenOn) {
    t_memory = {nAllocation, bFromThenOn, 0};
}

ScopedNoMemory::~ScopedNoMemory() {
    t_memory = {};
}

bool ScopedNoMemory::HasStruck() const {
    return t_memory.HasStruck();
}

ScopedNoLock::ScopedNoLock(int nLock, bool bFromThenOn) {
    t_lock = {nLock, bFromThenOn, 0};
}

ScopedNoLock::~ScopedNoLock() {
    t_lock = {};
}

bool ScopedNoLock::HasStruck() const {
    return t_lock.HasStruck();
}

ScopedRead::ScopedRead(int nRead, const std::function<long()>& fn) {
    t_pRead = &fn;
    t_read = {nRead, false, 0};
}

ScopedRead::~ScopedRead() {
    t_read = {};
}

bool ScopedRead::HasStruck() const {
    return t_read.HasStruck();
}

ScopedNoCopy::ScopedNoCopy() {
    t_bNoCopy = true;
}

ScopedNoCopy::~ScopedNoCopy() {
    t_bNoCopy = false;
}

}  // namespace faults

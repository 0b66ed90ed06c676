#include "tests/system_calls.h"

#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <utility>

// The functions below stand before those of the C library for every shared object of the process.
namespace support {

namespace {

std::atomic<const SystemCalls::Hook*> g_pHook{nullptr};

// Whether the call is made.
bool Passes(const char* szCall, const std::string& strFile) {
    const SystemCalls::Hook* const pHook = g_pHook;
    const int nErrno = pHook == nullptr ? 0 : (*pHook)(szCall, strFile);
    if (nErrno != 0)
        errno = nErrno;
    return nErrno == 0;
}

bool Passes(const char* szCall, int nFile) {
    std::error_code ignored;
    return g_pHook == nullptr ||
           Passes(szCall,
                  std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(nFile), ignored)
                      .string());
}

}  // namespace

SystemCalls::SystemCalls(Hook hook) : m_hook(std::move(hook)) {
    g_pHook = &m_hook;
}

SystemCalls::~SystemCalls() {
    g_pHook = nullptr;
}

}  // namespace support

#define REPLACED extern "C" __attribute__((visibility("default")))

REPLACED int fsync(int nFile) {
    return support::Passes("fsync", nFile) ? static_cast<int>(syscall(SYS_fsync, nFile)) : -1;
}

REPLACED int fdatasync(int nFile) {
    return support::Passes("fdatasync", nFile) ? static_cast<int>(syscall(SYS_fdatasync, nFile))
                                               : -1;
}

REPLACED int posix_fallocate(int nFile, off_t nFrom, off_t nBytes) {
    if (!support::Passes("posix_fallocate", nFile))
        return errno;
    return syscall(SYS_fallocate, nFile, 0, nFrom, nBytes) == 0 ? 0 : errno;
}

REPLACED int flock(int nFile, int nOperation) noexcept {
    const char* const szCall = (nOperation & LOCK_EX) != 0 ? "flock exclusive" : "flock shared";
    return support::Passes(szCall, nFile) ? static_cast<int>(syscall(SYS_flock, nFile, nOperation))
                                          : -1;
}

REPLACED int renameat2(int nFrom, const char* szFrom, int nTo, const char* szTo,
                       unsigned nFlags) noexcept {
    return support::Passes("renameat2", std::string(szFrom))
               ? static_cast<int>(syscall(SYS_renameat2, nFrom, szFrom, nTo, szTo, nFlags))
               : -1;
}

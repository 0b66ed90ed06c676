#include "zemb/operlog_store.h"

#include <sqlite3.h>

#include <atomic>
#include <cerrno>
#include <string_view>

namespace zemb {

namespace {

std::atomic<int> g_nFault{0};

int FailOpen(const char* /*szPath*/, int /*nFlags*/, int /*nMode*/) {
    errno = g_nFault;
    return -1;
}

ssize_t FailWrite(int /*nFile*/, const void* /*pData*/, size_t /*nSize*/, off_t /*nOffset*/) {
    errno = g_nFault;
    return -1;
}

ssize_t FailPlainWrite(int /*nFile*/, const void* /*pData*/, size_t /*nSize*/) {
    errno = g_nFault;
    return -1;
}

// What takes the place of a call of the operating system.
sqlite3_syscall_ptr FaultOf(std::string_view strCall) {
    if (strCall == "open")
        return reinterpret_cast<sqlite3_syscall_ptr>(FailOpen);
    return strCall == "write" ? reinterpret_cast<sqlite3_syscall_ptr>(FailPlainWrite)
                              : reinterpret_cast<sqlite3_syscall_ptr>(FailWrite);
}

// Puts pCall in the place of a call, or the call itself back; not every build has every call.
void SetSystemCall(const char* szCall, sqlite3_syscall_ptr pCall) {
    sqlite3_vfs* const pVfs = sqlite3_vfs_find(nullptr);
    pVfs->xSetSystemCall(pVfs, szCall, pCall);
}

}  // namespace

ScopedStoreFault::ScopedStoreFault(const char* szCall, int nErrno)
    : m_vecCall(std::string_view(szCall) == "open"
                    ? std::vector<const char*>{"open"}
                    : std::vector<const char*>{"write", "pwrite", "pwrite64"}) {
    g_nFault = nErrno;
    for (const char* const szOne : m_vecCall)
        SetSystemCall(szOne, FaultOf(szOne));
}

ScopedStoreFault::~ScopedStoreFault() {
    for (const char* const szOne : m_vecCall)
        SetSystemCall(szOne, nullptr);
}

}  // namespace zemb

#include "view/command_error.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace host {

void FailWithErrno(const std::string& strFile) {
    FailWith(errno, strFile);
}

void FailWith(int nError, const std::string& strFile) {
    if (nError == EACCES || nError == EPERM)
        throw CommandError(SYSTEM_FAILED, "permission denied: " + strFile);
    throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(nError));
}

void RequireAccess(const std::string& strFile, int nMode) {
    if (access(strFile.c_str(), nMode) != 0 && errno == EACCES)
        FailWithErrno(strFile);
}

void FailAsNoPlainFile(const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": no plain file");
}

}  // namespace host

#include "view/command_error.h"

#include <cerrno>
#include <cstring>

namespace host {

void FailWithErrno(const std::string& strFile) {
    FailWith(errno, strFile);
}

void FailWith(int nError, const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(nError));
}

void FailAsNoPlainFile(const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": no plain file");
}

}  // namespace host

#include "view/command_error.h"

#include <cerrno>
#include <cstring>

namespace host {

void FailWithErrno(const std::string& strFile) {
    throw CommandError(SYSTEM_FAILED, strFile + ": " + std::strerror(errno));
}

}  // namespace host

#pragma once

#include <functional>
#include <string>

namespace support {

// While in scope: is asked before calls of the operating system by which files get to the disk and
// to their names (fsync, fdatasync, posix_fallocate, renameat2, flock), of all code of the process.
// Gets the name of the call and the file, of renameat2 the one that is renamed; answers an errno
// with which the call fails, or 0. One at a time.
class SystemCalls {
public:
    using Hook = std::function<int(const std::string& strCall, const std::string& strFile)>;

    explicit SystemCalls(Hook hook);
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

private:
    const Hook m_hook;
};

}  // namespace support

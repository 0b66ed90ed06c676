#pragma once

#include "commands/descriptor.h"

#include <sys/stat.h>

#include <string>

namespace host {

// A plain file that nobody else who locks it (flock) reads or changes as long as the object lives.
class LockedFile {
public:
    // Follows no link. Waits at most nSeconds for others, and says so after the first one. Throws
    // CommandError when it cannot be opened or locked; who holds it then stands in the text.
    LockedFile(const std::string& strFile, int nSeconds);

    // Of the file itself, whatever its name leads to meanwhile.
    std::string Read() const;
    const struct stat& Status() const { return m_status; }

private:
    bool IsStillNamed() const;
    bool TryToLock();
    std::string Holder() const;

    const std::string m_strFile;
    Descriptor m_file{-1};
    struct stat m_status {};
};

}  // namespace host

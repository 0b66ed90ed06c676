#pragma once

#include <unistd.h>

namespace zemb {

// Closes a file at its end; -1: there is none.
class Descriptor {
public:
    explicit Descriptor(int nFile) : m_nFile(nFile) {}
    ~Descriptor() {
        if (m_nFile != -1)
            close(m_nFile);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return m_nFile; }

private:
    const int m_nFile;
};

}  // namespace zemb

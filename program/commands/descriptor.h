#pragma once

#include <unistd.h>

namespace host {

// A file descriptor, closed with the object; -1 for none.
class Descriptor {
public:
    explicit Descriptor(int nFile) : m_nFile(nFile) {}
    ~Descriptor() { Reset(-1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return m_nFile; }

    void Reset(int nFile) {
        if (m_nFile != -1)
            close(m_nFile);
        m_nFile = nFile;
    }

private:
    int m_nFile;
};

}  // namespace host

#pragma once

#include <functional>

// Calls of the C++ runtime and the C library that this test program stands in for, so that they
// fail where they are told to. Only on the thread that made the object.
namespace faults {

// The n-th allocation (and, with bFromThenOn, each one behind it) throws std::bad_alloc.
class ScopedNoMemory {
public:
    ScopedNoMemory(int nAllocation, bool bFromThenOn);
    ~ScopedNoMemory();
    ScopedNoMemory(const ScopedNoMemory&) = delete;
    ScopedNoMemory& operator=(const ScopedNoMemory&) = delete;
    bool HasStruck() const;
};

// The n-th mutex or read-write lock that the library takes cannot be taken.
class ScopedNoLock {
public:
    ScopedNoLock(int nLock, bool bFromThenOn);
    ~ScopedNoLock();
    ScopedNoLock(const ScopedNoLock&) = delete;
    ScopedNoLock& operator=(const ScopedNoLock&) = delete;
    bool HasStruck() const;
};

// In place of the n-th read(2) of the library: what fn answers, unless that is negative and errno
// is 0; then the read goes on.
class ScopedRead {
public:
    ScopedRead(int nRead, const std::function<long()>& fn);
    ~ScopedRead();
    ScopedRead(const ScopedRead&) = delete;
    ScopedRead& operator=(const ScopedRead&) = delete;
    bool HasStruck() const;
};

// memcpy_s fails.
class ScopedNoCopy {
public:
    ScopedNoCopy();
    ~ScopedNoCopy();
    ScopedNoCopy(const ScopedNoCopy&) = delete;
    ScopedNoCopy& operator=(const ScopedNoCopy&) = delete;
};

}  // namespace faults

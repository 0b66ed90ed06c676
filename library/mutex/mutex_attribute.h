#pragma once

#include <ace/OS_NS_Thread.h>

#include <pthread.h>

namespace NSTN_util {

// Makes an ACE mutex of a kind of the system's, such as PTHREAD_MUTEX_ADAPTIVE_NP, whose waiters
// spin a moment before they sleep: half the cost of a plain one where two threads meet.
class MutexAttribute {
public:
    explicit MutexAttribute(int nKind)
        : m_bGood(pthread_mutexattr_init(&m_attr) == 0 &&
                  pthread_mutexattr_settype(&m_attr, nKind) == 0) {}
    ~MutexAttribute() { pthread_mutexattr_destroy(&m_attr); }
    MutexAttribute(const MutexAttribute&) = delete;
    MutexAttribute& operator=(const MutexAttribute&) = delete;

    // Null, which stands for a plain mutex, where there is no such kind.
    ACE_mutexattr_t* Get() { return m_bGood ? &m_attr : nullptr; }

private:
    ACE_mutexattr_t m_attr{};
    const bool m_bGood;
};

}  // namespace NSTN_util

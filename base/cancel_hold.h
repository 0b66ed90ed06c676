#pragma once

#include <pthread.h>

namespace base {

// Holds pthread_cancel of the calling thread off while it is in scope: the cancel takes effect at
// the thread's next cancellation point behind it. What runs below needs it wherever it reaches one:
// the unwinding of a cancelled thread ends the process in a destructor, in a function that throws
// nothing and in a handler that keeps what it catches, and C code that it crosses keeps its locks.
// Cost: two calls of some ten nanoseconds each, so it stands where files, other programs and
// foreign code are reached, and not over work in memory.
class CancelHold {
public:
    CancelHold() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_nBefore); }
    ~CancelHold() { pthread_setcancelstate(m_nBefore, nullptr); }
    CancelHold(const CancelHold&) = delete;
    CancelHold& operator=(const CancelHold&) = delete;

private:
    int m_nBefore = PTHREAD_CANCEL_ENABLE;
};

}  // namespace base

#pragma once

#include <ace/Guard_T.h>

namespace NSTN_util {

// Holds an ACE mutex that others hold for moments only: it is asked for again, with growing pauses,
// before the thread sleeps. When it cannot be taken at all the work goes on without it.
template <class Mutex>
class SpinGuard {
public:
    explicit SpinGuard(Mutex& mutex) : m_guard(mutex, false) {
        for (int nPauses = 8; nPauses <= PAUSES_MOST && !m_guard.locked(); nPauses *= 2) {
            for (int i = 0; i < nPauses; ++i)
                Pause();
            m_guard.tryacquire();
        }
        if (!m_guard.locked())
            m_guard.acquire();
    }

private:
    static constexpr int PAUSES_MOST = 128;

    // Lets the other thread of the processor go on.
    static void Pause() {
#if defined(__x86_64__)
        __builtin_ia32_pause();
#endif
    }

    ACE_Guard<Mutex> m_guard;
};

}  // namespace NSTN_util

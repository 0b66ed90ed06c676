#include "config/published.h"

#include <thread>

// A reader raises a counter and then takes the pointer; who publishes exchanges the pointer and
// then looks at the counters. All four are sequentially consistent: a reader that got the old
// object is seen by the look. There are two counters for each thread. New readers are sent to the
// one that is not being waited for, so each gets to 0 however many come; both are waited for, as a
// reader may have been sent before and have arrived late.
namespace NSTN_util {

namespace {

struct alignas(64) Line {
    std::atomic<unsigned> arrReaders[2];
};
Line g_arrLine[READER_LINES];

std::atomic<unsigned> g_nSide{0};  // where new readers go
std::atomic<unsigned> g_nThreads{0};

constexpr unsigned NO_LINE = READER_LINES;
thread_local unsigned t_nLine = NO_LINE;

}  // namespace

std::atomic<unsigned>& EnterReaders() noexcept {
    if (t_nLine == NO_LINE)
        t_nLine = g_nThreads.fetch_add(1, std::memory_order_relaxed) % READER_LINES;
    std::atomic<unsigned>& nReaders = g_arrLine[t_nLine].arrReaders[g_nSide.load()];
    nReaders.fetch_add(1);
    return nReaders;
}

void WaitForReaders() noexcept {
    for (const unsigned nSide : {0U, 1U}) {
        g_nSide = 1 - nSide;
        for (const Line& line : g_arrLine)
            while (line.arrReaders[nSide].load() != 0) {
                std::this_thread::yield();
                g_nSide = 1 - nSide;  // another thread that waits may have turned it
            }
    }
}

}  // namespace NSTN_util

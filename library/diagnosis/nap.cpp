#include "diagnosis/nap.h"

#include <time.h>

#include <atomic>

namespace NSTN_util {

namespace {

std::atomic<void (*)()> g_pNap{nullptr};

}  // namespace

void Nap() {
    if (void (*const pNap)() = g_pNap)
        return pNap();
    const timespec second = {1, 0};
    nanosleep(&second, nullptr);
}

void ReplaceNap(void (*pNap)()) {
    g_pNap = pNap;
}

}  // namespace NSTN_util

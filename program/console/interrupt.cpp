#include "console/interrupt.h"

#include <chrono>
#include <csignal>
#include <thread>

namespace host {

namespace {

constexpr auto LOOK_AGAIN = std::chrono::milliseconds(200);

volatile std::sig_atomic_t g_nInterrupted = 0;

void Interrupt(int /*nSignal*/) {
    g_nInterrupted = 1;
}

}  // namespace

Interruptible::Interruptible() {
    g_nInterrupted = 0;
    m_pBefore = std::signal(SIGINT, Interrupt);
}

Interruptible::~Interruptible() {
    std::signal(SIGINT, m_pBefore);
}

bool Interruptible::HasCome() const {
    return g_nInterrupted != 0;
}

bool Interruptible::Pause() const {
    if (g_nInterrupted == 0)
        std::this_thread::sleep_for(LOOK_AGAIN);
    return g_nInterrupted != 0;
}

}  // namespace host

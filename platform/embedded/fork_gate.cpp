#include "embedded/fork_gate.h"

#include <pthread.h>
#include <time.h>
#include <unistd.h>

// The gate is a lock that many hold for reading while they work, and that fork() takes for writing.
// It is registered when the platform is loaded: handlers run in the reverse order before a fork, so
// those of the application, which may wait for locks whose holders are about to come in here, have
// run by then. All waits are bounded all the same, since an application may have registered its
// handlers earlier. A fork that went on without the gate leaves its child connections that may be
// in the midst of something: such a child opens no database.
namespace zemb {

namespace {

constexpr time_t LONGEST_WAIT = 5;  // seconds

pthread_rwlock_t g_gate;
std::atomic<unsigned long> g_nForks{0};
void (*g_fnChild)() = nullptr;
thread_local int t_nHeld = 0;
thread_local bool t_bEntered = false;  // through the gate, at the outermost of those held
thread_local bool t_bForking = false;  // has the gate for a fork

void MakeGate() {
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    // A fork gets in however many work.
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    pthread_rwlock_init(&g_gate, &attributes);
    pthread_rwlockattr_destroy(&attributes);
}

timespec Deadline() {
    timespec until{};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += LONGEST_WAIT;
    return until;
}

void BeforeFork() {
    const timespec until = Deadline();
    t_bForking = t_nHeld == 0 && pthread_rwlock_timedwrlock(&g_gate, &until) == 0;
}

void AfterForkInParent() {
    if (t_bForking)
        pthread_rwlock_unlock(&g_gate);
    t_bForking = false;
}

// The gate is made anew: it may count threads that waited for it and do not exist here.
void AfterForkInChild() {
    const bool bClosed = t_bForking;
    AfterForkInParent();
    MakeGate();
    ++g_nForks;
    if (bClosed && g_fnChild != nullptr)
        g_fnChild();
}

const int g_nRegistered = [] {
    MakeGate();
    return pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
}();

// A writer waits in front of most who come; those who need no wait pay no look at the clock.
bool Enter() {
    if (pthread_rwlock_tryrdlock(&g_gate) == 0)
        return true;
    const timespec until = Deadline();
    return pthread_rwlock_timedrdlock(&g_gate, &until) == 0;
}

}  // namespace

ForkGate::ForkGate() {
    if (t_nHeld++ == 0)
        t_bEntered = !t_bForking && Enter();
}

ForkGate::~ForkGate() {
    if (--t_nHeld == 0 && t_bEntered)
        pthread_rwlock_unlock(&g_gate);
}

void OnFork(void (*fnChild)()) {
    g_fnChild = fnChild;
}

unsigned long Forks() {
    return g_nForks.load(std::memory_order_relaxed);
}

ProcessMark ThisProcess() {
    return {Forks(), getpid()};
}

}  // namespace zemb

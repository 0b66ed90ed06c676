#include "embedded/fork_gate.h"

#include <pthread.h>
#include <time.h>
#include <unistd.h>

// The gate is a lock that many hold for reading while they work, and that fork() takes for writing.
// It is registered when the platform is loaded: handlers run in the reverse order before a fork, so
// those of the application, which may wait for locks whose holders are about to come in here, have
// run by then. All waits are bounded all the same, since an application may have registered its
// handlers earlier. When one thread has waited for too long at a gate that is closed, this and all
// others go in without, else the fork would wait for each of them, at each of its steps. A fork
// without the gate, or while somebody was in without it, leaves its child connections that may be
// in the midst of something: such a child opens no database.
namespace zemb {

namespace {

constexpr time_t LONGEST_WAIT = 5;  // seconds

pthread_rwlock_t g_gate;
std::atomic<unsigned long> g_nForks{0};
void (*g_fnChild)() = nullptr;
std::atomic<unsigned> g_nTurns{0};     // odd while the gate is closed
std::atomic<unsigned> g_nGivenUp{0};   // at which of them somebody waited for too long
std::atomic<int> g_nInWithoutGate{0};  // threads
enum class Way { NONE, GATE, NO_GATE };
thread_local int t_nHeld = 0;
thread_local Way t_way = Way::NONE;    // in, at the outermost of those held
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
    if (t_bForking)
        ++g_nTurns;
}

void AfterForkInParent() {
    if (!t_bForking)
        return;
    ++g_nTurns;
    pthread_rwlock_unlock(&g_gate);
    t_bForking = false;
}

// The gate is made anew: it may count threads that waited for it and do not exist here.
void AfterForkInChild() {
    const bool bClosed = t_bForking && g_nInWithoutGate == 0;
    if (t_bForking)
        pthread_rwlock_unlock(&g_gate);  // else a thread checker takes the new one for held
    t_bForking = false;
    t_way = Way::NONE;
    g_nTurns = g_nGivenUp = 0;
    g_nInWithoutGate = 0;
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
Way Enter() {
    if (pthread_rwlock_tryrdlock(&g_gate) == 0)
        return Way::GATE;
    const timespec until = Deadline();
    const auto IsGivenUp = [] { return g_nTurns % 2 == 1 && g_nGivenUp == g_nTurns; };
    if (!IsGivenUp() && pthread_rwlock_timedrdlock(&g_gate, &until) == 0)
        return Way::GATE;
    g_nGivenUp = g_nTurns.load();
    ++g_nInWithoutGate;
    return Way::NO_GATE;
}

}  // namespace

ForkGate::ForkGate() {
    if (t_nHeld++ == 0)
        t_way = t_bForking ? Way::NONE : Enter();
}

ForkGate::~ForkGate() {
    if (--t_nHeld != 0)
        return;
    if (t_way == Way::GATE)
        pthread_rwlock_unlock(&g_gate);
    else if (t_way == Way::NO_GATE)
        --g_nInWithoutGate;
    t_way = Way::NONE;
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

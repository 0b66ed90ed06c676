#include "embedded/fork_gate.h"

#include <pthread.h>
#include <time.h>
#include <unistd.h>

// The gate is a lock that many hold for reading while they work, and that fork() takes for writing.
// It is registered when the platform is loaded: handlers run in the reverse order before a fork, so
// those of the application, which may wait for locks whose holders are about to come in here, have
// run by then. The wait is bounded all the same; a fork that went on without the gate leaves its
// child connections that may be in the midst of something, which Connection::CloseInherited looks
// at.
namespace zemb {

namespace {

constexpr time_t LONGEST_WAIT = 5;  // seconds

pthread_rwlock_t g_gate;
std::atomic<unsigned long> g_nForks{0};
thread_local int t_nHeld = 0;
thread_local bool t_bForking = false;  // has the gate for a fork

void MakeGate() {
    pthread_rwlockattr_t attributes;
    pthread_rwlockattr_init(&attributes);
    // A fork gets in however many work.
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
    pthread_rwlock_init(&g_gate, &attributes);
    pthread_rwlockattr_destroy(&attributes);
}

void BeforeFork() {
    timespec until{};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += LONGEST_WAIT;
    t_bForking = pthread_rwlock_timedwrlock(&g_gate, &until) == 0;
}

void AfterForkInParent() {
    if (t_bForking)
        pthread_rwlock_unlock(&g_gate);
}

// The gate is made anew: it may count threads that waited for it and do not exist here.
void AfterForkInChild() {
    AfterForkInParent();
    MakeGate();
    ++g_nForks;
}

const int g_nRegistered = [] {
    MakeGate();
    return pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
}();

}  // namespace

ForkGate::ForkGate() {
    if (t_nHeld++ == 0)
        pthread_rwlock_rdlock(&g_gate);
}

ForkGate::~ForkGate() {
    if (--t_nHeld == 0)
        pthread_rwlock_unlock(&g_gate);
}

unsigned long Forks() {
    return g_nForks.load(std::memory_order_relaxed);
}

ProcessMark ThisProcess() {
    return {Forks(), getpid()};
}

}  // namespace zemb

#pragma once

#include <sys/types.h>

#include <atomic>
#include <memory>

// What a child process must not go on with: its parent's connections to databases, and objects
// whose locks a thread of the parent may have held.
namespace zemb {

// Held, by any number of threads at once, while SQLite works for one of them, from the beginning of
// a change to its end, and while a lock is held that a child needs: of the paths and of the logs.
// fork() waits until nobody holds it (a few seconds at most), so that a child finds SQLite idle and
// these locks free. The same thread may hold several. Nothing of somebody else's is called while it
// is held.
class ForkGate {
public:
    ForkGate();
    ~ForkGate();
    ForkGate(const ForkGate&) = delete;
    ForkGate& operator=(const ForkGate&) = delete;
};

// Which process this is: differs from that of every process above it, also when a number of a
// process came again.
struct ProcessMark {
    unsigned long nForks;  // since the first process
    pid_t nProcess;

    bool operator==(const ProcessMark& other) const {
        return nForks == other.nForks && nProcess == other.nProcess;
    }
    bool operator!=(const ProcessMark& other) const { return !(*this == other); }
};
ProcessMark ThisProcess();
unsigned long Forks();  // the first part of it, without a call of the system

// Has fnChild called in each child process that began with the gate closed, before fork() returns
// there. For one function, when the platform is loaded.
void OnFork(void (*fnChild)());

// One object for each process: a child makes its own at its first use, and leaves its parent's
// alone. Lives to the end of the process.
template <class T>
class PerProcess {
public:
    T& Get() {
        const ProcessMark process = ThisProcess();
        Owned* pFound = m_pOwned.load(std::memory_order_acquire);
        if (pFound != nullptr && pFound->process == process)
            return pFound->value;
        auto pNew = std::make_unique<Owned>(process);
        while (!m_pOwned.compare_exchange_strong(pFound, pNew.get()))
            if (pFound != nullptr && pFound->process == process)
                return pFound->value;
        return pNew.release()->value;
    }

private:
    struct Owned {
        explicit Owned(const ProcessMark& processOf) : process(processOf) {}
        const ProcessMark process;
        T value;
    };
    std::atomic<Owned*> m_pOwned{nullptr};
};

}  // namespace zemb

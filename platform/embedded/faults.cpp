#include "embedded/fault_point.h"

#include "base/immortal.h"

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

// Makes calls of the platform fail for tests. A call that reaches the world asks here at its fault
// point, which costs one atomic look as long as no test has a plan. A plan counts the points that
// are passed, and at the one that it names the call fails, throws, or rests until it is released.
namespace zemb {

struct ScopedFault::Plan {
    const EFault eFault;
    const int nPoint;
    const bool bFromThenOn;
    const int nErrno;
    int nPassed = 0;
    const char* szWhere = "";
    bool bReleased = false;
    int nResting = 0;
};

std::atomic<ScopedFault::Plan*> g_pFaultPlan{nullptr};

namespace {

// Both outlive every plan: a call may be at its fault point while the plan goes.
std::mutex& Lock() {
    static base::Immortal<std::mutex> lock;
    return *lock;
}

std::condition_variable& Changed() {
    static base::Immortal<std::condition_variable> changed;
    return *changed;
}

void Rest(ScopedFault::Plan& plan, std::unique_lock<std::mutex>& guard) {
    ++plan.nResting;
    Changed().notify_all();
    Changed().wait(guard, [&] { return plan.bReleased; });
    --plan.nResting;
    Changed().notify_all();
}

}  // namespace

bool StrikeFault(const char* szCall, bool bMayThrow) {
    std::unique_lock<std::mutex> guard(Lock());
    ScopedFault::Plan* const pPlan = g_pFaultPlan.load();
    if (pPlan == nullptr)
        return false;
    const int nPoint = ++pPlan->nPassed;
    if (pPlan->nPoint == 0 || nPoint < pPlan->nPoint ||
        (nPoint > pPlan->nPoint && !pPlan->bFromThenOn))
        return false;
    if (*pPlan->szWhere == '\0')
        pPlan->szWhere = szCall;
    if (pPlan->eFault == EFault::BLOCKS) {
        Rest(*pPlan, guard);
        return false;
    }
    if (pPlan->eFault == EFault::THROWS && bMayThrow)
        throw std::runtime_error(std::string(szCall) + " goes wrong for a test");
    errno = pPlan->nErrno;
    return true;
}

ScopedFault::ScopedFault(EFault eFault, int nPoint, bool bFromThenOn, int nErrno)
    : m_pPlan(new Plan{eFault, nPoint, bFromThenOn, nErrno}) {
    const std::lock_guard<std::mutex> guard(Lock());
    g_pFaultPlan = m_pPlan.get();
}

ScopedFault::~ScopedFault() {
    std::unique_lock<std::mutex> guard(Lock());
    g_pFaultPlan = nullptr;
    m_pPlan->bReleased = true;
    Changed().notify_all();
    Changed().wait(guard, [this] { return m_pPlan->nResting == 0; });
}

int ScopedFault::Points() const {
    const std::lock_guard<std::mutex> guard(Lock());
    return m_pPlan->nPassed;
}

std::string ScopedFault::Where() const {
    const std::lock_guard<std::mutex> guard(Lock());
    return m_pPlan->szWhere;
}

void ScopedFault::WaitUntilBlocked() const {
    std::unique_lock<std::mutex> guard(Lock());
    Changed().wait(guard, [this] { return m_pPlan->nResting != 0; });
}

void ScopedFault::Release() {
    const std::lock_guard<std::mutex> guard(Lock());
    m_pPlan->bReleased = true;
    Changed().notify_all();
}

}  // namespace zemb

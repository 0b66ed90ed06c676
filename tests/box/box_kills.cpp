// Whether the black box of a process tells exactly what it holds: a server with four threads and
// guards of all kinds is stopped, killed, and deadlocked on purpose, and each time its box is held
// against a journal that its threads keep, in memory shared with this process, before and after
// each call. What the journal says is held must be there, and what it says is not held must not; in
// between both are right, and only there may the box say that a call is under way.
//
//   tovelkarin_box_kills [KILLS]
#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/tnthreadmgr.h"

#include "zemb/black_box.h"
#include "zemb/control.h"
#include "zemb/message.h"
#include "zemb/module.h"
#include "zemb/task.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int THREADS = 4;
constexpr int WAYS = 6;
constexpr int OBJECTS = 7;  // in the list of the way with the most

enum EState { FREE, ASKED, HELD, GIVEN_BACK };

struct Journal {
    std::atomic<int> arrState[THREADS][WAYS];
    std::atomic<int> arrThread[THREADS];  // of its registration
    std::atomic<long> nCalls;
    std::atomic<bool> bLockUp;
    std::atomic<int> nLockedUp;
};
Journal* g_pJournal;

using NSTE_util::TEOperObject;

// What a thread asks for in a way: no two ask for the same.
int OperOf(int nThread, int nWay) {
    return 1000 + nThread * WAYS + nWay;
}
std::vector<TEOperObject> ObjectsOf(int nThread, int nWay) {
    const int nNe = 1 + nThread * WAYS + nWay;
    switch (nWay) {
        case 0: return {{nNe, 1, 0}};
        case 1: {
            std::vector<TEOperObject> vecObj;
            for (int i = 1; i <= OBJECTS; ++i)
                vecObj.push_back({nNe, i, i});
            return vecObj;
        }
        case 2: return {{nNe, 0, 0}};
        case 3: return {{0, 0, 0}};
        case 4: return {{nNe, 2, 3}, {nNe, 2, 4}};
        default: return {{nNe, 0, 0}};  // a trail, of one thread only
    }
}

// Holds what a way asks for, as the library's users do.
class Holder {
public:
    Holder(int nThread, int nWay)
        : m_state(g_pJournal->arrState[nThread][nWay]),
          m_nOper(OperOf(nThread, nWay)),
          m_nWay(nWay) {
        const std::vector<TEOperObject> vecObj = ObjectsOf(nThread, nWay);
        m_listObj.assign(vecObj.begin(), vecObj.end());
        m_state = ASKED;
        Ask();
        m_state = HELD;
        ++g_pJournal->nCalls;
    }
    ~Holder() {
        m_state = GIVEN_BACK;
        GiveBack();
        m_state = FREE;
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

private:
    void Ask() {
        switch (m_nWay) {
            case 0:
                m_pGuard =
                    std::make_unique<NSTE_util::TEMutexOperGuard>(m_nOper, m_listObj.front());
                return;
            case 1:
                m_pGuard = std::make_unique<NSTE_util::TEMutexOperGuard>(m_nOper, m_listObj);
                return;
            case 2: {
                ZembCmdMSG msg{};
                msg.nCmd = static_cast<std::uint32_t>(m_nOper);
                ZembGnlTask task(&msg);
                const zemb::ScopedTask current(&task);
                m_pNeGuard =
                    std::make_unique<NSTE_util::TEMutexOperNEGuard>(m_listObj.front().nNeId);
                return;
            }
            case 3: NSTE_util::TEMutexLock::lock(m_nOper); return;
            case 4:
                NSTE_util::TEMutexOperMgr::Instance()->AcquireMutexOper(m_nOper, m_listObj);
                return;
            default:
                m_pTrailGuard =
                    std::make_unique<NSTE_util::TEMutexOperTrailGuard>(m_listObj.front().nNeId);
                m_pTrailGuard->IsConflict();
        }
    }

    void GiveBack() {
        m_pGuard.reset();
        m_pNeGuard.reset();
        m_pTrailGuard.reset();
        if (m_nWay == 3)
            NSTE_util::TEMutexLock::release(m_nOper);
        if (m_nWay == 4)
            NSTE_util::TEMutexOperMgr::Instance()->ReleaseMutexOper(m_nOper, m_listObj);
    }

    std::atomic<int>& m_state;
    const int m_nOper;
    const int m_nWay;
    std::list<TEOperObject> m_listObj;
    std::unique_ptr<NSTE_util::TEMutexOperGuard> m_pGuard;
    std::unique_ptr<NSTE_util::TEMutexOperNEGuard> m_pNeGuard;
    std::unique_ptr<NSTE_util::TEMutexOperTrailGuard> m_pTrailGuard;
};

std::mutex g_arrLock[THREADS];

// Each thread waits for a lock that its neighbour holds.
[[noreturn]] void LockUp(int nThread) {
    g_arrLock[nThread].lock();
    ++g_pJournal->nLockedUp;
    while (g_pJournal->nLockedUp < THREADS)
        std::this_thread::yield();
    g_arrLock[(nThread + 1) % THREADS].lock();
    std::abort();
}

void Work(int nThread, unsigned nSeed) {
    std::mt19937 random(nSeed);
    for (;;) {
        g_pJournal->arrThread[nThread] = ASKED;
        auto pThread =
            std::make_unique<NSTN_util::TNThreadGuard>("worker " + std::to_string(nThread));
        g_pJournal->arrThread[nThread] = HELD;
        std::unique_ptr<Holder> arrHolder[WAYS];
        for (int i = 0; i < 30; ++i) {
            const int nWay = static_cast<int>(random() % (nThread == 0 ? WAYS : WAYS - 1));
            if (arrHolder[nWay] == nullptr)
                arrHolder[nWay] = std::make_unique<Holder>(nThread, nWay);
            else
                arrHolder[nWay].reset();
            if (g_pJournal->bLockUp)
                LockUp(nThread);
        }
        for (auto& pHolder : arrHolder)
            pHolder.reset();
        g_pJournal->arrThread[nThread] = GIVEN_BACK;
        pThread.reset();
        g_pJournal->arrThread[nThread] = FREE;
    }
}

[[noreturn]] void Serve(unsigned nSeed) {
    std::string strError;
    if (!ModuleMgr::Instance()->StartModules(strError))
        std::abort();
    const zemb::ScopedDebugSink noLines([](const zemb::DebugLine&) {});
    std::vector<std::thread> vecThread;
    for (int i = 0; i < THREADS; ++i)
        vecThread.emplace_back(Work, i, nSeed * THREADS + static_cast<unsigned>(i));
    for (std::thread& thread : vecThread)
        thread.join();
    std::abort();
}

// Holds a box against the journal; the process must not run meanwhile.
class Judge {
public:
    explicit Judge(const zemb::BlackBox& box) : m_box(box) {}

    bool IsGood(const char* szWhen) {
        if (m_box.nTorn > THREADS)
            Complain("records torn");
        for (int i = 0; i < THREADS; ++i) {
            JudgeThread(i);
            for (int nWay = 0; nWay < WAYS; ++nWay)
                for (const TEOperObject& obj : ObjectsOf(i, nWay))
                    JudgeObject(i, nWay, obj);
        }
        if (m_nShown != m_box.vecHeld.size() + m_box.vecTrail.size())
            Complain("something is shown that nobody asked for");
        if (!m_bGood)
            std::printf("... when %s\n", szWhen);
        return m_bGood;
    }

private:
    void Complain(const std::string& strText) {
        std::printf("%s\n", strText.c_str());
        m_bGood = false;
    }

    void JudgeObject(int nThread, int nWay, const TEOperObject& obj) {
        const bool bTrail = nWay == WAYS - 1;
        int nShown = 0;
        bool bUnderWay = false;
        for (const zemb::BoxHeld& held : bTrail ? m_box.vecTrail : m_box.vecHeld)
            if ((bTrail || held.nOper == OperOf(nThread, nWay)) && held.obj.nNeId == obj.nNeId &&
                held.obj.nObjId == obj.nObjId && held.obj.lSubObjId == obj.lSubObjId) {
                ++nShown;
                bUnderWay = bUnderWay || held.bUnderWay;
            }
        m_nShown += static_cast<std::size_t>(nShown);
        const int nState = g_pJournal->arrState[nThread][nWay];
        const std::string strWhat = "thread " + std::to_string(nThread) + ", way " +
                                    std::to_string(nWay) + ", state " + std::to_string(nState);
        if (nShown > 1 || (nState == HELD && nShown == 0) || (nState == FREE && nShown != 0))
            Complain(strWhat + ": shown " + std::to_string(nShown) + " times");
        if (bUnderWay && (nState == FREE || nState == HELD))
            Complain(strWhat + ": no call is under way");
    }

    void JudgeThread(int nThread) {
        const std::string strLabel = "worker " + std::to_string(nThread);
        bool bShown = false;
        for (const zemb::BoxThread& thread : m_box.vecThread)
            bShown = bShown || (thread.nNesting == 1 && thread.strLabel == strLabel);
        const int nState = g_pJournal->arrThread[nThread];
        if (bShown ? nState == FREE : nState == HELD)
            Complain(strLabel + ": registration is wrong");
    }

    const zemb::BlackBox& m_box;
    std::size_t m_nShown = 0;
    bool m_bGood = true;
};

bool IsRight(const std::string& strState, pid_t nServer, zemb::EBoxState eState,
             const char* szWhen) {
    zemb::BlackBox box;
    std::string strError;
    if (!zemb::ReadBlackBox(strState + "/run/" + std::to_string(nServer) + ".box", box, strError)) {
        std::printf("%s\n", strError.c_str());
        return false;
    }
    if (box.eState != eState) {
        std::printf("not seen as %s\n", szWhen);
        return false;
    }
    return Judge(box).IsGood(szWhen);
}

// Ends when the server has ended by itself, too: its box is then wrong.
void WaitForCalls(pid_t nServer, long nCalls) {
    siginfo_t info{};
    for (const long nEnd = g_pJournal->nCalls + nCalls;
         g_pJournal->nCalls < nEnd && info.si_pid == 0;) {
        std::this_thread::yield();
        waitid(P_PID, static_cast<id_t>(nServer), &info, WEXITED | WNOHANG | WNOWAIT);
    }
}

// One life of a server; false when its box was wrong.
bool Live(const std::string& strState, unsigned nSeed, bool bLockUp) {
    std::mt19937 random(nSeed);
    g_pJournal = new (g_pJournal) Journal{};
    std::fflush(stdout);
    const pid_t nServer = fork();
    if (nServer == 0)
        Serve(nSeed);
    WaitForCalls(nServer, 1 + static_cast<long>(random() % 2000));
    kill(nServer, SIGSTOP);
    int nStatus = 0;
    waitpid(nServer, &nStatus, WUNTRACED);
    if (!WIFSTOPPED(nStatus)) {
        std::printf("the server ended with status %d\n", nStatus);
        return false;
    }
    bool bGood = IsRight(strState, nServer, zemb::EBoxState::STOPPED, "stopped");
    kill(nServer, SIGCONT);
    if (bLockUp) {
        g_pJournal->bLockUp = true;
        while (g_pJournal->nLockedUp < THREADS)
            std::this_thread::yield();
        bGood = IsRight(strState, nServer, zemb::EBoxState::ALIVE, "locked up") && bGood;
    } else {
        WaitForCalls(nServer, 1 + static_cast<long>(random() % 500));
    }
    kill(nServer, SIGKILL);
    waitpid(nServer, nullptr, 0);
    return IsRight(strState, nServer, zemb::EBoxState::DIED, "killed") && bGood;
}

}  // namespace

int main(int argc, char** argv) {
    const int nKills = argc == 2 ? std::atoi(argv[1]) : 30;
    char szFolder[] = "/tmp/tovelkarin.box.XXXXXX";
    if (mkdtemp(szFolder) == nullptr)
        return 1;
    zemb::SetStatePath(szFolder);
    void* const pShared =
        mmap(nullptr, sizeof(Journal), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    g_pJournal = static_cast<Journal*>(pShared);
    int nWrong = 0;
    for (int i = 0; i < nKills; ++i)
        nWrong += Live(szFolder, static_cast<unsigned>(i), i % 10 == 9) ? 0 : 1;
    std::printf("kills: %d, boxes that were wrong: %d\n", nKills, nWrong);
    const std::size_t nKept = zemb::ListBlackBoxes(szFolder).size();
    if (nKept > 17)
        std::printf("%zu boxes are kept\n", nKept);
    std::filesystem::remove_all(szFolder);
    return nWrong == 0 && nKept <= 17 ? 0 : 1;
}

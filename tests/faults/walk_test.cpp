#include "tests/faults/calls.h"
#include "tests/faults/interpose.h"

#include "tests/support.h"

#include "zemb/control.h"
#include "zemb/event.h"
#include "zemb/faults.h"
#include "zemb/message.h"
#include "zemb/operlog_store.h"
#include "zemb/progress_view.h"
#include "zemb/receiver.h"
#include "zemb/task_pool.h"
#include "zemb/user_config.h"

#include <pthread.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>

// Each operation meets each fault at each point where one can strike, one point further each time
// until it gets by. Whatever strikes, nothing escapes that the headers do not name, nothing leaks
// (the address checker tells), and the next call works.
namespace {

using faults::Call;
using faults::Show;

constexpr int POINTS_MOST = 100000;

// What all calls work in; it lives as long as the program.
const support::TempFolder& Folder() {
    static const support::TempFolder folder;
    return folder;
}

const std::vector<Call>& AllCalls() {
    static const auto& vecCall = *new std::vector<Call>(faults::AllCalls(Folder().Path()));
    return vecCall;
}

enum class EMay { NOTHING, LACK_SERVICE, LACK_MEMORY };

// Calls it; "" or what escaped. The answer goes to strAnswer.
std::string Escaped(const Call& call, EMay eMay, std::string& strAnswer) {
    try {
        strAnswer = call.fn();
    } catch (const faults::NoService&) {
        return eMay == EMay::NOTHING ? "no service" : "";
    } catch (const std::bad_alloc&) {
        return eMay == EMay::LACK_MEMORY ? "" : "std::bad_alloc";
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

class FaultWalkTest : public testing::Test {
protected:
    FaultWalkTest() {
        zemb::SetRootPath(Folder().Path());
        zemb::SetStatePath(Folder().Path("state"));
        zemb::SetCallChain(true);
        zemb::SetOperLogSync(false);
        std::cout.setstate(std::ios::failbit);  // what operations print is not looked at here
    }
    ~FaultWalkTest() override {
        std::cout.clear();
        zemb::SetOperLogSync(true);
        zemb::SetCallChain(false);
        zemb::ResetRootPath();
        zemb::ResetStatePath();
    }

    // Otherwise nothing was tried.
    void TearDown() override { EXPECT_LT(50, m_nStruck); }

    // Arms a fault at the n-th point with arm(n), whose object tells HasStruck() and Where().
    template <class Arm>
    void Walk(const Call& call, EMay eMay, Arm arm) {
        std::string strGood;
        ASSERT_EQ("", Escaped(call, EMay::NOTHING, strGood)) << call.szName;
        for (int n = 1; n < POINTS_MOST; ++n) {
            std::string strAnswer;
            std::string strEscaped;
            std::string strWhere;
            bool bStruck = false;
            {
                const auto pFault = arm(n);
                strEscaped = Escaped(call, eMay, strAnswer);
                bStruck = pFault->HasStruck();
                strWhere = pFault->Where();
            }
            EXPECT_EQ("", strEscaped) << call.szName << ": fault " << n << " " << strWhere;
            std::string strNext;
            EXPECT_EQ("", Escaped(call, EMay::NOTHING, strNext)) << call.szName;
            ASSERT_EQ(strGood, strNext) << call.szName << " after fault " << n << " " << strWhere;
            if (!bStruck)
                return;
            ++m_nStruck;
        }
        FAIL() << call.szName << " meets faults without end";
    }

    int m_nStruck = 0;
};

struct PlatformFault : zemb::ScopedFault {
    PlatformFault(zemb::EFault eFault, int n, bool bFromThenOn, int nErrno)
        : ScopedFault(eFault, n, bFromThenOn, nErrno), nPoint(n) {}
    bool HasStruck() const { return Points() >= nPoint; }
    const int nPoint;
};

struct NoMemory : faults::ScopedNoMemory {
    using ScopedNoMemory::ScopedNoMemory;
    static std::string Where() { return "memory"; }
};

struct NoLock : faults::ScopedNoLock {
    using ScopedNoLock::ScopedNoLock;
    static std::string Where() { return "lock"; }
};

TEST_F(FaultWalkTest, PlatformCallsThatFail) {
    for (const Call& call : AllCalls())
        for (const int nErrno : {EIO, ENOENT, EACCES, EMFILE, ENOSPC, EINTR})
            for (const bool bFromThenOn : {false, true})
                Walk(call, EMay::NOTHING, [&](int n) {
                    return std::make_unique<PlatformFault>(zemb::EFault::FAILS, n, bFromThenOn,
                                                           nErrno);
                });
}

TEST_F(FaultWalkTest, PlatformCallsThatThrow) {
    for (const Call& call : AllCalls())
        for (const bool bFromThenOn : {false, true})
            Walk(call, EMay::NOTHING, [&](int n) {
                return std::make_unique<PlatformFault>(zemb::EFault::THROWS, n, bFromThenOn, EIO);
            });
}

TEST_F(FaultWalkTest, MemoryThatIsLacking) {
    for (const Call& call : AllCalls())
        for (const bool bFromThenOn : {false, true})
            Walk(call, EMay::LACK_MEMORY,
                 [&](int n) { return std::make_unique<NoMemory>(n, bFromThenOn); });
}

// A call on a thread that was cancelled before it.
struct CancelledCall {
    const Call& call;
    std::string strEscaped;
    std::string strAnswer;

    // The address checker is not told of the frame that the cancel takes away.
    [[gnu::no_sanitize_address]] static void* Run(void* pSelf) {
        auto& self = *static_cast<CancelledCall*>(pSelf);
        pthread_cancel(pthread_self());
        self.strEscaped = Escaped(self.call, EMay::NOTHING, self.strAnswer);
        pthread_testcancel();
        return nullptr;
    }
};

// Calls that come back into code which can be cancelled, and those that only hosts make.
std::vector<Call> PlatformCalls() {
    static struct : TEEventHandler {
        int HandleEvent(int, void*) override { return pthread_testcancel(), 0; }
    } handler;
    TEEventMgr::Instance()->RegisterHandler(&handler, 7777, 1);
    return {
        {"TEEventMgr", [] { return Show(TEEventMgr::Instance()->SendEvent(7777, nullptr)); }},
        {"a receiver",
         [] {
             const zemb::ScopedReceiver receiver(
                 7777, [](const ZembCmdMSG&, std::string_view) { pthread_testcancel(); });
             ZembCmdMSG msg{};
             msg.nMarker = ZEMB_MSG_MARKER;
             msg.nModule = 7777;
             msg.nLength = ZEMB_MSG_LENGTH_EXTRA;
             return Show(ZembAppMgr::ZembOutSendMsg(&msg));
         }},
        {"a listener",
         [] {
             const zemb::ScopedProgressListener listener(
                 [](const ZembGnlTask*, int, const std::string&) { pthread_testcancel(); });
             NSTE_util::ProgressMgr::Instance()->SendProgress(nullptr, 5,
                                                              NSTE_util::TaskProgressInfo("x"));
             return "";
         }},
        {"a sink",
         [] {
             const zemb::ScopedDebugSink sink([](const zemb::DebugLine&) { pthread_testcancel(); });
             NSTE_util::WriteException("x");
             return "";
         }},
        {"a task of a pool",
         [] {
             int nRun = 0;
             {
                 zemb::TaskPool pool(1, 3);
                 for (int i = 0; i < 3; ++i)
                     pool.Submit({}, {}, [&](ZembGnlTask&) {
                         pthread_cancel(pthread_self());
                         pthread_testcancel();
                         ++nRun;
                     });
             }
             return Show(nRun);
         }},
        {"TEDebugInterface",
         [] {
             TEDebugInterface& debug = *NSTE_util::GetDebugInterface("m");
             debug.Trace(1, "x");
             debug.Assert("x");
             return Show(debug.Printf("%d", 7));
         }},
        {"databases", [] {
             std::string strError;
             std::vector<zemb::UserCfgItem> vecItem;
             long long nDeleted = 0;
             const bool bSet = zemb::SetUserCfg({"section", "other", "1"}, strError);
             const bool bRead = zemb::ReadUserCfg(vecItem, strError);
             return Show(bSet, bRead, zemb::VerifyOperLog().size(), zemb::FlushOperLog(),
                         zemb::PruneOperLog("2000-01-01", nDeleted, strError), strError);
         }}};
}

TEST_F(FaultWalkTest, ThreadsThatAreCancelled) {
    for (const auto& vecCall : {AllCalls(), PlatformCalls()})
        for (const Call& call : vecCall) {
            std::string strGood;
            ASSERT_EQ("", Escaped(call, EMay::NOTHING, strGood)) << call.szName;
            CancelledCall cancelled{call, "the cancel", ""};
            pthread_t thread{};
            void* pEnd = nullptr;
            ASSERT_EQ(0, pthread_create(&thread, nullptr, CancelledCall::Run, &cancelled));
            ASSERT_EQ(0, pthread_join(thread, &pEnd));
            EXPECT_EQ("", cancelled.strEscaped) << call.szName;
            EXPECT_EQ(strGood, cancelled.strAnswer) << call.szName;
            EXPECT_EQ(PTHREAD_CANCELED, pEnd) << call.szName;
            std::string strNext;
            EXPECT_EQ("", Escaped(call, EMay::NOTHING, strNext)) << call.szName;
            EXPECT_EQ(strGood, strNext) << call.szName;
            ++m_nStruck;
        }
}

TEST_F(FaultWalkTest, LocksThatCannotBeTaken) {
    for (const Call& call : AllCalls())
        for (const bool bFromThenOn : {false, true})
            Walk(call, EMay::LACK_SERVICE,
                 [&](int n) { return std::make_unique<NoLock>(n, bFromThenOn); });
}

}  // namespace

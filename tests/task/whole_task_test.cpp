#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/tnprogress.h"
#include "tovelkarin/tnthreadmgr.h"

#include "diagnosis/nap.h"
#include "tests/support.h"
#include "zemb/message.h"
#include "zemb/progress_view.h"
#include "zemb/task_pool.h"

#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

namespace {

using NSTE_util::TEMutexOperMgr;
using NSTE_util::TEMutexOperNEGuard;
using NSTN_util::TNThreadGuard;
using NSTN_util::TNThreadMgr;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int STEPS = 4;
constexpr int NE = 5;

// What every operation leaves behind, however it ends: nothing.
class WholeTaskTest : public testing::Test {
protected:
    ~WholeTaskTest() override {
        TNProgressIF::Destroy();
        TEMutexOperMgr::Destroy();
        TNThreadMgr::Destroy();
    }

    static void ExpectNothingLeft() {
        EXPECT_FALSE(TEMutexOperMgr::Instance()->HasRunningOper());
        EXPECT_TRUE(TNThreadMgr::Instance()->CheckNotExistThread());
        EXPECT_THAT(zemb::AllProgress(), IsEmpty());
    }

    // Runs an operation on a worker thread; returns the steps that it made.
    template <class AtMoment>
    int Run(AtMoment atMoment) {
        int nSteps = 0;
        ZembCmdMSG msg{};
        msg.nCmd = 10;
        m_pool.Submit(msg, {7}, [&](ZembGnlTask& task) {
            int nMoment = 0;
            atMoment(nMoment++, task);
            const TNThreadGuard busy("operation on a NE");
            TNProgressIF& progress = *TNProgressIF::Instance();
            progress.Register(3, &task);
            const auto Forget = [&](ZembGnlTask* pTask) { progress.UnRegister(pTask); };
            const std::unique_ptr<ZembGnlTask, decltype(Forget)> mission(&task, Forget);
            atMoment(nMoment++, task);
            const TEMutexOperNEGuard guard(NE);
            EXPECT_EQ(0U, guard.m_nResult);
            progress.SetProgressSection(100, STEPS);
            while (nSteps < STEPS && !progress.IsAbort()) {
                progress.SendSectionStep("step");
                ++nSteps;
                atMoment(nMoment++, task);
            }
        });
        m_pool.Wait();
        return nSteps;
    }

    zemb::TaskPool m_pool{1, 1};
    support::DebugCapture m_debug;
};

TEST_F(WholeTaskTest, EndsCleanlyWhereverItIsAborted) {
    for (int nAbort = 0; nAbort < STEPS + 2; ++nAbort) {
        const int nSteps = Run([&](int nMoment, ZembGnlTask& task) {
            if (nMoment != nAbort)
                return;
            // The user's thread, not the task's own.
            const bool bKnown =
                std::async(std::launch::async, [&] { return zemb::AbortTask(&task); }).get();
            EXPECT_EQ(nMoment > 0, bKnown);
        });
        EXPECT_EQ(nAbort == 0 ? STEPS : nAbort - 1, nSteps) << nAbort;
        ExpectNothingLeft();
    }
}

TEST_F(WholeTaskTest, EndsCleanlyWhereverItThrows) {
    for (int nThrow = 0; nThrow < STEPS + 2; ++nThrow) {
        Run([&](int nMoment, ZembGnlTask&) {
            if (nMoment == nThrow)
                throw std::runtime_error("moment " + std::to_string(nMoment));
        });
        EXPECT_THAT(m_debug.Take(), Contains("a task threw: moment " + std::to_string(nThrow)));
        ExpectNothingLeft();
    }
}

TEST_F(WholeTaskTest, IsListedAndWaitedForByAShutdown) {
    static std::promise<void> goOn;
    static zemb::TaskPool* pPool = &m_pool;
    std::promise<void> atWork;
    std::thread shutdown([&] {
        atWork.get_future().wait();
        NSTN_util::ReplaceNap([] {
            goOn.set_value();
            pPool->Wait();
        });
        EXPECT_TRUE(TNThreadMgr::Instance()->WaitingThreadExit(5));
        NSTN_util::ReplaceNap(nullptr);
    });
    Run([&](int nMoment, ZembGnlTask&) {
        if (nMoment != 2)
            return;
        atWork.set_value();
        goOn.get_future().wait();
    });
    shutdown.join();
    EXPECT_THAT(m_debug.Take(), Contains(HasSubstr("operation on a NE")));
    ExpectNothingLeft();
}

}  // namespace

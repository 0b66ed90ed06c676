#include "tovelkarin/tnprogress.h"

#include "tests/support.h"
#include "zemb/message.h"
#include "zemb/progress_view.h"
#include "zemb/task.h"

#include <climits>
#include <memory>
#include <optional>
#include <thread>

namespace {

using NSTE_util::ClientMissionID;
using NSTE_util::ProgressMgr;
using NSTE_util::TNProgressIF;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// What was sent, as "percent description".
class ProgressTest : public testing::Test {
protected:
    ~ProgressTest() override {
        Service().UnRegister(&m_task);
        TNProgressIF::Destroy();
    }

    static TNProgressIF& Service() { return *TNProgressIF::Instance(); }
    std::vector<std::string> Sent() { return std::exchange(m_vecSent, {}); }
    void SetPercent(int nPercent) {
        Service().SendProgress(nPercent, nullptr);
        Sent();
    }

    ZembCmdMSG m_message{1, 2, 3, 4, 5, 6, 0, 0, 0, 0};
    ZembGnlTask m_task{&m_message};
    std::vector<std::string> m_vecSent;
    zemb::ScopedProgressListener m_listener{
        [this](const ZembGnlTask*, int nPercent, const std::string& strDesc) {
            m_vecSent.push_back(std::to_string(nPercent) + " " + strDesc);
        }};
    support::DebugCapture m_debug;
};

TEST_F(ProgressTest, DoesNothingWithoutATask) {
    Service().Register(1, nullptr);
    Service().UnRegister(nullptr);
    Service().SendProgress(5, "x");
    Service().SendSectionStep("x");
    Service().SetProgressSection(50, 2);
    EXPECT_FALSE(Service().IsAbort());
    EXPECT_FALSE(Service().SendProgressWithAbort(5, "x"));
    EXPECT_EQ(0U, Service().GetMissionID());
    EXPECT_EQ(0, Service().GetCurProgress());
    EXPECT_THAT(m_debug.Take(), IsEmpty());
    Service().SetProgressScale(2);
    Service().RestoreProgressScale();
    Service().SendStep(1, "x");
    const std::string strStart = "ASSERT: file tnprogressimpl, line ";
    const std::string strEnd = " assertion failed for 'pTask != __null'.";
    EXPECT_THAT(m_debug.Take(), ElementsAre(strStart + "205" + strEnd, strStart + "238" + strEnd,
                                            strStart + "360" + strEnd));
    EXPECT_THAT(Sent(), IsEmpty());
}

TEST_F(ProgressTest, KeepsTheFirstMissionOfATask) {
    const zemb::ScopedTask current(&m_task);
    EXPECT_EQ(0U, Service().GetMissionID());
    Service().Register(0x100000007L, &m_task);
    Service().Register(8, &m_task);
    Service().Register(7, &m_task);
    EXPECT_EQ(7U, Service().GetMissionID());
    const std::vector<zemb::TaskProgress> vecProgress = zemb::AllProgress();
    ASSERT_THAT(vecProgress, SizeIs(1));
    EXPECT_THAT(vecProgress[0].vecMission,
                ElementsAre(ClientMissionID(7, &m_message), ClientMissionID(8, &m_message)))
        << "one that it has already stays one";
    EXPECT_THAT(vecProgress[0].vecMission[0].arrRequest, ElementsAre(2, 3, 4, 5));
    Service().SendProgress(12, "second");
    int nPercent = 0;
    float fScale = 0;
    EXPECT_TRUE(ProgressMgr::Instance()->GetProgress(&m_task, nPercent, fScale));
    EXPECT_EQ(12, nPercent);
    Service().UnRegister(&m_task);
    EXPECT_EQ(0U, Service().GetMissionID());
    EXPECT_THAT(zemb::AllProgress(), IsEmpty());
    EXPECT_FALSE(ProgressMgr::Instance()->GetProgress(&m_task, nPercent, fScale));
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(ProgressTest, TakesAMissionOfOnesWithoutARequest) {
    ZembGnlTask task;
    const zemb::ScopedTask current(&task);
    Service().Register(5, &task);
    EXPECT_THAT(m_debug.Take(), ElementsAre("ASSERT: file tnprogressimpl, line 48 assertion failed "
                                            "for 'pReqMsg != __null'."));
    EXPECT_EQ(0xFFFFFFFFU, Service().GetMissionID());
    EXPECT_THAT(zemb::AllProgress().at(0).vecMission[0].arrRequest, ElementsAre(0, 0, 0, 0));
    Service().UnRegister(&task);
}

TEST_F(ProgressTest, KeepsTasksWithTheSameMissionApart) {
    ZembGnlTask first;
    ZembGnlTask second;
    Service().Register(5, &first);
    Service().Register(5, &second);
    {
        const zemb::ScopedTask current(&second);
        Service().SendProgress(70, "");
        Service().SetProgressScale(3);
        Service().UnRegister(&second);
    }
    const zemb::ScopedTask current(&first);
    EXPECT_EQ(0, Service().GetCurProgress());
    Service().SendStep(5, "");
    EXPECT_EQ(5, Service().GetCurProgress());
    Service().UnRegister(&first);
}

TEST_F(ProgressTest, SendsStepsOfASection) {
    const zemb::ScopedTask current(&m_task);
    Service().SendSectionStep("no section");
    Service().SetProgressSection(40, 3);  // not registered
    Service().SendSectionStep("no section");
    EXPECT_THAT(Sent(), IsEmpty());
    Service().Register(1, &m_task);
    SetPercent(20);
    Service().SetProgressSection(40, 3);
    Service().SetProgressSection(101, 5);
    Service().SetProgressSection(50, 0);
    for (int i = 0; i < 4; ++i)
        Service().SendSectionStep("step");
    EXPECT_THAT(Sent(), ElementsAre("33 step", "46 step", "60 step"));
    SetPercent(50);
    Service().SetProgressScale(2);
    Service().SetProgressSection(-30, 2);
    Service().SendSectionStep(nullptr);
    Service().RestoreProgressScale();  // the section keeps its own
    Service().SendSectionStep("");
    EXPECT_THAT(Sent(), ElementsAre("20 ", "-10 "));
    EXPECT_EQ(-10, Service().GetCurProgress());
}

TEST_F(ProgressTest, AMissionAndASectionEndWithUnRegisterOrWithTheTask) {
    for (const bool bUnRegister : {true, false}) {
        // The next task stands at the same address.
        std::optional<ZembGnlTask> task(&m_message);
        const zemb::ScopedTask current(&*task);
        Service().Register(7, &*task);
        Service().SetProgressSection(40, 4);
        Service().SendSectionStep("first");
        if (bUnRegister)
            Service().UnRegister(&*task);
        else
            task.emplace(&m_message);
        EXPECT_EQ(0U, Service().GetMissionID());
        Service().SetProgressScale(2);
        Service().SetProgressSection(50, 5);
        Service().SendSectionStep("left over");
        Service().SendStep(1, "left over");
        Service().Register(8, &*task);
        EXPECT_EQ(8U, Service().GetMissionID());
        Service().SendSectionStep("left over");
        EXPECT_THAT(Sent(), ElementsAre("10 first")) << bUnRegister;
        Service().UnRegister(&*task);
    }
}

TEST_F(ProgressTest, AddsStepsByTheScale) {
    const zemb::ScopedTask current(&m_task);
    Service().SendStep(5, "not registered");
    EXPECT_THAT(Sent(), IsEmpty());
    Service().Register(1, &m_task);
    SetPercent(10);
    ProgressMgr::Instance()->SetScale(&m_task, 2.5F);
    Service().SendStep(5, "a");
    Service().RestoreProgressScale();
    Service().RestoreProgressScale();  // the first scale stays
    Service().SendStep(5, "b");
    Service().SetProgressScale(INT_MAX);
    Service().SendStep(INT_MAX, "c");
    Service().SendStep(INT_MIN, "d");
    ProgressMgr::Instance()->SetScale(&m_task, std::numeric_limits<float>::quiet_NaN());
    Service().SendStep(1, "e");
    EXPECT_THAT(Sent(), ElementsAre("22 a", "27 b", "2147483647 c", "-2147483648 d", "0 e"));
}

TEST_F(ProgressTest, StopsWhenAsked) {
    const zemb::ScopedTask current(&m_task);
    EXPECT_FALSE(zemb::AbortTask(&m_task));
    Service().SendProgress(1, "unregistered");
    Service().Register(4, &m_task);
    EXPECT_FALSE(Service().SendProgressWithAbort(2, "before"));
    EXPECT_EQ(0, zemb::AbortMission(5));
    EXPECT_EQ(1, zemb::AbortMission(4));
    EXPECT_TRUE(Service().IsAbort());
    EXPECT_TRUE(Service().SendProgressWithAbort(3, "after"));
    Service().SendProgress(4, "still");
    EXPECT_THAT(Sent(), ElementsAre("1 unregistered", "2 before", "4 still"));
}

TEST_F(ProgressTest, LetsAListenerCallBackAndThrow) {
    const zemb::ScopedTask current(&m_task);
    Service().Register(1, &m_task);
    bool bInside = false;
    const zemb::ScopedProgressListener listener([&](const ZembGnlTask*, int, const std::string&) {
        if (bInside)
            return;
        bInside = true;
        Service().SendProgress(Service().GetCurProgress() + 1, "inside");
        throw 1;
    });
    Service().SendProgress(5, "outside");
    EXPECT_EQ(6, Service().GetCurProgress());
    EXPECT_THAT(m_debug.Take(), ElementsAre("a listener to progress threw"));
}

TEST_F(ProgressTest, KeepsTasksOfManyThreadsApart) {
    support::RunTogether(8, [](std::size_t nThread) {
        const int nPercent = static_cast<int>(nThread);
        ZembCmdMSG message{};
        ZembGnlTask task(&message);
        const zemb::ScopedTask current(&task);
        for (int i = 1; i <= 50; ++i) {
            Service().Register(i, &task);
            ASSERT_EQ(static_cast<unsigned>(i), Service().GetMissionID());
            Service().SendProgress(nPercent, "own");
            ASSERT_EQ(nPercent, Service().GetCurProgress());
            Service().UnRegister(&task);
        }
    });
    EXPECT_THAT(zemb::AllProgress(), IsEmpty());
}

}  // namespace

#include "zemb/task.h"
#include "zemb/control.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(TaskTest, TheCurrentTaskIsTheThreadsOwn) {
    ZembCmdMSG msg{};
    ZembGnlTask task(&msg);
    const zemb::ScopedTask current(&task);
    EXPECT_EQ(&task, ZembGetCurrentTask());
    EXPECT_EQ(&msg, task.GetCurReqMsg());
    ZembGnlTask* pOther = &task;
    std::thread([&] { pOther = ZembGetCurrentTask(); }).join();
    EXPECT_EQ(nullptr, pOther);
    {
        const zemb::ScopedTask none(nullptr);
        EXPECT_EQ(nullptr, ZembGetCurrentTask());
    }
    EXPECT_EQ(&task, ZembGetCurrentTask());
}

}  // namespace

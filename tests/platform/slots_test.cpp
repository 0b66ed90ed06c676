#include "zemb/debug.h"
#include "zemb/event.h"
#include "zemb/module.h"

#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/utilif.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>

namespace {

// The slot of a virtual operation, in words from the start of the table; destructors take two.
template <class Operation>
std::size_t SlotOf(Operation pfn) {
    std::size_t arrWord[2] = {};
    static_assert(sizeof arrWord == sizeof pfn);
    std::memcpy(arrWord, &pfn, sizeof pfn);
    return (arrWord[0] - 1) / sizeof(void*);
}

TEST(SlotTest, OperationsStandWhereTheInterfacesFixThem) {
    EXPECT_EQ(2U, SlotOf(&ModuleMgr::RegisterModule)) << "third slot";
    EXPECT_EQ(3U, SlotOf(&ZembTaskCreator::Register)) << "fourth slot";
    EXPECT_EQ(5U, SlotOf(&ZembTaskCreator::UnRegister)) << "sixth slot";
    EXPECT_EQ(0U, SlotOf(&TEEventMgr::RegisterHandler));
    EXPECT_EQ(1U, SlotOf(&TEEventMgr::UnRegisterHandler));
    EXPECT_EQ(0U, SlotOf(&TEDebugInterface::Trace));
    EXPECT_EQ(1U, SlotOf(&TEDebugInterface::Assert));
    EXPECT_EQ(2U, SlotOf(&ModuleObject::GetModuleName));
    EXPECT_EQ(3U, SlotOf(&ModuleObject::GetModuleNumber));
    EXPECT_EQ(4U, SlotOf(&ModuleObject::Start));
    EXPECT_EQ(5U, SlotOf(&ModuleObject::Stop));
    EXPECT_EQ(6U, SlotOf(&ModuleObject::QueryInterface));
    EXPECT_EQ(7U, SlotOf(&ModuleObject::ListInterfaces));
    EXPECT_EQ(8U, SlotOf(&ModuleObject::ReleaseInterfaces));
    EXPECT_EQ(9U, SlotOf(&ModuleObject::Reserved));
    EXPECT_EQ(2U, SlotOf(&UtilIF::GetInterfaceName));
    EXPECT_EQ(3U, SlotOf(&UtilIF::GetInterfaceVersion));
    EXPECT_EQ(4U, SlotOf(&UtilIF::IsMatch));
    EXPECT_EQ(5U, SlotOf(&UtilIF::IsInt3Enabled));
    EXPECT_EQ(6U, SlotOf(&UtilIF::Reserved6));
    EXPECT_EQ(7U, SlotOf(&UtilIF::Reserved7));
    using NSTE_util::TEMutexOperMgr;
    using NSTE_util::TEOperObject;
    using Objects = const std::list<TEOperObject>&;
    using One = const TEOperObject&;
    EXPECT_EQ(2U, SlotOf<unsigned long (TEMutexOperMgr::*)(int, Objects)>(
                      &TEMutexOperMgr::AcquireMutexOper));
    EXPECT_EQ(
        3U, SlotOf<unsigned long (TEMutexOperMgr::*)(int, One)>(&TEMutexOperMgr::AcquireMutexOper));
    EXPECT_EQ(4U,
              SlotOf<void (TEMutexOperMgr::*)(int, Objects)>(&TEMutexOperMgr::ReleaseMutexOper));
    EXPECT_EQ(5U, SlotOf<void (TEMutexOperMgr::*)(int, One)>(&TEMutexOperMgr::ReleaseMutexOper));
    EXPECT_EQ(6U, SlotOf(&TEMutexOperMgr::IsOperRunning));
    EXPECT_EQ(7U, SlotOf(&TEMutexOperMgr::HasRunningOper));
    EXPECT_EQ(8U, SlotOf(&TEMutexOperMgr::LoadMutexCfg));
}

}  // namespace

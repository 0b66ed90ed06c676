#include "tovelkarin/tedebugcommandmgr.h"
#include "tovelkarin/telangresmgr.h"
#include "tovelkarin/temutexopermgr.h"
#include "tovelkarin/tnfdnmgr.h"
#include "tovelkarin/tnprogress.h"
#include "tovelkarin/tnreqtimeout.h"
#include "tovelkarin/tnthreadmgr.h"

#include "tests/support.h"

namespace {

struct Singleton {
    const char* szName;
    const void* (*fnInstance)();
    void (*fnDestroy)();
};

template <class T>
Singleton Of(const char* szName) {
    return {szName, []() -> const void* { return T::Instance(); }, T::Destroy};
}

const Singleton SINGLETONS[] = {
    Of<NSTN_util::TNThreadMgr>("TNThreadMgr"),
    Of<NSTE_util::TEMutexOperMgr>("TEMutexOperMgr"),
    Of<NSTE_util::TNReqTimeoutIF>("TNReqTimeoutIF"),
    Of<NSTN_util::TELangResMgr>("TELangResMgr"),
    Of<NSTE_util::TNProgressIF>("TNProgressIF"),
    Of<NSTN_util::TNFdnMgr>("TNFdnMgr"),
    Of<NSTN_util::TEDebugCommandMgr>("TEDebugCommandMgr"),
};

// Faults: a second destroy that frees again, an instance that outlives its destroy (asan).
TEST(SingletonsTest, LiveAndDieManyTimes) {
    for (const Singleton& singleton : SINGLETONS) {
        for (int i = 0; i < 1000; ++i) {
            const void* const pInstance = singleton.fnInstance();
            ASSERT_NE(nullptr, pInstance) << singleton.szName;
            ASSERT_EQ(pInstance, singleton.fnInstance()) << singleton.szName;
            singleton.fnDestroy();
            singleton.fnDestroy();
        }
    }
}

TEST(SingletonsTest, AreOneForThreadsThatAskFirstAtTheSameTime) {
    for (int i = 0; i < 100; ++i)
        for (const Singleton& singleton : SINGLETONS) {
            singleton.fnDestroy();
            std::vector<const void*> vecSeen(2);
            support::RunTogether(vecSeen.size(),
                                 [&](std::size_t n) { vecSeen[n] = singleton.fnInstance(); });
            ASSERT_NE(nullptr, vecSeen[0]) << singleton.szName;
            ASSERT_EQ(vecSeen[0], vecSeen[1]) << singleton.szName;
        }
    for (const Singleton& singleton : SINGLETONS)
        singleton.fnDestroy();
}

}  // namespace

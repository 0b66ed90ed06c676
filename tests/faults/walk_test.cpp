#include "tests/faults/calls.h"
#include "tests/faults/interpose.h"

#include "tests/support.h"

#include "zemb/faults.h"
#include "zemb/operlog_store.h"

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

constexpr int POINTS_MOST = 100000;

// What all calls work in; it lives as long as the program.
const support::TempFolder& Folder() {
    static const support::TempFolder folder;
    return folder;
}

const std::vector<Call>& AllCalls() {
    static const std::vector<Call>& vecCall = *[] {
        auto* const pAll = new std::vector<Call>;
        for (const auto& vecPart : {faults::TextCalls(), faults::FileCalls(Folder().Path()),
                                    faults::ObjectCalls(), faults::WorkCalls()})
            pAll->insert(pAll->end(), vecPart.begin(), vecPart.end());
        return pAll;
    }();
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

TEST_F(FaultWalkTest, LocksThatCannotBeTaken) {
    for (const Call& call : AllCalls())
        for (const bool bFromThenOn : {false, true})
            Walk(call, EMay::LACK_SERVICE,
                 [&](int n) { return std::make_unique<NoLock>(n, bFromThenOn); });
}

}  // namespace

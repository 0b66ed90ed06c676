#include "tovelkarin/tnfdnmgr.h"

#include "tests/naive/object_text_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"

namespace {

using namespace NSTN_util;
using testing::ElementsAre;
using testing::IsEmpty;

class TNFdnMgrTest : public testing::Test {
protected:
    ~TNFdnMgrTest() override { TNFdnMgr::Destroy(); }
    static TNFdnMgr& Mgr() { return *TNFdnMgr::Instance(); }

    support::DebugCapture m_debug;
};

TEST_F(TNFdnMgrTest, AgreesWithTheNaiveModel) {
    support::CheckRandomly(naive::CheckObjectText, 20000, 150);
}

TEST_F(TNFdnMgrTest, ReadsThePortOfAnFdn) {
    const struct {
        const char* szFdn;
        std::uint32_t neId;
        std::uint32_t boardPos;
        std::uint64_t portPos;
    } arrCase[] = {
        {"NE=5,FR=2,S=3,SS=1,LP=3|7|300,", 5, 0x01020003, 3 * 65536 + 300},
        {"NE=5,PP=9|1|2,LP=3|7|300", 5, 0, 3 * 65536 + 300},
        {"NE=5,LP=,PP=9|1|65537", 5, 0, 9 * 65536 + 1},
        {" NE =5x,S=70000,LP=65537", 5, 70000, 65536},
        {"LP=x|2|3,NE=4294967297", 1, 0, 3},
        {"NE=1,NE=2,LP=1|2", 1, 0, 65536},
        {"NE=-2,S=-x,LP=-1|-2|-3", 0xFFFFFFFE, 0, 0xFFFF0000 + 0xFFFD},  // as the library writes it
        {"NE=-9999999999999999999,LP=-", 0, 0, 0},
    };
    for (const auto& one : arrCase) {
        TNPortKey key;
        EXPECT_EQ(0U, Mgr().ParsePortKeyFromFDN(one.szFdn, key)) << one.szFdn;
        EXPECT_EQ(one.neId, key.neId) << one.szFdn;
        EXPECT_EQ(one.boardPos, key.boardPos) << one.szFdn;
        EXPECT_EQ(one.portPos, key.portPos) << one.szFdn;
    }
    EXPECT_THAT(m_debug.Take(), IsEmpty());
}

TEST_F(TNFdnMgrTest, RefusesBadFdnsWithTheLineNumberBehindTheText) {
    for (const char* const szFdn : {"", "NE", "=5,", "NE=5,,LP=1", ",NE=5", "NE=5,x,"}) {
        TNPortKey key{7, 8, 9};
        EXPECT_EQ(ERR_BAD_FDN, Mgr().ParsePortKeyFromFDN(szFdn, key)) << szFdn;
        EXPECT_EQ(7U, key.neId);
        const std::string strText = std::string("Error FDN:fdn='") + szFdn + "',tnfdnmgr";
        EXPECT_THAT(
            m_debug.Take(),
            ElementsAre(strText + " \n TNTRACE ERROR Parameter: \nError FDN:fdn='%s',%s, : 96"));
    }
    TNPortKey key{7, 8, 9};
    EXPECT_EQ(ERR_BAD_FDN, Mgr().ParsePortKeyFromFDN("NE=5,S=3,", key));
    EXPECT_EQ(5U, key.neId);
    EXPECT_EQ(3U, key.boardPos);
    EXPECT_EQ(9U, key.portPos);
}

TEST_F(TNFdnMgrTest, WritesThreeTextsForEachList) {
    std::vector<std::string> vecFdn = {"kept"};
    Mgr().ConvertCxValue2FDNstring({{1, 7}, {0, 7}, {}, {3}, {0, -1, 5}}, vecFdn);
    EXPECT_THAT(vecFdn,
                ElementsAre("kept", "ONE=1,NE=7,", "OS=1,PROC=1088,NE=7,", "OS=1,NE=7,", "NE=7,",
                            "OS=1,PROC=1088,NE=7,", "OS=1,NE=7,", "", "", "", "ONE=3,", "", "",
                            "NE=-1,", "OS=1,PROC=1088,NE=-1,", "OS=1,NE=-1,"));
    EXPECT_THAT(m_debug.TakeWhole(),
                ElementsAre("tovelkarin 1 WARNING in ConvertCxValue2FDNstring: unexpected cxValue "
                            "type:[2], file=tnfdnmgr, line=158"));
}

TEST_F(TNFdnMgrTest, KnowsEveryLevelOfAPath) {
    const std::vector<std::string> vecKey = {"VC4",  "VC3",   "VC12", "OTS",   "OMS",     "OCH",
                                             "Och",  "OTU3",  "OTU2", "OTU5G", "OTU1",    "ODU3",
                                             "ODU2", "ODU5G", "ODU1", "ODU0",  "ODUflex", "CLIENT"};
    std::string strFdn;
    for (std::size_t n = vecKey.size(); n-- > 0;) {
        strFdn += vecKey[n] + "=" + std::to_string(n) + ",";  // the first level last
        FrameUtil::StrUIDParser fdn;
        ASSERT_TRUE(fdn.Parse(strFdn.c_str()));
        unsigned long nPathId = 77;
        unsigned long nTimeSlot = 88;
        Mgr().GetPathIDorTimeSlot(fdn, nPathId, nTimeSlot);
        EXPECT_EQ(n, nPathId) << strFdn;
    }
}

TEST_F(TNFdnMgrTest, KnowsEthernetTrunks) {
    std::vector<unsigned long> vecTrunk;
    for (unsigned long n = 0; n < 200; ++n)
        if (Mgr().IsEthTrunkFBType(n))
            vecTrunk.push_back(n);
    EXPECT_THAT(vecTrunk, ElementsAre(20, 51, 52, 53, 101, 102, 103));
}

TEST(FdnTextTest, GivesValuesByOccurrence) {
    FrameUtil::StrUIDParser fdn;
    EXPECT_FALSE(fdn.Parse(nullptr));
    EXPECT_TRUE(fdn.Parse("A=1,B= x ,A=99999999999999999999,A=,"));
    unsigned long nValue = 5;
    std::string strValue = "s";
    EXPECT_TRUE(fdn.GetValue(nValue, "A", 1));
    EXPECT_EQ(~0UL, nValue);
    EXPECT_FALSE(fdn.GetValue(nValue, "A", 2));
    EXPECT_TRUE(fdn.GetValue(strValue, "A", 2));
    EXPECT_EQ("", strValue);
    EXPECT_FALSE(fdn.GetValue(strValue, "A", 3));
    EXPECT_FALSE(fdn.GetValue(strValue, "a", 0));
    EXPECT_TRUE(fdn.GetValue(strValue, "B", 0));
    EXPECT_EQ(" x ", strValue);
    EXPECT_FALSE(fdn.Parse("x"));
    EXPECT_EQ(0U, fdn.Size());
    FrameUtil::StrSpliter spliter('|');
    EXPECT_FALSE(spliter.Parse(""));
    EXPECT_TRUE(spliter.Parse("1||3x"));
    unsigned long a = 0;
    unsigned long b = 9;
    unsigned long c = 0;
    unsigned long d = 9;
    spliter >> a >> b >> c >> d;
    EXPECT_EQ(1U, a);
    EXPECT_EQ(0U, b);
    EXPECT_EQ(3U, c);
    EXPECT_EQ(0U, d);
}

}  // namespace

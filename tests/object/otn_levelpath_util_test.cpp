#include "tovelkarin/tnotnlevelpathutil.h"

#include "tests/naive/object_text_check.h"
#include "tests/support.h"

#include <map>

namespace {

using NSTN_util::OTNLevelAndPathID;
using Util = NSTN_util::TNOTNLevelPathUtil;
using testing::ElementsAre;
using testing::IsEmpty;

using Levels = std::list<std::pair<std::uint32_t, int>>;

Levels Read(const std::string& strPath) {
    std::list<OTNLevelAndPathID> listLevel;
    Util::GetLevelAndPathIDByStr(strPath, listLevel);
    Levels listPair;
    for (const OTNLevelAndPathID& level : listLevel)
        listPair.emplace_back(level.level, level.pathId);
    return listPair;
}

TEST(OtnPathTest, KnowsEveryLevelBothWays) {
    const std::map<std::string, std::uint32_t> mapLevel = {
        {"OMS", 12291},    {"OCH", 12292},   {"OCh", 12292},     {"OTU25", 12306},
        {"OTUX5", 12307},  {"OTUCn", 12308}, {"OTU4", 12309},    {"OTU3", 12310},
        {"OTU2", 12311},   {"OTU1", 12313},  {"ODU25", 12322},   {"ODUX5", 12323},
        {"ODUCn", 12324},  {"ODU4", 12325},  {"ODU3", 12326},    {"ODU2", 12327},
        {"ODU1", 12329},   {"ODU0", 12332},  {"ODUflex", 12336}, {"TDUflex", 12338},
        {"OSUFlex", 12340}};
    support::DebugCapture debug;
    std::map<std::uint32_t, std::string> mapName;
    for (const auto& [strName, nCode] : mapLevel) {
        EXPECT_THAT(Read(strName + ":-7"), ElementsAre(std::make_pair(nCode, 0)))
            << strName;  // the minus is a separator
        mapName[nCode] = strName == "OCH" ? "OCh" : strName;
    }
    debug.Take();
    for (std::uint32_t nCode = 0x2FF0; nCode < 0x3050; ++nCode)
        EXPECT_EQ(mapName[nCode] + ":-7", Util::GetLevelPathStrByLevelList({{nCode, -7}})) << nCode;
    EXPECT_EQ(0x60U - 20U, debug.Take().size());
}

TEST(OtnPathTest, GoesOnBehindWhatItCannotRead) {
    struct Case {
        const char* szPath;
        Levels listLevel;
        std::vector<std::string> vecLine;
    };
    const std::string strStart = "error string string=";
    const std::string strWord = ",otn_levelpath_util,";
    const Case arrCase[] = {
        {"", {}, {}},
        {"ODU4:1-ODU2:3", {{12325, 1}, {12327, 3}}, {}},
        {"ODU4:1-XYZ:5", {{12325, 1}, {0, 5}}, {strStart + "XYZ" + strWord + "84"}},
        {"ODU4-ODU2:3", {{12327, 3}}, {strStart + "ODU4-ODU2:3" + strWord + "131"}},
        {"odu4:1", {{0, 1}}, {strStart + "odu4" + strWord + "84"}},
        {":2", {{0, 2}}, {strStart + strWord + "84"}},
        {"OCH:2:9", {{12292, 2}}, {}},
        {"OCH: 2x", {{12292, 2}}, {}},
        {"OMS:", {{12291, 0}}, {}},
        {"OSUFlexx:1", {{0, 1}}, {strStart + "OSUFlexx" + strWord + "84"}},
        {"-OMS:1-",
         {{12291, 1}},
         {strStart + "-OMS:1-" + strWord + "131", strStart + "-OMS:1-" + strWord + "131"}},
    };
    support::DebugCapture debug;
    for (const Case& one : arrCase) {
        EXPECT_EQ(one.listLevel, Read(one.szPath)) << one.szPath;
        EXPECT_EQ(one.vecLine, debug.Take()) << one.szPath;
    }
    std::vector<std::string> vecPart = {"kept"};
    Util::SplitPathStrBySeperator("a--b", vecPart);
    Util::SplitPathStrBySeperator("", vecPart);
    EXPECT_THAT(vecPart, ElementsAre("kept", "a", "", "b"));
}

TEST(OtnPathTest, TellsWhichLevelItCannotWrite) {
    support::DebugCapture debug;
    EXPECT_EQ(":5-ODU2:3", Util::GetLevelPathStrByLevelList({{7, 5}, {12327, 3}}));
    EXPECT_THAT(debug.TakeWhole(),
                ElementsAre("tovelkarin 1 error int string=7,otn_levelpath_util,160"));
}

TEST(OtnPathTest, ReadsTheNumberOfAnOsuFlex) {
    support::DebugCapture debug;
    int nPathId = 5;
    EXPECT_FALSE(Util::GetPathIDForOSUFlexByPathStr("ODU4:1", nPathId));
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_FALSE(Util::GetPathIDForOSUFlexByPathStr("OSUFlex", nPathId));
    EXPECT_THAT(debug.Take(), ElementsAre("error string string=OSUFlex,otn_levelpath_util,189"));
    EXPECT_EQ(5, nPathId);
    EXPECT_TRUE(Util::GetPathIDForOSUFlexByPathStr("OSUFlex:7:9", nPathId));
    EXPECT_EQ(9, nPathId);
}

TEST(OtnPathTest, MultipliesRates) {
    EXPECT_EQ(80, Util::GetRealLevelVelocity(0, 80));
    EXPECT_EQ(240, Util::GetRealLevelVelocity(3, 80));
    EXPECT_EQ(-65535, Util::GetRealLevelVelocity(65535, -1));
    EXPECT_EQ(2147418113, Util::GetRealLevelVelocity(65535, 0x7FFFFFFF));
}

// That none was forgotten shows in their number, which a program of a few lines counted.
TEST(OtnLocationTest, GivesEveryPathAnIdOfItsOwnAndBack) {
    constexpr unsigned short N = 3;
    const zemb::ScopedDebugSink silence([](const zemb::DebugLine&) {});
    std::size_t nPaths = 0;
    for (std::uint32_t nFlags = 0; nFlags < 2048; ++nFlags)
        for (std::uint32_t nSlot = 0; nSlot < 300; ++nSlot) {
            const std::uint32_t nLocationID = nFlags << 16 | nSlot;
            const std::string strPath = Util::GetLevelPathStrByLocation(nLocationID, N);
            if (strPath.empty())
                continue;
            std::list<OTNLevelAndPathID> listLevel;
            Util::GetLevelAndPathIDByStr(strPath, listLevel);
            ASSERT_EQ(nLocationID, naive::LocationOf(listLevel, N)) << strPath;
            ASSERT_EQ(nLocationID, Util::GetLocationIDByPathStr(strPath, N)) << strPath;
            ++nPaths;
        }
    EXPECT_EQ(208572U, nPaths);
}

TEST(OtnLocationTest, RefusesOtherPathsWithOneLine) {
    support::DebugCapture debug;
    for (const char* const szPath :
         {"", "ODU4", "ODU4:1-", "ODU4:0", "ODU4:1-ODU4:1", "ODU2:1-ODU4:1", "ODU4:1-ODU2:11",
          "ODU4:1-OSUFlex:1", "XYZ:1", "OCh:1", "ODU25:1-ODU2:3", "ODUCn:1-ODU4:2", "ODU4:821",
          "ODUflex:65537", "ODU4:2147483647-ODU0:1"}) {
        EXPECT_EQ(0U, Util::GetLocationIDByPathStr(szPath)) << szPath;
        EXPECT_THAT(debug.Take(), ElementsAre(std::string("error string string=") + szPath +
                                              ",otn_levelpath_util,236"));
    }
    EXPECT_EQ(0U, Util::GetOtnLP2LocationID({{7, 1}}));
    EXPECT_THAT(debug.TakeWhole(),
                ElementsAre("tovelkarin 1 error string string=:1,otn_levelpath_util,236"));
    std::list<OTNLevelAndPathID> listLevel = {{1, 2}};
    for (const auto& [nLocationID, strText] :
         std::map<std::uint32_t, std::string>{{0, "0"},
                                              {100, "64"},
                                              {0x01000001, "1000001"},
                                              {0x04000000, "4000000"},
                                              {0x00100000 | 0x00200000 | 16, "300010"},
                                              {0xFFFFFFFF, "FFFFFFFF"}}) {
        EXPECT_FALSE(Util::GetLevelPathByLocationIDNew(nLocationID, listLevel));
        EXPECT_THAT(debug.Take(),
                    ElementsAre("error string string=0x" + strText + ",otn_levelpath_util,271"));
    }
    EXPECT_EQ(1U, listLevel.size());
    EXPECT_EQ(0, Util::GetLowPathIDFromLPList({}));
    EXPECT_THAT(debug.Take(), ElementsAre("error string string=,otn_levelpath_util,302"));
}

TEST(OtnLocationTest, ConvertsListsAndVectors) {
    support::DebugCapture debug;
    EXPECT_EQ(0x01100010U, Util::GetLocationIDByPathStr("ODU4:1-ODU2:3"));
    EXPECT_EQ(0x01120064U, Util::GetLocationIDByPathStr("ODU4:2-ODU2:3-ODU0:5"));
    EXPECT_EQ(0x0001FFFFU, Util::GetLocationIDByPathStr("ODUflex:65536"));
    const std::list<OTNLevelAndPathID> listCn = {{12324, 2}, {12325, 3}};
    EXPECT_EQ(0x030001E0U, Util::GetOtnLP2LocationIDEX(listCn, 4));
    std::vector<OTNLevelAndPathID> vecLevel = {{1, 2}};
    EXPECT_TRUE(Util::TransferLocationIdToVector(0x030001E0, vecLevel, 4));
    ASSERT_EQ(3U, vecLevel.size());
    EXPECT_EQ(12324U, vecLevel[1].level);
    EXPECT_EQ(3, vecLevel[2].pathId);
    std::list<OTNLevelAndPathID> listLevel = {{5, 6}};
    Util::TransferVectorToList(vecLevel, listLevel);
    EXPECT_EQ(4U, listLevel.size());
    EXPECT_EQ(3, Util::GetLowPathIDFromLPList(listLevel));
    EXPECT_TRUE(Util::GetLevelPathByLocationID(0x01100010, listLevel));
    EXPECT_EQ(6U, listLevel.size());
    EXPECT_EQ(3, listLevel.back().pathId);
    EXPECT_EQ(0x01100010U, Util::GetOtnLP2LocationIDNew({{12325, 1}, {12327, 3}}));
    EXPECT_THAT(debug.Take(), IsEmpty());
}

}  // namespace

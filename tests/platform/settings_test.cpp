#include "zemb/settings.h"
#include "zemb/control.h"

#include "tests/support.h"

namespace {

TEST(SettingsTest, ReadsNumbersByTheLineRulesOfConfigurationFiles) {
    const support::TempFolder folder;
    const std::string strKey = "key = ";
    const struct {
        std::string strText;
        int nResult;
        int nValue;
    } arrCase[] = {
        {"key=5", 1, 5},
        {" \tkey \t= 5 \r\n", 1, 5},
        {"key = -5\n", 1, -5},
        {"key = 0x1F\n", 1, 31},
        {"key = -0x80000000\n", 1, -2147483647 - 1},
        {"key = 2147483648\n", 0, 0},
        {"key = 0x80000000\n", 0, 0},
        {"key = 12a\n", 0, 0},
        {"key = +5\n", 0, 0},
        {"key = 0x\n", 0, 0},
        {"key =\n", 0, 0},
        {"key\n", 0, 0},
        {"Key = 5\n", 0, 0},
        {"# key = 5\n  # key = 6\n", 0, 0},
        {"key = 5\nkey = 6\n", 1, 6},
        {"key = 5\nkey = x\n", 0, 0},
        {"key = 5=6\n", 0, 0},
        {"", 0, 0},
        {std::string(1022, '#') + "\nkey = 5\n", 1, 5},
        {std::string(1023, '#') + "\nkey = 5\n", 0, 0},
        {strKey + std::string(1022 - 7, ' ') + "5", 1, 5},
        {strKey + "5" + std::string(1022 - 7, ' ') + "6\nkey = 7\n", 1, 5},
        {strKey + "5\n" + std::string(100000, '\n') + "key = 6", 1, 6},
        {std::string("key = 5\0x\n#\0\nkey = 6\0", 21), 1, 6},
    };
    for (const auto& test : arrCase) {
        int nValue = 99;
        const std::string strFile = folder.Write("x.cfg", test.strText);
        EXPECT_EQ(test.nResult, ZembGetRegInt("key", nValue, strFile.c_str())) << test.strText;
        EXPECT_EQ(test.nResult == 1 ? test.nValue : 99, nValue) << test.strText;
    }
    int nValue = 99;
    EXPECT_EQ(0, ZembGetRegInt("key", nValue, folder.Path().c_str())) << "a folder";
    EXPECT_EQ(0, ZembGetRegInt("key", nValue, "/no/such/file"));
    EXPECT_EQ(0, ZembGetRegInt("key", nValue, "/dev/zero")) << "no line ends there";
    EXPECT_EQ(0, ZembGetRegInt(nullptr, nValue, nullptr));
    EXPECT_EQ(99, nValue);
}

TEST(SettingsTest, RootAndStateComeFromTheHostElseTheEnvironment) {
    setenv("ZEMB_ROOT", "/from/environment", 1);
    EXPECT_EQ("/from/environment", NSTE_util::GetZEMBRootPath());
    EXPECT_EQ("/from/environment/var", zemb::GetStatePath());
    setenv("ZEMB_STATE", "/state", 1);
    EXPECT_EQ("/state", zemb::GetStatePath());
    zemb::SetRootPath("/from/host");
    zemb::SetStatePath("/other");
    EXPECT_EQ("/from/host", NSTE_util::GetZEMBRootPath());
    EXPECT_EQ("/other", zemb::GetStatePath());
    zemb::ResetRootPath();
    zemb::ResetStatePath();
    unsetenv("ZEMB_ROOT");
    unsetenv("ZEMB_STATE");
    EXPECT_EQ("", NSTE_util::GetZEMBRootPath());
    EXPECT_EQ("", zemb::GetStatePath());
}

}  // namespace

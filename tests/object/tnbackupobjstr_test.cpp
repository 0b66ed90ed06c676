#include "tovelkarin/tnbackupobjstr.h"

#include "tests/naive/backup_check.h"
#include "tests/random_bytes.h"
#include "tests/support.h"

namespace {

using NSTN_util::TNBackupObjStr;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* ABSENT = "not finding attribute ";
constexpr const char* NO_NAME = "not finding attribute Name";

// An object with the given attribute list.
TNBackupObjStr WithList(const std::string& strList) {
    return TNBackupObjStr("<N><attribute>" + strList + "</attribute><object></object></N>", "N");
}

TEST(BackupObjStrTest, AgreesWithTheNaiveModel) {
    support::CheckRandomly(naive::CheckBackup, 20000, 120);
}

TEST(BackupObjStrTest, WritesAttributesAndGroupsInOrder) {
    support::DebugCapture debug;
    TNBackupObjStr port("PORT");
    EXPECT_EQ("<PORT><attribute></attribute><object></object></PORT>", port.GetObjStr());
    EXPECT_EQ("", port.GetAttributeStr());
    EXPECT_TRUE(port.AddAttributePara("id", 5, false));
    EXPECT_TRUE(port.AddAttributePara("label", std::string("a,b"), true));
    EXPECT_TRUE(port.AddAttributePara("vlans", std::vector<int>{10, 20, 21, 22}, false));
    EXPECT_TRUE(port.AddObejctPara({TNBackupObjStr("C1").GetObjStr(), "<C2/>"}, "SUBS"));
    EXPECT_TRUE(port.AddObejctPara({}, "NONE"));
    EXPECT_TRUE(port.AddAttributePara("late", 7U, true));
    EXPECT_TRUE(port.AddAttributePara("most", 4294967295UL, true));
    EXPECT_TRUE(port.AddAttributePara("low", -2147483647 - 1, true));
    EXPECT_TRUE(port.AddAttributePara("chars", std::vector<char>{'\xFF', 'A', '\x80'}, false));
    EXPECT_TRUE(port.AddAttributePara("words", std::vector<std::string>{"a", "", "b"}, true));
    EXPECT_TRUE(port.AddAttributePara("no", std::vector<int>{}, false));
    EXPECT_TRUE(port.AddAttributePara("none", std::vector<std::string>{}, true));
    EXPECT_TRUE(port.AddAttributePara("ints", std::vector<int>{10, 20}, true));
    EXPECT_TRUE(port.AddAttributePara("bytes", std::vector<char>{'\xFF', 'A'}, true));
    EXPECT_EQ(
        "<PORT><attribute>id=5,label=\"a,b\",vlans=10&20&21&22,late=7,most=-1,"
        "low=\"-2147483648\",chars=-1&65&-128,words=\"a&&b\",no=,none=\"\",ints=\"10&20\","
        "bytes=\"-1&65\",</attribute><object>"
        "<SUBS><C1><attribute></attribute><object></object></C1><C2/></SUBS><NONE></NONE>"
        "</object></PORT>",
        port.GetObjStr());
    EXPECT_THAT(debug.Take(), IsEmpty());
}

TEST(BackupObjStrTest, RefusesWhatItCannotWrite) {
    support::DebugCapture debug;
    TNBackupObjStr object("N");
    const std::string strBefore = object.GetObjStr();
    EXPECT_FALSE(object.AddAttributePara(nullptr, 1, false));
    EXPECT_FALSE(object.AddAttributePara("", std::string("x"), false));
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_EQ(strBefore, object.GetObjStr());
    TNBackupObjStr empty;
    EXPECT_FALSE(empty.AddAttributePara("a", 1, false));
    EXPECT_THAT(debug.TakeWhole(), ElementsAre(std::string("tovelkarin 1 ") + ABSENT));
    EXPECT_THROW(empty.AddObejctPara({"<C/>"}, ""), std::out_of_range);
    EXPECT_THROW(TNBackupObjStr("</object></N", "N").AddObejctPara({}, "G"), std::out_of_range);
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_TRUE(object.AddObejctPara({"<C/>"}, ""));
    EXPECT_THAT(debug.Take(), ElementsAre("valiableName string is invalide"));
    EXPECT_EQ("<N><attribute></attribute><object><C/></object></N>", object.GetObjStr());
}

TEST(BackupObjStrTest, TellsWhyItReadsNothing) {
    const std::string strEndLine = "FindStringEnd failed,the string is ";
    const std::pair<const char*, std::vector<std::string>> arrCase[] = {
        {"b=1,", {NO_NAME, ABSENT}},
        {"xa=\"1\",", {NO_NAME, ABSENT}},
        {"a=\"1\"", {strEndLine + "\"1\"", "not finding string attribute end \",", ABSENT}},
        {"a=\",1\",b", {strEndLine + "\",1\",b", "not finding string attribute end \",", ABSENT}},
        {"a=12", {"not finding string attribute first \"", ABSENT}},
    };
    support::DebugCapture debug;
    for (const auto& [szList, vecText] : arrCase) {
        const TNBackupObjStr object = WithList(szList);
        std::string strValue = "before";
        EXPECT_FALSE(object.GetAttributePara("a", strValue)) << szList;
        EXPECT_EQ(vecText, debug.Take()) << szList;
        EXPECT_EQ("before", strValue);
        int nValue = 7;
        EXPECT_FALSE(object.GetAttributePara("a", nValue)) << szList;
        EXPECT_EQ(vecText, debug.Take()) << szList;
        std::vector<std::string> vecLine = vecText;
        vecLine.push_back(ABSENT);
        bool bValue = true;
        EXPECT_FALSE(object.GetAttributePara("a", bValue)) << szList;
        EXPECT_EQ(vecLine, debug.Take()) << szList;
        EXPECT_TRUE(bValue && nValue == 7);
    }
    std::vector<int> vecNumber;
    std::vector<char> vecChar;
    std::vector<std::string> vecText;
    unsigned long nValue = 7;
    const TNBackupObjStr object = WithList("z=\"\",a=,b=\"\",");
    EXPECT_FALSE(object.GetAttributePara("a", vecNumber));
    EXPECT_THAT(debug.Take(), ElementsAre(ABSENT));
    EXPECT_FALSE(object.GetAttributePara("a", vecChar));
    EXPECT_FALSE(object.GetAttributePara("b", vecText));
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_FALSE(object.GetAttributePara("a", nValue));
    EXPECT_THAT(debug.Take(), ElementsAre(ABSENT, ABSENT));
    EXPECT_FALSE(object.GetAttributePara(nullptr, nValue));
    EXPECT_FALSE(object.GetAttributePara("", vecText));
    EXPECT_THAT(debug.Take(), IsEmpty());
    std::string strValue = "before";
    EXPECT_TRUE(object.GetAttributePara("b", strValue));
    EXPECT_EQ("", strValue);
}

TEST(BackupObjStrTest, FindsTheItemThatItsRulesSay) {
    const std::pair<const char*, const char*> arrCase[] = {
        {"a=1,a=\"2\",", "1"},          // the first item need not be quoted
        {"b=1,a=2,a=\"3\",", "3"},      // others must
        {"b=1,a=\"2\",a=\"3\",", "2"},  // the first of two
        {"b=\"x,a=\"y\",", "y"},        // a quoted value is not known as such
        {"ba=1,a=\"2\",", "2"},         // behind a comma only
        {"a=\"a\\\",b\",", "a\\\",b"},  // one backslash escapes the quote
        {"a=\"a\\\\\",b\",", "a\\\\"},  // two do not
        {"a=\"in\",ner\",", "in"},      // an inner quote-comma ends
        {"a=\"\\\\\",", "\\\\"},        // nothing but backslashes
    };
    support::DebugCapture debug;
    for (const auto& [szList, szValue] : arrCase) {
        std::string strValue;
        EXPECT_TRUE(WithList(szList).GetAttributePara("a", strValue)) << szList;
        EXPECT_EQ(szValue, strValue) << szList;
    }
    EXPECT_THAT(debug.Take(), IsEmpty());
    const TNBackupObjStr object = WithList("");
    EXPECT_EQ(0U, object.GetAttrObjValueBgnPos("a=1,", "a", true));
    EXPECT_EQ(4U, object.GetAttrObjValueBgnPos("b=1,a=1,", "a", false));
    EXPECT_EQ(std::string::npos, object.GetAttrObjValueBgnPos("b=1,a=1,a=", "a", true));
    EXPECT_EQ(3U, object.FindStringEnd("\"\\\\\","));
    EXPECT_EQ(std::string::npos, object.FindStringEnd("\"\\\","));
}

TEST(BackupObjStrTest, CutsChildrenByTheirTags) {
    const std::string strNested = "<C><G><C>in</C></G></C>";
    support::DebugCapture debug;
    TNBackupObjStr object("N");
    object.AddObejctPara({"<C>1</C>", "<D>2</D>", "<C>3</C>", "<C>4</C>"}, "FLAT");
    object.AddObejctPara({strNested, "<C>5</C>"}, "DEEP");
    std::vector<std::string> vecText = {"kept"};
    EXPECT_TRUE(object.GetObjStrByObjName("FLAT", "C", vecText));
    EXPECT_THAT(vecText, ElementsAre("kept", "<C>1</C>", "<C>3</C>", "<C>4</C>"));
    vecText.clear();
    EXPECT_TRUE(object.GetObjStrByObjName("DEEP", "C", vecText));
    EXPECT_THAT(vecText, ElementsAre("<C><G><C>in</C>", "", "<C>5</C>"));
    EXPECT_THAT(debug.Take(), IsEmpty());
    EXPECT_FALSE(object.GetObjStrByObjName("FLAT", "E", vecText));
    EXPECT_THAT(debug.Take(), ElementsAre("not finding objectName "));
    EXPECT_FALSE(object.GetObjStrByObjName("NONE", "C", vecText));
    EXPECT_THAT(debug.Take(), ElementsAre("not finding valiableName "));
    EXPECT_EQ(3U, vecText.size());
}

TEST(BackupObjStrTest, GetsThroughLargeTexts) {
    const zemb::ScopedDebugSink silence([](const zemb::DebugLine&) {});
    constexpr std::size_t LARGE = 100000000;
    int nValue = 0;
    std::string strValue;
    std::vector<std::string> vecText;
    for (const char* const szPiece : {"\"", "\\", "<", "\\\"", "a=", "</C>", "<C>", ",a=\""}) {
        std::string strFill;
        while (strFill.size() < LARGE / 20)
            strFill += szPiece;
        TNBackupObjStr object = WithList("a=\"" + strFill);
        EXPECT_FALSE(object.GetAttributePara("a", strValue)) << szPiece;
        EXPECT_FALSE(object.GetAttributePara("b", nValue)) << szPiece;
        EXPECT_TRUE(object.AddObejctPara({strFill, "<C>", strFill, "<C></C>"}, "G"));
        vecText.clear();
        EXPECT_TRUE(object.GetObjStrByObjName("G", "C", vecText)) << szPiece;
        EXPECT_THAT(vecText.back(), testing::EndsWith("</C>"));
    }
    std::string strList;
    for (int i = 0; i < 100000; ++i)
        strList += "attribute" + std::to_string(i) + "=" + std::to_string(i) + ",";
    EXPECT_TRUE(WithList(strList).GetAttributePara("attribute99999", nValue));
    EXPECT_EQ(99999, nValue);
    std::string strDeep = "<L></L>";
    for (int i = 0; i < 100; ++i) {
        TNBackupObjStr object("L" + std::to_string(i));
        object.AddObejctPara({strDeep}, "G" + std::to_string(i));
        strDeep = object.GetObjStr();
    }
    for (int i = 99; i >= 0; --i) {
        vecText.clear();
        ASSERT_TRUE(TNBackupObjStr(strDeep, "L" + std::to_string(i))
                        .GetObjStrByObjName("G" + std::to_string(i),
                                            i == 0 ? "L" : "L" + std::to_string(i - 1), vecText));
        strDeep = vecText.at(0);
    }
    EXPECT_EQ("<L></L>", strDeep);
    TNBackupObjStr large("N");
    EXPECT_TRUE(large.AddAttributePara("text", std::string(LARGE, 'x'), true));
    EXPECT_TRUE(large.GetAttributePara("text", strValue));
    EXPECT_EQ(LARGE, strValue.size());
}

}  // namespace

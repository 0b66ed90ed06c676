#include "tests/faults/calls.h"

#include "tovelkarin/tnbackupobjstr.h"
#include "tovelkarin/tnfbtype.h"
#include "tovelkarin/tnfdnmgr.h"
#include "tovelkarin/tnotnlevelpathutil.h"

#include "zemb/fdn.h"

namespace faults {

namespace {

using namespace NSTN_util;
using Path = TNOTNLevelPathUtil;
using Levels = std::list<OTNLevelAndPathID>;

const std::string FDN = "NE=5,FR=2,S=3,SS=1,LP=3|7|300,";
const std::string OTN_PATH = "ODU4:2-ODU2:3";

std::string Show(const Levels& listLevel) {
    std::string strOut;
    for (const OTNLevelAndPathID& level : listLevel)
        strOut += std::to_string(level.level) + ":" + std::to_string(level.pathId) + " ";
    return strOut;
}

Levels LevelsOf(const std::string& strPath) {
    Levels listLevel;
    Path::GetLevelAndPathIDByStr(strPath, listLevel);
    return listLevel;
}

TNBackupObjStr Port() {
    TNBackupObjStr port("PORT");
    port.AddAttributePara("id", 5, true);
    port.AddAttributePara("label", std::string("a label that needs memory of its own"), true);
    port.AddAttributePara("vlans", std::vector<int>{10, 20, 21, 22}, true);
    port.AddAttributePara("marks", std::vector<char>{'a', 'b'}, true);
    port.AddAttributePara("names", std::vector<std::string>{"one", "two"}, true);
    port.AddObejctPara({port.GetObjStr(), port.GetObjStr()}, "SUBS");
    return port;
}

// What one of the readers says of an attribute.
template <class Value>
std::string Got(const TNBackupObjStr& port, const char* szName) {
    Value value{};
    const bool bGot = port.GetAttributePara(szName, value);
    return faults::Show(bGot, value);
}

std::vector<Call> BackupCalls() {
    return {
        {"AddAttributePara", [] { return Port().GetObjStr(); }},
        {"AddAttributePara of numbers",
         [] {
             TNBackupObjStr port("PORT");
             port.AddAttributePara("a", 5UL, false);
             port.AddAttributePara("b", 5U, true);
             port.InsertAttributeString("c", "a value that needs memory of its own");
             return port.GetAttributeStr();
         }},
        {"GetAttributePara",
         [] {
             const TNBackupObjStr port = Port();
             return Got<int>(port, "id") + Got<unsigned long>(port, "id") +
                    Got<unsigned>(port, "id") + Got<char>(port, "id") +
                    Got<unsigned char>(port, "id") + Got<bool>(port, "id") +
                    Got<unsigned short>(port, "id") + Got<std::string>(port, "label") +
                    Got<std::vector<int>>(port, "vlans") + Got<std::vector<char>>(port, "marks") +
                    Got<std::vector<std::string>>(port, "names");
         }},
        {"GetValueStrByName",
         [] {
             const TNBackupObjStr port(Port().GetObjStr(), "PORT");
             std::string strValue;
             const bool bGot = port.GetValueStrByName("label", strValue, true);
             return faults::Show(bGot, strValue, port.FindStringEnd("a;b"),
                                 port.GetAttrObjValueBgnPos(port.GetAttributeStr(), "label", true));
         }},
        {"GetObjStrByObjName",
         [] {
             std::vector<std::string> vecObj;
             const bool bGot = Port().GetObjStrByObjName("SUBS", "PORT", vecObj);
             return faults::Show(bGot, vecObj);
         }},
    };
}

std::vector<Call> FdnCalls() {
    return {
        {"ParsePortKeyFromFDN",
         [] {
             TNPortKey key;
             const unsigned long nResult = faults::The<TNFdnMgr>().ParsePortKeyFromFDN(FDN, key);
             return faults::Show(nResult, key.neId, key.boardPos, key.portPos);
         }},
        {"ConvertCxValue2FDNstring",
         [] {
             std::vector<std::string> vecFdn;
             faults::The<TNFdnMgr>().ConvertCxValue2FDNstring({{1, 7}, {2, 8}}, vecFdn);
             return faults::Show(vecFdn);
         }},
        {"GetPathIDorTimeSlot",
         [] {
             FrameUtil::StrUIDParser fdn;
             fdn.Parse(FDN.c_str());
             unsigned long nPath = 0;
             unsigned long nSlot = 0;
             const unsigned long nResult =
                 faults::The<TNFdnMgr>().GetPathIDorTimeSlot(fdn, nPath, nSlot);
             return faults::Show(nResult, nPath, nSlot);
         }},
        {"IsEthTrunkFBType",
         [] { return faults::Show(faults::The<TNFdnMgr>().IsEthTrunkFBType(1)); }},
        {"TNFdnMgr::Destroy", [] { return TNFdnMgr::Destroy(), ""; }},
        {"ConvertTTPfb2FBType",
         [] {
             int nType = 0;
             std::string strLevel;
             std::string strLow;
             const bool bType = ConvertTTPfb2FBType(862, nType);
             const bool bText = ConvertTTPfb2FBTypeStr(862, strLevel, strLow);
             return faults::Show(bType, nType, bText, strLevel, strLow);
         }},
    };
}

std::vector<Call> OtnCalls() {
    return {
        {"GetLevelAndPathIDByStr", [] { return Show(LevelsOf(OTN_PATH)); }},
        {"SplitPathStrBySeperator",
         [] {
             std::vector<std::string> vecPart;
             Path::SplitPathStrBySeperator(OTN_PATH + "-ODU0:1-ODU0:2-ODU0:3", vecPart);
             return faults::Show(vecPart);
         }},
        {"GetLevelPathStrByLevelList",
         [] { return Path::GetLevelPathStrByLevelList(LevelsOf(OTN_PATH)); }},
        {"GetPathIDForOSUFlexByPathStr",
         [] {
             int nPath = 0;
             return faults::Show(Path::GetPathIDForOSUFlexByPathStr("ODU4:2-OSUflex:7", nPath),
                                 nPath);
         }},
        {"GetRealLevelVelocity", [] { return faults::Show(Path::GetRealLevelVelocity(1, 2)); }},
        {"GetOtnLP2LocationID",
         [] {
             const Levels listLevel = LevelsOf(OTN_PATH);
             return faults::Show(Path::GetOtnLP2LocationID(listLevel),
                                 Path::GetOtnLP2LocationIDNew(listLevel),
                                 Path::GetOtnLP2LocationIDEX(listLevel, 1),
                                 Path::GetLowPathIDFromLPList(listLevel));
         }},
        {"GetLocationIDByPathStr",
         [] { return faults::Show(Path::GetLocationIDByPathStr(OTN_PATH)); }},
        {"GetLevelPathByLocationID",
         [] {
             Levels listLevel;
             const bool bPath = Path::GetLevelPathByLocationID(0x01100010, listLevel);
             Levels listNew;
             const bool bNew = Path::GetLevelPathByLocationIDNew(0x01100010, listNew);
             return faults::Show(bPath, bNew) + Show(listLevel) + Show(listNew);
         }},
        {"TransferLocationIdToVector",
         [] {
             std::vector<OTNLevelAndPathID> vecLevel;
             Levels listLevel;
             const bool bGood = Path::TransferLocationIdToVector(0x01100010, vecLevel);
             Path::TransferVectorToList(vecLevel, listLevel);
             return faults::Show(bGood) + Show(listLevel);
         }},
        {"GetLevelPathStrByLocation", [] { return Path::GetLevelPathStrByLocation(0x01100010); }},
    };
}

}  // namespace

std::vector<Call> ObjectCalls() {
    std::vector<Call> vecCall;
    for (const auto& Calls : {BackupCalls, FdnCalls, OtnCalls})
        for (Call& call : Calls())
            vecCall.push_back(std::move(call));
    return vecCall;
}

}  // namespace faults

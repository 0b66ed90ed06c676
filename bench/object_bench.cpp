#include "ratio.h"
#include "row.h"

#include "tovelkarin/tnbackupobjstr.h"
#include "tovelkarin/tnfbtype.h"
#include "tovelkarin/tnfdnmgr.h"
#include "tovelkarin/tnotnlevelpathutil.h"

#include "zemb/control.h"

#include <absl/container/flat_hash_map.h>
#include <absl/strings/numbers.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_join.h>
#include <absl/strings/str_split.h>
#include <ldap.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>
#include <pugixml.hpp>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using namespace NSTN_util;
using bench::Row;

// Every third attribute is a quoted text, the others are numbers.
struct Attribute {
    std::string strName;
    std::string strText;  // "": the number counts
    int nNumber;
};

const std::vector<Attribute>& Attributes(std::size_t nCount) {
    static std::unordered_map<std::size_t, std::vector<Attribute>> mapAttribute;
    std::vector<Attribute>& vecAttribute = mapAttribute[nCount];
    for (std::size_t i = vecAttribute.size(); i < nCount; ++i)
        vecAttribute.push_back({"attr" + std::to_string(i),
                                i % 3 == 0 ? "value " + std::to_string(i * 7919) : "",
                                static_cast<int>(i * 7919)});
    return vecAttribute;
}

constexpr int LEVELS = 3;

// An object with a third of the attributes on each of three levels, the innermost first.
std::string OurObject(const std::vector<Attribute>& vecAttribute) {
    std::vector<std::string> vecChild;
    const std::size_t nPart = vecAttribute.size() / LEVELS + 1;
    for (std::size_t nFirst = 0; nFirst < vecAttribute.size(); nFirst += nPart) {
        TNBackupObjStr object("LEVEL");
        for (std::size_t i = nFirst; i < nFirst + nPart && i < vecAttribute.size(); ++i) {
            const Attribute& one = vecAttribute[i];
            if (one.strText.empty())
                object.AddAttributePara(one.strName.c_str(), one.nNumber, false);
            else
                object.AddAttributePara(one.strName.c_str(), one.strText, true);
        }
        if (!vecChild.empty())
            object.AddObejctPara(vecChild, "BELOW");
        vecChild.assign(1, object.GetObjStr());
    }
    return vecChild.front();
}

std::string RapidObject(const std::vector<Attribute>& vecAttribute) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    const std::size_t nPart = vecAttribute.size() / LEVELS + 1;
    std::size_t nOpen = 0;
    for (std::size_t nFirst = 0; nFirst < vecAttribute.size(); nFirst += nPart, ++nOpen) {
        if (nOpen != 0)
            writer.Key("BELOW");
        writer.StartObject();
        for (std::size_t i = nFirst; i < nFirst + nPart && i < vecAttribute.size(); ++i) {
            const Attribute& one = vecAttribute[i];
            writer.Key(one.strName.c_str(), static_cast<rapidjson::SizeType>(one.strName.size()));
            if (one.strText.empty())
                writer.Int(one.nNumber);
            else
                writer.String(one.strText.c_str(),
                              static_cast<rapidjson::SizeType>(one.strText.size()));
        }
    }
    for (; nOpen > 0; --nOpen)
        writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize());
}

class TextWriter : public pugi::xml_writer {
public:
    std::string strText;
    void write(const void* pData, size_t nSize) override {
        strText.append(static_cast<const char*>(pData), nSize);
    }
};

std::string PugiObject(const std::vector<Attribute>& vecAttribute) {
    pugi::xml_document document;
    pugi::xml_node node = document;
    const std::size_t nPart = vecAttribute.size() / LEVELS + 1;
    for (std::size_t nFirst = 0; nFirst < vecAttribute.size(); nFirst += nPart) {
        node = node.append_child("LEVEL");
        for (std::size_t i = nFirst; i < nFirst + nPart && i < vecAttribute.size(); ++i) {
            const Attribute& one = vecAttribute[i];
            pugi::xml_attribute attribute = node.append_attribute(one.strName.c_str());
            if (one.strText.empty())
                attribute.set_value(one.nNumber);
            else
                attribute.set_value(one.strText.c_str());
        }
    }
    TextWriter writer;
    document.save(writer, "", pugi::format_raw | pugi::format_no_declaration);
    return writer.strText;
}

void BuildRows() {
    for (const std::int64_t nSize : {100, 1000, 10000}) {
        const std::vector<Attribute>& vecAttribute = Attributes(static_cast<std::size_t>(nSize));
        Row(
            "backup_build", "ours", [&](std::size_t) { return OurObject(vecAttribute); }, nSize);
        Row(
            "backup_build", "rapidjson", [&](std::size_t) { return RapidObject(vecAttribute); },
            nSize);
        Row(
            "backup_build", "pugixml", [&](std::size_t) { return PugiObject(vecAttribute); },
            nSize);
    }
}

// Any of the attributes by name, from the text.
void ReadRows() {
    for (const std::int64_t nSize : {100, 1000, 10000}) {
        static std::unordered_map<std::int64_t, std::unique_ptr<simdjson::padded_string>> mapJson;
        const auto nCount = static_cast<std::size_t>(nSize);
        const std::vector<Attribute>& vecAttribute = Attributes(nCount);
        std::string strJson = "{";
        std::string strXml = "<LEVEL";
        TNBackupObjStr object("LEVEL");
        for (const Attribute& one : vecAttribute) {
            const std::string strNumber = std::to_string(one.nNumber);
            const std::string strQuoted = "\"" + one.strText + "\"";
            absl::StrAppend(&strJson, strJson.size() == 1 ? "" : ",", "\"", one.strName,
                            "\":", one.strText.empty() ? strNumber : strQuoted);
            absl::StrAppend(&strXml, " ", one.strName, "=\"",
                            one.strText.empty() ? strNumber : one.strText, "\"");
            object.InsertAttributeString(one.strName, one.strText.empty() ? strNumber : strQuoted);
        }
        strXml += "/>";
        mapJson[nSize] = std::make_unique<simdjson::padded_string>(strJson + "}");
        const auto NumberAt = [nCount](std::size_t i) {
            const std::size_t nAt = i * 2654435761 % nCount;
            return nAt % 3 == 0 ? (nAt == 0 ? 1 : nAt - 1) : nAt;
        };
        Row(
            "backup_read", "ours",
            [&vecAttribute, object, NumberAt](std::size_t i) {
                int nValue = 0;
                object.GetAttributePara(vecAttribute[NumberAt(i)].strName.c_str(), nValue);
                return nValue;
            },
            nSize);
        Row(
            "backup_read", "simdjson",
            [&vecAttribute, pJson = mapJson[nSize].get(),
             pParser = std::make_shared<simdjson::ondemand::parser>(), NumberAt](std::size_t i) {
                auto document = pParser->iterate(*pJson);
                std::int64_t nValue = 0;
                if (document.find_field(std::string_view(vecAttribute[NumberAt(i)].strName))
                        .get(nValue) != simdjson::SUCCESS)
                    std::abort();
                return nValue;
            },
            nSize);
        Row(
            "backup_read", "pugixml",
            [&vecAttribute, strXml, NumberAt](std::size_t i) {
                pugi::xml_document document;
                document.load_buffer(strXml.data(), strXml.size());
                return document.first_child()
                    .attribute(vecAttribute[NumberAt(i)].strName.c_str())
                    .as_int();
            },
            nSize);
    }
}

void ChildRows() {
    for (const std::int64_t nSize : {1000, 10000}) {
        std::vector<std::string> vecChild;
        for (std::int64_t i = 0; i < nSize; ++i) {
            TNBackupObjStr child("PORT");
            child.AddAttributePara("id", static_cast<int>(i), false);
            child.AddAttributePara("label", "port " + std::to_string(i), true);
            vecChild.push_back(child.GetObjStr());
        }
        TNBackupObjStr object("BOARD");
        object.AddObejctPara(vecChild, "PORTS");
        Row(
            "backup_children", "ours",
            [object](std::size_t) {
                std::vector<std::string> vecText;
                object.GetObjStrByObjName("PORTS", "PORT", vecText);
                return vecText.size();
            },
            nSize);
        // Its elements in the place of the text's own notation of attributes.
        std::string strXml = "<BOARD><PORTS>";
        for (std::int64_t i = 0; i < nSize; ++i)
            absl::StrAppend(&strXml, "<PORT id=\"", i, "\" label=\"port ", i,
                            "\"><object/></PORT>");
        strXml += "</PORTS></BOARD>";
        Row(
            "backup_children", "pugixml",
            [strXml](std::size_t) {
                pugi::xml_document document;
                document.load_buffer(strXml.data(), strXml.size());
                std::vector<std::string> vecText;
                for (const pugi::xml_node node :
                     document.child("BOARD").child("PORTS").children("PORT")) {
                    TextWriter writer;
                    node.print(writer, "", pugi::format_raw);
                    vecText.push_back(std::move(writer.strText));
                }
                return vecText.size();
            },
            nSize);
    }
}

void ListRows() {
    for (const std::int64_t nSize : {1000, 1000000}) {
        std::vector<int> vecNumber = bench::Numbers<int>();
        while (static_cast<std::int64_t>(vecNumber.size()) < nSize)
            vecNumber.insert(vecNumber.end(), vecNumber.begin(), vecNumber.begin() + 1024);
        vecNumber.resize(static_cast<std::size_t>(nSize));
        Row(
            "backup_list_write", "ours",
            [vecNumber](std::size_t) {
                TNBackupObjStr object("N");
                object.AddAttributePara("list", vecNumber, false);
                return object;
            },
            nSize);
        Row(
            "backup_list_write", "absl",
            [vecNumber](std::size_t) { return absl::StrJoin(vecNumber, "&"); }, nSize);
        TNBackupObjStr object("N");
        object.AddAttributePara("list", vecNumber, false);
        Row(
            "backup_list_read", "ours",
            [object](std::size_t) {
                std::vector<int> vecRead;
                object.GetAttributePara("list", vecRead);
                return vecRead.size();
            },
            nSize);
        Row(
            "backup_list_read", "absl",
            [strList = absl::StrJoin(vecNumber, "&")](std::size_t) {
                std::vector<int> vecRead;
                for (const absl::string_view strNumber : absl::StrSplit(strList, '&')) {
                    int nNumber = 0;
                    if (!absl::SimpleAtoi(strNumber, &nNumber))
                        std::abort();
                    vecRead.push_back(nNumber);
                }
                return vecRead.size();
            },
            nSize);
    }
}

// What a caller writes by hand with the C library.
TNPortKey KeyByStrtok(const std::string& strFdn) {
    std::string strCopy = strFdn;
    TNPortKey key;
    unsigned long nSlot = 0;
    unsigned long nFrame = 0;
    unsigned long nSubslot = 0;
    unsigned long arrPort[3] = {};
    char* szRest = nullptr;
    for (char* szPair = strtok_r(&strCopy[0], ",", &szRest); szPair != nullptr;
         szPair = strtok_r(nullptr, ",", &szRest)) {
        char* const szEqual = std::strchr(szPair, '=');
        *szEqual = '\0';
        const char* const szValue = szEqual + 1;
        if (std::strcmp(szPair, "NE") == 0)
            key.neId = static_cast<std::uint32_t>(std::strtoul(szValue, nullptr, 10));
        else if (std::strcmp(szPair, "FR") == 0)
            nFrame = std::strtoul(szValue, nullptr, 10);
        else if (std::strcmp(szPair, "S") == 0)
            nSlot = std::strtoul(szValue, nullptr, 10);
        else if (std::strcmp(szPair, "SS") == 0)
            nSubslot = std::strtoul(szValue, nullptr, 10);
        else if (std::strcmp(szPair, "LP") == 0) {
            char* szPorts = nullptr;
            char* szPort = strtok_r(szEqual + 1, "|", &szPorts);
            for (unsigned long& nPort : arrPort) {
                nPort = szPort == nullptr ? 0 : std::strtoul(szPort, nullptr, 10);
                szPort = strtok_r(nullptr, "|", &szPorts);
            }
        }
    }
    key.boardPos = static_cast<std::uint32_t>(nSubslot << 24 | nFrame << 16 | nSlot);
    key.portPos = (arrPort[0] << 16) + (arrPort[2] & 0xFFFF);
    return key;
}

void FdnRows() {
    static std::vector<std::string> FDNS;
    for (int i = 0; i < 64; ++i)
        FDNS.push_back("NE=" + std::to_string(i * 7919) + ",FR=" + std::to_string(i) +
                       ",S=3,SS=1,LP=" + std::to_string(i) + "|7|300,");
    Row("fdn_port", "ours", [](std::size_t i) {
        TNPortKey key;
        TNFdnMgr::Instance()->ParsePortKeyFromFDN(FDNS[i % 64], key);
        return key;
    });
    Row("fdn_port", "strtok_r", [](std::size_t i) { return KeyByStrtok(FDNS[i % 64]); });
    Row("fdn_port", "ldap", [](std::size_t i) {
        const std::string strDn = FDNS[i % 64].substr(0, FDNS[i % 64].size() - 1);
        LDAPDN dn = nullptr;
        ldap_str2dn(strDn.c_str(), &dn, LDAP_DN_FORMAT_LDAPV3);
        const unsigned long nFirst =
            dn == nullptr ? 0 : std::strtoul(dn[0][0]->la_value.bv_val, nullptr, 10);
        ldap_dnfree(dn);
        return nFirst;
    });
    Row("fdn_build", "ours", [](std::size_t i) {
        std::vector<std::string> vecFdn;
        TNFdnMgr::Instance()->ConvertCxValue2FDNstring({{1, static_cast<int>(i)}}, vecFdn);
        return vecFdn;
    });
    Row("fdn_build", "absl", [](std::size_t i) {
        const std::vector<std::list<int>> vecValue = {{1, static_cast<int>(i)}};
        std::vector<std::string> vecFdn;
        for (const std::list<int>& listValue : vecValue) {
            const int nNe = listValue.back();
            vecFdn.push_back(absl::StrCat("ONE=", listValue.front(), ",NE=", nNe, ","));
            vecFdn.push_back(absl::StrCat("OS=1,PROC=1088,NE=", nNe, ","));
            vecFdn.push_back(absl::StrCat("OS=1,NE=", nNe, ","));
        }
        return vecFdn;
    });
}

const std::vector<std::pair<std::string, std::uint32_t>> LEVELS_OF_OTN = {
    {"OMS", 12291},    {"OCH", 12292},   {"OCh", 12292},   {"OTU25", 12306},   {"OTUX5", 12307},
    {"OTUCn", 12308},  {"OTU4", 12309},  {"OTU3", 12310},  {"OTU2", 12311},    {"OTU1", 12313},
    {"ODU25", 12322},  {"ODUX5", 12323}, {"ODUCn", 12324}, {"ODU4", 12325},    {"ODU3", 12326},
    {"ODU2", 12327},   {"ODU1", 12329},  {"ODU0", 12332},  {"ODUflex", 12336}, {"TDUflex", 12338},
    {"OSUFlex", 12340}};

void OtnRows() {
    static std::vector<std::string> PATHS;
    static std::vector<std::list<OTNLevelAndPathID>> LISTS(64);
    static absl::flat_hash_map<std::string, std::uint32_t> CODES;
    static absl::flat_hash_map<std::uint32_t, std::string> NAMES;
    for (const auto& [strName, nCode] : LEVELS_OF_OTN) {
        CODES[strName] = nCode;
        NAMES[nCode] = strName;
    }
    for (std::size_t i = 0; i < 64; ++i) {
        PATHS.push_back("ODU4:" + std::to_string(i + 1) + "-ODU2:" + std::to_string(i % 10 + 1) +
                        "-ODU0:" + std::to_string(i % 8 + 1));
        TNOTNLevelPathUtil::GetLevelAndPathIDByStr(PATHS[i], LISTS[i]);
    }
    Row("otn_read", "ours", [](std::size_t i) {
        std::list<OTNLevelAndPathID> listLevel;
        TNOTNLevelPathUtil::GetLevelAndPathIDByStr(PATHS[i % 64], listLevel);
        return listLevel.size();
    });
    Row("otn_read", "absl", [](std::size_t i) {
        std::list<OTNLevelAndPathID> listLevel;
        for (const absl::string_view strPiece : absl::StrSplit(PATHS[i % 64], '-')) {
            const std::pair<absl::string_view, absl::string_view> pair =
                absl::StrSplit(strPiece, absl::MaxSplits(':', 1));
            int nPathId = 0;
            if (!absl::SimpleAtoi(pair.second, &nPathId))
                std::abort();
            const auto it = CODES.find(pair.first);
            listLevel.push_back({it == CODES.end() ? 0 : it->second, nPathId});
        }
        return listLevel.size();
    });
    Row("otn_write", "ours", [](std::size_t i) {
        return TNOTNLevelPathUtil::GetLevelPathStrByLevelList(LISTS[i % 64]);
    });
    Row("otn_write", "absl", [](std::size_t i) {
        std::string strPath;
        for (const OTNLevelAndPathID& level : LISTS[i % 64]) {
            const auto it = NAMES.find(level.level);
            absl::StrAppend(&strPath, strPath.empty() ? "" : "-",
                            it == NAMES.end() ? std::string() : it->second, ":", level.pathId);
        }
        return strPath;
    });
    Row("otn_location", "ours",
        [](std::size_t i) { return TNOTNLevelPathUtil::GetOtnLP2LocationID(LISTS[i % 64]); });
}

void TypeRows() {
    static std::vector<int> TYPES;
    static std::unordered_map<int, int> MAP;
    const zemb::ScopedNoDebugChannel silent;
    for (int nType = 0; nType < 1000; ++nType) {
        int nFbType = 0;
        if (!ConvertTTPfb2FBType(nType, nFbType))
            continue;
        TYPES.push_back(nType);
        MAP[nType] = nFbType;
    }
    Row("fbtype", "ours", [](std::size_t i) {
        int nFbType = 0;
        ConvertTTPfb2FBType(TYPES[i * 2654435761 % TYPES.size()], nFbType);
        return nFbType;
    });
    Row("fbtype", "unordered_map",
        [](std::size_t i) { return MAP.find(TYPES[i * 2654435761 % TYPES.size()])->second; });
}

[[maybe_unused]] const bool g_bRegistered = [] {
    BuildRows();
    ReadRows();
    ChildRows();
    ListRows();
    FdnRows();
    OtnRows();
    TypeRows();
    return true;
}();

}  // namespace

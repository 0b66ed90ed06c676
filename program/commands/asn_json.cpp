#include "commands/asn_json.h"

#include "check/finding.h"
#include "view/output.h"

#include "zemb/asn.h"

#include <json/reader.h>

#include <algorithm>
#include <sstream>
#include <vector>

// A message value from JSON. Members keep the order of the file, which the parser tells by their
// places. Anything that JSON can say and a message cannot is refused with its line.
namespace host {

namespace {

using Value = std::shared_ptr<const AsnType>;

class AsnReader {
public:
    AsnReader(const std::string& strFile, const std::string& strText)
        : m_strFile(strFile), m_strText(strText) {}

    Value Read() const {
        Json::CharReaderBuilder builder;
        builder["collectComments"] = false;
        builder["failIfExtra"] = true;
        builder["rejectDupKeys"] = true;
        Json::Value root;
        std::string strErrors;
        std::istringstream stream(m_strText);
        try {
            if (!Json::parseFromStream(builder, stream, &root, &strErrors))
                throw CommandError(ANSWER_NO, m_strFile + ": no JSON: " + strErrors);
        } catch (const Json::Exception&) {
            throw CommandError(ANSWER_NO, m_strFile + ": more than 1,000 levels deep");
        }
        return ValueOf(root, "");
    }

private:
    Value ValueOf(const Json::Value& json, const std::string& strType) const {
        switch (json.type()) {
            case Json::intValue:
            case Json::uintValue:
                if (json.isInt64())
                    return std::make_shared<AsnInt>(json.asInt64(), strType);
                break;
            case Json::booleanValue:
                return std::make_shared<AsnInt>(json.asBool() ? 1 : 0, strType);
            case Json::stringValue: return std::make_shared<AsnText>(json.asString(), strType);
            case Json::arrayValue: {
                const auto pTree = std::make_shared<AsnTree>(AsnTree::EKind::LIST, strType);
                for (const Json::Value& part : json)
                    pTree->Add("", ValueOf(part, ""));
                return pTree;
            }
            case Json::objectValue: return ObjectOf(json, strType);
            default: break;
        }
        throw Error(json, "an object, array, integer of 64 bits, string or boolean");
    }

    Value ObjectOf(const Json::Value& json, const std::string& strTypeOutside) const {
        if (json.isMember("$type") && !json["$type"].isString())
            throw Error(json["$type"], "a string for $type");
        const std::string strType = json.get("$type", strTypeOutside).asString();
        for (const char* const szKind : {"$value", "$octets", "$choice"})
            if (json.isMember(szKind) && json.size() != (json.isMember("$type") ? 2U : 1U))
                throw Error(json, std::string("only $type beside ") + szKind);
        if (json.isMember("$value"))
            return ValueOf(json["$value"], strType);
        if (json.isMember("$octets"))
            return std::make_shared<AsnOcts>(OctetsOf(json["$octets"]), strType);
        const bool bChoice = json.isMember("$choice");
        const Json::Value& parts = bChoice ? json["$choice"] : json;
        if (!parts.isObject() || (bChoice && parts.size() != 1))
            throw Error(parts, "an object with one member for $choice");
        const auto pTree = std::make_shared<AsnTree>(
            bChoice ? AsnTree::EKind::CHOICE : AsnTree::EKind::SEQUENCE, strType);
        // The order of the file: that of the names is the parser's own.
        std::vector<std::string> vecName = parts.getMemberNames();
        std::sort(vecName.begin(), vecName.end(), [&](const auto& a, const auto& b) {
            return parts[a].getOffsetStart() < parts[b].getOffsetStart();
        });
        for (const std::string& strName : vecName)
            if (bChoice || strName != "$type")
                pTree->Add(strName, ValueOf(parts[strName], ""));
        return pTree;
    }

    std::string OctetsOf(const Json::Value& json) const {
        const std::string strHex = json.isString() ? json.asString() : "?";
        if (strHex.size() % 2 != 0 ||
            strHex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            throw Error(json, "pairs of hexadecimal digits for $octets");
        std::string strOctets;
        for (std::size_t i = 0; i < strHex.size(); i += 2)
            strOctets += static_cast<char>(std::stoi(strHex.substr(i, 2), nullptr, 16));
        return strOctets;
    }

    CommandError Error(const Json::Value& json, const std::string& strExpected) const {
        const auto nStart = static_cast<std::size_t>(json.getOffsetStart());
        int nLine = 1;
        for (std::size_t i = 0; i < nStart && i < m_strText.size(); ++i)
            nLine += m_strText[i] == '\n' ? 1 : 0;
        return CommandError(ANSWER_NO, PlaceText(m_strFile, nLine) + ": expected " + strExpected);
    }

    const std::string& m_strFile;
    const std::string& m_strText;
};

}  // namespace

std::shared_ptr<const AsnType> ReadAsn(const std::string& strFile, const std::string& strText) {
    return AsnReader(strFile, strText).Read();
}

}  // namespace host

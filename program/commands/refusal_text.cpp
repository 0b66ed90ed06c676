#include "commands/refusal_text.h"

#include "view/record.h"
#include "view/rows.h"

#include "zemb/control.h"

// A refusal explained, for the command that met it and for those who ask about another process.
namespace host {

using NSTE_util::TEOperObject;

namespace {

Json::Value RecordOfPlace(const Place& place) {
    return RecordOf({{"file", place.strFile}, {"line", place.nLine}, {"text", place.strText}});
}

std::string QuotedLine(const Place& place) {
    return place.Text() + ": " + place.strText;
}

}  // namespace

std::string RequestText(int nOper, const std::string& strObjects) {
    return "operation " + std::to_string(nOper) + " on " + strObjects;
}

Json::Value ToJson(const std::list<TEOperObject>& listObj) {
    Json::Value array(Json::arrayValue);
    for (const TEOperObject& obj : listObj) {
        Json::Value levels(Json::arrayValue);
        levels.append(obj.nNeId);
        levels.append(obj.nObjId);
        levels.append(static_cast<Json::Int64>(obj.lSubObjId));
        array.append(levels);
    }
    return array;
}

namespace {

const std::vector<Column> GRANT = {{"id", "GRANT"},
                                   {"operation", "OPERATION"},
                                   {"since", "SINCE"},
                                   {"by", "BY"},
                                   {"objects", "OBJECTS"}};

std::vector<Cell> CellsOf(const Grant& grant) {
    return {grant.nId,
            grant.nOper,
            zemb::FormatTime(grant.nSince),
            AsIs(grant.strBy),
            {ToJson(grant.listObj), ObjectsText(grant.listObj)}};
}

}  // namespace

Json::Value ToJson(const Grant& grant) {
    return RecordOf(GRANT, CellsOf(grant));
}

void ShowGrants(const Output& out, const std::list<Grant>& listGrant) {
    Rows rows(out, GRANT, "nothing is running");
    for (const Grant& grant : listGrant)
        rows.Add(CellsOf(grant));
    rows.Put();
}

std::string BlockerText(const Refusal& refusal) {
    const Grant& grant = *refusal.pGrant;
    std::string strText = RequestText(grant.nOper, ObjectText(refusal.obj)) + ", held by " +
                          grant.strBy + " since " + zemb::FormatTime(grant.nSince);
    if (grant.nId != 0)
        strText += " (grant " + std::to_string(grant.nId) + ")";
    return strText;
}

std::string RefusalText(const Refusal& refusal, Json::Value& record) {
    const Grant& grant = *refusal.pGrant;
    record["blocker"] = ToJson(grant);
    std::string strText = "\n  in the way: " + BlockerText(refusal);
    if (refusal.rule) {
        record["rule"] = RecordOfPlace(*refusal.rule);
        strText += "\n  rule:       " + QuotedLine(*refusal.rule);
    }
    if (refusal.code)
        record["code_line"] = RecordOfPlace(*refusal.code);
    return strText + "\n  code:       " +
           (refusal.code
                ? QuotedLine(*refusal.code)
                : "operation " + std::to_string(grant.nOper) + " has no line in [MUTEX_ERRORCODE]");
}

}  // namespace host

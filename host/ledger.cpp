#include "ledger.h"

#include "output.h"

#include "zemb/control.h"
#include "zemb/text.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace host {

using NSTE_util::TEOperObject;

namespace {

template <class Integer>
Integer ParseLevel(const std::string& strLevel, const std::string& strObject) {
    Integer nValue = 0;
    const char* const pEnd = strLevel.data() + strLevel.size();
    const auto [pStop, err] = std::from_chars(strLevel.data(), pEnd, nValue);
    if (err != std::errc() || pStop != pEnd)
        throw CommandError(WRONG_USAGE, "object '" + strObject +
                                            "': expected NE, NE/object or NE/object/sub-object, "
                                            "each a whole number");
    return nValue;
}

bool Overlaps(const TEOperObject& a, const TEOperObject& b) {
    if (a.nNeId == 0 || b.nNeId == 0)
        return true;
    if (a.nNeId != b.nNeId)
        return false;
    if (a.nObjId == 0 || b.nObjId == 0)
        return true;
    if (a.nObjId != b.nObjId)
        return false;
    return a.lSubObjId == 0 || b.lSubObjId == 0 || a.lSubObjId == b.lSubObjId;
}

}  // namespace

TEOperObject ParseObject(const std::string& strText) {
    const std::vector<std::string> vecLevel = NSTE_util::Token(strText, '/');
    TEOperObject obj{ParseLevel<int>(vecLevel[0], strText), 0, 0};
    if (vecLevel.size() > 1)
        obj.nObjId = ParseLevel<int>(vecLevel[1], strText);
    if (vecLevel.size() > 2)
        obj.lSubObjId = ParseLevel<long>(vecLevel[2], strText);
    if (vecLevel.size() > 3)
        throw CommandError(WRONG_USAGE, "object '" + strText + "': more than three levels");
    return obj;
}

std::string ObjectText(const TEOperObject& obj) {
    if (obj == TEOperObject{})
        return "everything";
    std::string strText = "NE " + std::to_string(obj.nNeId);
    if (obj.nObjId != 0 || obj.lSubObjId != 0)
        strText += "/" + std::to_string(obj.nObjId);
    if (obj.lSubObjId != 0)
        strText += "/" + std::to_string(obj.lSubObjId);
    return strText;
}

std::string ObjectsText(const std::list<TEOperObject>& listObj) {
    std::string strText;
    for (const TEOperObject& obj : listObj)
        strText += (strText.empty() ? "" : ", ") + ObjectText(obj);
    return strText.empty() ? "no object" : strText;
}

const Grant& Ledger::Add(int nOper, std::list<TEOperObject> listObj, const std::string& strBy,
                         std::unique_ptr<NSTE_util::TEMutexOperNEGuard> pGuard) {
    m_listGrant.push_back({++m_nLastId, nOper, std::move(listObj), zemb::NowMicroseconds(), strBy,
                           std::move(pGuard)});
    return m_listGrant.back();
}

std::unique_ptr<Grant> Ledger::Take(int nId) {
    const auto it = std::find_if(m_listGrant.begin(), m_listGrant.end(),
                                 [nId](const Grant& grant) { return grant.nId == nId; });
    if (it == m_listGrant.end())
        return nullptr;
    auto pGrant = std::make_unique<Grant>(std::move(*it));
    m_listGrant.erase(it);
    return pGrant;
}

void Ledger::Forget(int nOper, const TEOperObject& obj) {
    for (auto it = m_listGrant.begin(); it != m_listGrant.end(); ++it) {
        if (it->nOper != nOper)
            continue;
        const auto itObj = std::find(it->listObj.begin(), it->listObj.end(), obj);
        if (itObj == it->listObj.end())
            continue;
        it->listObj.erase(itObj);
        if (it->listObj.empty())
            m_listGrant.erase(it);
        return;
    }
}

std::optional<Refusal> Ledger::Overlap(int nRunning, const std::list<TEOperObject>& listObj) const {
    for (const Grant& grant : m_listGrant)
        if (grant.nOper == nRunning)
            for (const TEOperObject& held : grant.listObj)
                for (const TEOperObject& wanted : listObj)
                    if (Overlaps(wanted, held))
                        return Refusal{&grant, held, std::nullopt, std::nullopt};
    return std::nullopt;
}

std::optional<Refusal> Ledger::Explain(int nOper, const std::list<TEOperObject>& listObj) const {
    std::set<int> setRunning;
    for (const Grant& grant : m_listGrant)
        setRunning.insert(grant.nOper);

    const auto itSelf = table.mapExclusive.find(nOper);
    const auto itBlockers = table.mapBlockers.find(nOper);
    const auto RuleSelf = [&](int) {
        return itSelf == table.mapExclusive.end() ? nullptr : &itSelf->second;
    };
    const auto RuleExclusive = [&](int nRunning) {
        const auto it = table.mapExclusive.find(nRunning);
        return it == table.mapExclusive.end() ? nullptr : &it->second;
    };
    const auto RuleTable = [&](int nRunning) -> const Place* {
        if (itBlockers == table.mapBlockers.end())
            return nullptr;
        const auto it = itBlockers->second.find(nRunning);
        return it == itBlockers->second.end() ? nullptr : &it->second;
    };
    const auto Search = [&](const auto& Rule) -> std::optional<Refusal> {
        for (const int nRunning : setRunning) {
            const Place* const pRule = Rule(nRunning);
            if (pRule == nullptr)
                continue;
            std::optional<Refusal> refusal = Overlap(nRunning, listObj);
            if (!refusal)
                continue;
            refusal->rule = *pRule;
            const auto itCode = table.mapCode.find(nRunning);
            if (itCode != table.mapCode.end())
                refusal->code = itCode->second.place;
            return refusal;
        }
        return std::nullopt;
    };
    // As in the manager: a code of 0 answers an exclusive request, and is overlooked by the others.
    const auto IsOverlooked = [&](const std::optional<Refusal>& refusal) {
        return !refusal || (refusal->code && table.mapCode.at(refusal->pGrant->nOper).nCode == 0);
    };
    std::optional<Refusal> refusal = Search(RuleSelf);
    if (refusal)
        return refusal;
    refusal = Search(RuleExclusive);
    if (IsOverlooked(refusal))
        refusal = Search(RuleTable);
    return IsOverlooked(refusal) ? std::nullopt : refusal;
}

}  // namespace host

#include "commands/ledger.h"

#include "view/output.h"

#include "zemb/control.h"
#include "zemb/text.h"

#include <algorithm>
#include <charconv>

// The book beside the library's manager. To explain a refusal it goes through its grants in the
// order of the manager's own three reasons, and picks the lowest operation as the manager does; so
// what it names is what decided. A walk over all grants is enough here, because a person asks.
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
        AppendItem(strText, ObjectText(obj));
    return strText.empty() ? "no object" : strText;
}

const Grant& Ledger::Add(int nOper, std::list<TEOperObject> listObj, const std::string& strBy,
                         std::unique_ptr<NSTE_util::TEMutexOperNEGuard> pGuard) {
    m_listGrant.push_back({++m_nLastId, nOper, std::move(listObj), zemb::NowMicroseconds(), strBy,
                           std::move(pGuard), 0});
    return m_listGrant.back();
}

void Ledger::AddSince(int nOper, std::list<TEOperObject> listObj, const std::string& strBy,
                      long long nSince) {
    m_listGrant.push_back({0, nOper, std::move(listObj), nSince, strBy, nullptr, 0});
}

void Ledger::AddTask(int nTask, int nOper, const TEOperObject& obj, const std::string& strBy) {
    Add(nOper, {obj}, strBy);
    m_listGrant.back().nTask = nTask;
}

void Ledger::RemoveTask(int nTask) {
    m_listGrant.remove_if([nTask](const Grant& grant) { return grant.nTask == nTask; });
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
        if (it->nOper != nOper || it->IsInGuard())
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

bool Ledger::IsOnlyInGuards(int nOper, const TEOperObject& obj) const {
    bool bInGuard = false;
    for (const Grant& grant : m_listGrant)
        if (grant.nOper == nOper &&
            std::find(grant.listObj.begin(), grant.listObj.end(), obj) != grant.listObj.end()) {
            if (!grant.IsInGuard())
                return false;
            bInGuard = true;
        }
    return bInGuard;
}

namespace {

// The first held object of a grant that overlaps one that is asked for; null when none does.
const TEOperObject* FindOverlap(const Grant& grant, const std::list<TEOperObject>& listObj) {
    for (const TEOperObject& held : grant.listObj)
        for (const TEOperObject& wanted : listObj)
            if (Overlaps(wanted, held))
                return &held;
    return nullptr;
}

// Keeps the grant of the lowest operation among those a rule concerns.
void Offer(std::optional<Refusal>& best, const Grant& grant, const TEOperObject& held,
           const Place& rule) {
    if (!best || grant.nOper < best->pGrant->nOper)
        best = Refusal{&grant, held, rule, std::nullopt};
}

}  // namespace

std::optional<Refusal> Ledger::Explain(int nOper, const std::list<TEOperObject>& listObj) const {
    const Place* const pSelf = table.ExclusiveRule(nOper);
    std::optional<Refusal> bySelf;
    std::optional<Refusal> byExclusive;
    std::optional<Refusal> byTable;
    for (const Grant& grant : m_listGrant) {
        const Place* const pExclusive = table.ExclusiveRule(grant.nOper);
        const Place* const pTable = table.PairRule(grant.nOper, nOper);
        if (pSelf == nullptr && pExclusive == nullptr && pTable == nullptr)
            continue;
        const TEOperObject* const pHeld = FindOverlap(grant, listObj);
        if (pHeld == nullptr)
            continue;
        if (pSelf != nullptr)
            Offer(bySelf, grant, *pHeld, *pSelf);
        if (pExclusive != nullptr)
            Offer(byExclusive, grant, *pHeld, *pExclusive);
        if (pTable != nullptr)
            Offer(byTable, grant, *pHeld, *pTable);
    }
    // As in the manager: a code of 0 answers an exclusive request, and is overlooked by the others.
    for (std::optional<Refusal>* const pRefusal : {&bySelf, &byExclusive, &byTable}) {
        if (!*pRefusal)
            continue;
        const auto itCode = table.mapCode.find((*pRefusal)->pGrant->nOper);
        if (itCode != table.mapCode.end())
            (*pRefusal)->code = itCode->second.place;
        if (pRefusal == &bySelf || itCode == table.mapCode.end() || itCode->second.nCode != 0)
            return *pRefusal;
    }
    return std::nullopt;
}

}  // namespace host

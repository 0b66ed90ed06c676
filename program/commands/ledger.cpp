#include "commands/ledger.h"

#include "view/output.h"

#include "zemb/control.h"
#include "zemb/text.h"

#include <algorithm>
#include <charconv>

// The book beside the library's manager. To explain a refusal it goes through its grants in the
// order of the manager's own three reasons, and picks the lowest operation as the manager does; so
// what it names is what decided. What overlaps a request comes from an index of the places that are
// held, so that millions of recorded requests can be explained as well as the one of a person.
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

Grant& Ledger::Append(Grant grant) {
    const auto itGrant = m_listGrant.insert(m_listGrant.end(), std::move(grant));
    for (auto itObj = itGrant->listObj.begin(); itObj != itGrant->listObj.end(); ++itObj)
        m_places.Add(itGrant->nOper, {itGrant, itObj});
    return *itGrant;
}

void Ledger::RemovePlaces(std::list<Grant>::iterator itGrant) {
    for (auto itObj = itGrant->listObj.begin(); itObj != itGrant->listObj.end(); ++itObj)
        m_places.Remove(itGrant->nOper, {itGrant, itObj});
}

const Grant& Ledger::Add(int nOper, std::list<TEOperObject> listObj, const std::string& strBy,
                         std::unique_ptr<NSTE_util::TEMutexOperNEGuard> pGuard) {
    return Append({++m_nLastId, nOper, std::move(listObj), zemb::NowMicroseconds(), strBy,
                   std::move(pGuard), 0});
}

void Ledger::AddSince(int nOper, std::list<TEOperObject> listObj, const std::string& strBy,
                      long long nSince) {
    Append({0, nOper, std::move(listObj), nSince, strBy, nullptr, 0});
}

void Ledger::AddTask(int nTask, int nOper, const TEOperObject& obj, const std::string& strBy) {
    Add(nOper, {obj}, strBy);
    m_listGrant.back().nTask = nTask;
}

void Ledger::RemoveTask(int nTask) {
    for (auto it = m_listGrant.begin(); it != m_listGrant.end();) {
        if (it->nTask != nTask) {
            ++it;
            continue;
        }
        RemovePlaces(it);
        it = m_listGrant.erase(it);
    }
}

std::unique_ptr<Grant> Ledger::Take(int nId) {
    const auto it = std::find_if(m_listGrant.begin(), m_listGrant.end(),
                                 [nId](const Grant& grant) { return grant.nId == nId; });
    if (it == m_listGrant.end())
        return nullptr;
    RemovePlaces(it);
    auto pGrant = std::make_unique<Grant>(std::move(*it));
    m_listGrant.erase(it);
    return pGrant;
}

void Ledger::Forget(int nOper, const TEOperObject& obj) {
    const HeldPlaces::Entries* const pEntries = m_places.On(nOper, obj);
    if (pEntries == nullptr)
        return;
    const auto it = std::find_if(pEntries->begin(), pEntries->end(), [&](const auto& numbered) {
        const HeldPlaces::Entry& entry = numbered.second;
        return !entry.itGrant->IsInGuard() && *entry.itObj == obj;
    });
    if (it == pEntries->end())
        return;
    const HeldPlaces::Entry entry = it->second;
    m_places.Remove(nOper, entry);
    entry.itGrant->listObj.erase(entry.itObj);
    if (entry.itGrant->listObj.empty())
        m_listGrant.erase(entry.itGrant);
}

void Ledger::ForgetAll() {
    m_places.Clear();
    m_listGrant.clear();
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

// What decides among the held objects that one rule concerns: the lowest operation, and of its
// objects the one that was held first.
class Decisive {
public:
    void Offer(const HeldPlaces::Opers::value_type& held, const Place* pRule) {
        const auto& [nOper, entries] = held;
        const std::pair<int, std::uint64_t> order{nOper, entries.begin()->first};
        if (m_refusal && m_order <= order)
            return;
        const HeldPlaces::Entry& first = entries.begin()->second;
        m_order = order;
        m_refusal = Refusal{&*first.itGrant, *first.itObj, std::nullopt, std::nullopt};
        if (pRule != nullptr)
            m_refusal->rule = *pRule;
    }
    std::optional<Refusal>& Get() { return m_refusal; }

private:
    std::pair<int, std::uint64_t> m_order{};
    std::optional<Refusal> m_refusal;
};

}  // namespace

std::optional<Refusal> Ledger::FirstHeld(int nHolder,
                                         const std::list<TEOperObject>& listObj) const {
    Decisive decisive;
    for (const TEOperObject& wanted : listObj)
        m_places.ForOverlaps(wanted, [&](const HeldPlaces::Opers& opers) {
            if (const auto it = opers.find(nHolder); it != opers.end())
                decisive.Offer(*it, nullptr);
        });
    return decisive.Get();
}

std::optional<Refusal> Ledger::Explain(int nOper, const std::list<TEOperObject>& listObj) const {
    const Place* const pSelf = table.ExclusiveRule(nOper);
    Decisive bySelf;
    Decisive byExclusive;
    Decisive byTable;
    for (const TEOperObject& wanted : listObj)
        m_places.ForOverlaps(wanted, [&](const HeldPlaces::Opers& opers) {
            for (const auto& held : opers) {
                if (pSelf != nullptr)
                    bySelf.Offer(held, pSelf);
                if (const Place* const pExclusive = table.ExclusiveRule(held.first))
                    byExclusive.Offer(held, pExclusive);
                if (const Place* const pTable = table.PairRule(held.first, nOper))
                    byTable.Offer(held, pTable);
            }
        });
    // As in the manager: a code of 0 answers an exclusive request, and is overlooked by the others.
    for (Decisive* const pDecisive : {&bySelf, &byExclusive, &byTable}) {
        std::optional<Refusal>& refusal = pDecisive->Get();
        if (!refusal)
            continue;
        const auto itCode = table.mapCode.find(refusal->pGrant->nOper);
        if (itCode != table.mapCode.end())
            refusal->code = itCode->second.place;
        if (pDecisive == &bySelf || itCode == table.mapCode.end() || itCode->second.nCode != 0)
            return refusal;
    }
    return std::nullopt;
}

}  // namespace host

#pragma once

#include "check/mutex_file.h"
#include "commands/held_places.h"

#include "tovelkarin/temutexoperguard.h"
#include "tovelkarin/temutexopermgr.h"

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

// "5/7/99", "5/7" or "5" as an object; what is left out is 0, "all". Throws CommandError.
NSTE_util::TEOperObject ParseObject(const std::string& strText);
std::string ObjectText(const NSTE_util::TEOperObject& obj);
std::string ObjectsText(const std::list<NSTE_util::TEOperObject>& listObj);

// What this process was granted and has not given back.
struct Grant {
    int nId;
    int nOper;
    std::list<NSTE_util::TEOperObject> listObj;
    long long nSince;  // microseconds, the platform's clock
    std::string strBy;
    std::unique_ptr<NSTE_util::TEMutexOperNEGuard> pGuard;  // when an NE guard holds it
    int nTask = 0;  // the background task whose guard holds it, if one does

    bool IsInGuard() const { return pGuard != nullptr || nTask != 0; }
};

// Why a request was refused.
struct Refusal {
    const Grant* pGrant;
    NSTE_util::TEOperObject obj;  // the held object that overlaps
    std::optional<Place> rule;    // the table line
    std::optional<Place> code;    // the line that gives the code
};

// The book that the host keeps beside the library's manager, which remembers neither who asked,
// nor since when, nor which line of the table file a rule came from.
class Ledger {
public:
    MutexFile table;  // all table files loaded so far

    const Grant& Add(int nOper, std::list<NSTE_util::TEOperObject> listObj,
                     const std::string& strBy,
                     std::unique_ptr<NSTE_util::TEMutexOperNEGuard> pGuard = nullptr);
    // What another process holds since a moment, without a number.
    void AddSince(int nOper, std::list<NSTE_util::TEOperObject> listObj, const std::string& strBy,
                  long long nSince);
    // What a background task holds until it ends, and gives back itself.
    void AddTask(int nTask, int nOper, const NSTE_util::TEOperObject& obj,
                 const std::string& strBy);
    void RemoveTask(int nTask);
    // The entry, no longer in the book. Null when there is none of that number.
    std::unique_ptr<Grant> Take(int nId);
    // Whether nobody but NE guards holds obj for nOper: only they can give it back.
    bool IsOnlyInGuards(int nOper, const NSTE_util::TEOperObject& obj) const;
    // Forgets one held object that equals obj and is in no guard, as the manager does.
    void Forget(int nOper, const NSTE_util::TEOperObject& obj);
    // Begins anew, with the same table.
    void ForgetAll();
    const std::list<Grant>& Grants() const { return m_listGrant; }

    // Which grant is in the way of the request, in the order in which the manager looks. The
    // manager may still have answered 0: when that is the code of the grant in the way. Cost: does
    // not depend on what is held.
    std::optional<Refusal> Explain(int nOper,
                                   const std::list<NSTE_util::TEOperObject>& listObj) const;
    // The first that nHolder holds in the place of a request, whatever the table says.
    std::optional<Refusal> FirstHeld(int nHolder,
                                     const std::list<NSTE_util::TEOperObject>& listObj) const;

private:
    Grant& Append(Grant grant);
    void RemovePlaces(std::list<Grant>::iterator itGrant);

    std::list<Grant> m_listGrant;
    HeldPlaces m_places;
    int m_nLastId = 0;
};

}  // namespace host

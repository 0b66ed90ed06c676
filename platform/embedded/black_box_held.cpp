#include "zemb/black_box.h"

#include "base/cancel_hold.h"

#include <algorithm>
#include <map>

// What was held at one moment, from a reading that took a while: what is held was read while events
// went on, so some of it was granted only after the reading began, and some of what was held then
// was returned before it was read. The events since then tell which. A record stands a moment
// before its event: one of a call under way whose event has not been seen is of later, too.
namespace zemb {

namespace {

// What tells held objects apart: the operation, whether there is an object, and the object.
using HeldKey = std::tuple<int, bool, int, int, long>;

HeldKey KeyOf(int nOper, bool bNoObject, const LiveObject& obj) {
    return {nOper, bNoObject, obj.nNeId, obj.nObjId, obj.lSubObjId};
}

using Grants = std::vector<std::pair<std::uint32_t, long long>>;  // thread and time

// What the events of a key did while what is held was being read.
struct Meanwhile {
    Grants vecEarlier;  // before the reading
    Grants vecGrant;
    std::size_t nOpen = 0;              // granted meanwhile and not returned yet
    std::size_t nReturns = 0;           // of what was held before
    const BoxEvent* pReturn = nullptr;  // the last of these
};

std::map<HeldKey, Meanwhile> EventsMeanwhile(const BlackBox& box) {
    std::map<HeldKey, Meanwhile> mapKey;
    for (const BoxEvent& event : box.vecEvent) {
        const bool bEarlier = event.nNumber < box.nEventBefore;
        if (!IsOfOperation(event) || (event.eKind != EBoxEvent::GRANTED &&
                                      (event.eKind != EBoxEvent::GIVEN_BACK || bEarlier)))
            continue;
        Meanwhile& meanwhile = mapKey[KeyOf(event.nOper, event.nPlace == 0, event.obj)];
        if (bEarlier) {
            meanwhile.vecEarlier.emplace_back(event.nThread, event.nTime);
        } else if (event.eKind == EBoxEvent::GRANTED) {
            meanwhile.vecGrant.emplace_back(event.nThread, event.nTime);
            ++meanwhile.nOpen;
        } else if (meanwhile.nOpen != 0) {
            --meanwhile.nOpen;
        } else {
            ++meanwhile.nReturns;
            meanwhile.pReturn = &event;
        }
    }
    return mapKey;
}

BoxHeld HeldUntil(const BoxEvent& event) {
    BoxHeld held;
    held.nOper = event.nOper;
    held.obj = event.obj;
    held.bNoObject = event.nPlace == 0;
    held.eMaker = event.eMaker;
    held.nSince = event.nTime;
    held.nThread = event.nThread;
    held.nTask = event.nTask;
    return held;
}

// Whether one of the grants was that of what is held; it is taken out.
bool Take(Grants& vecGrant, const BoxHeld& held) {
    const auto it =
        std::find(vecGrant.begin(), vecGrant.end(), std::pair(held.nThread, held.nSince));
    if (it == vecGrant.end())
        return false;
    vecGrant.erase(it);
    return true;
}

}  // namespace

std::vector<BoxHeld> HeldBefore(const BlackBox& box) {
    const base::CancelHold hold;
    std::map<HeldKey, Meanwhile> mapKey = EventsMeanwhile(box);
    std::vector<BoxHeld> vecHeld;
    for (const BoxHeld& held : box.vecHeld) {
        Meanwhile& meanwhile = mapKey[KeyOf(held.nOper, held.bNoObject, held.obj)];
        if (Take(meanwhile.vecGrant, held) || (held.bUnderWay && !Take(meanwhile.vecEarlier, held)))
            continue;
        meanwhile.nReturns -= meanwhile.nReturns == 0 ? 0 : 1;
        vecHeld.push_back(held);
    }
    for (const auto& [key, meanwhile] : mapKey)
        for (std::size_t i = 0; i < meanwhile.nReturns; ++i)
            vecHeld.push_back(HeldUntil(*meanwhile.pReturn));
    return vecHeld;
}

}  // namespace zemb

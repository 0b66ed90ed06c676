#pragma once

#include "tovelkarin/temutexopermgr.h"

#include "zemb/live.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <list>

namespace NSTE_util {

// What makes the requests of this thread; set by the guards for as long as they ask.
inline thread_local zemb::ELiveMaker t_eMaker __attribute__((tls_model("initial-exec"))) =
    zemb::ELiveMaker::CALL;

class LiveMaker {
public:
    explicit LiveMaker(zemb::ELiveMaker eMaker) : m_eBefore(t_eMaker) { t_eMaker = eMaker; }
    ~LiveMaker() { t_eMaker = m_eBefore; }
    LiveMaker(const LiveMaker&) = delete;
    LiveMaker& operator=(const LiveMaker&) = delete;

private:
    const zemb::ELiveMaker m_eBefore;
};

inline zemb::LiveObject LiveObjectOf(const TEOperObject& obj) {
    return {obj.nNeId, obj.nObjId, obj.lSubObjId};
}
inline zemb::LiveObject LiveObjectOf(int nTrail) {
    return {nTrail, 0, 0};
}

// A request, or a return, as who watches the process sees it. Without anybody it costs a look: what
// is told stands in functions of their own, so that it takes no room in those that call it.
// Objects is a list of objects or trails that outlives it.
template <class Objects>
class LiveCall {
public:
    LiveCall(zemb::ELiveCall eCall, int nOper, const Objects& objects)
        : m_pWatcher(zemb::Live()), m_nOper(nOper), m_objects(objects) {
        if (m_pWatcher != nullptr)
            Begin(eCall);
    }
    ~LiveCall() {
        if (m_pWatcher != nullptr)
            m_pWatcher->CallEnds();
    }
    LiveCall(const LiveCall&) = delete;
    LiveCall& operator=(const LiveCall&) = delete;

    void Granted() const {
        if (m_pWatcher != nullptr)
            TellGranted();
    }

    void Refused(int nBlocker, unsigned long nCode) const {
        if (m_pWatcher != nullptr)
            TellRefused(nBlocker, nCode);
    }

    // One object, counted from 1; 0: the operation ran without any.
    void GivenBack(const zemb::LiveObject& obj, std::size_t nPlace) const {
        if (m_pWatcher != nullptr)
            m_pWatcher->GivenBack(m_nOper, obj, nPlace);
    }

private:
    [[gnu::noinline]] void TellGranted() const {
        ForEach([&](const zemb::LiveObject& obj, std::size_t nPlace) {
            m_pWatcher->Granted(obj, nPlace);
        });
    }
    [[gnu::noinline]] void TellRefused(int nBlocker, unsigned long nCode) const {
        ForEach([&](const zemb::LiveObject& obj, std::size_t nPlace) {
            m_pWatcher->Refused(obj, nPlace, nBlocker, nCode);
        });
    }
    [[gnu::noinline]] void Begin(zemb::ELiveCall eCall) const {
        std::array<zemb::LiveObject, 4> arrFirst;
        std::size_t nFirst = 0;
        for (auto it = m_objects.begin(); it != m_objects.end() && nFirst < arrFirst.size(); ++it)
            arrFirst[nFirst++] = LiveObjectOf(*it);
        m_pWatcher->CallBegins({eCall, t_eMaker, m_nOper, m_objects.size()}, arrFirst.data(),
                               nFirst);
    }

    template <class Fn>
    void ForEach(Fn fn) const {
        std::size_t nPlace = 0;
        for (const auto& object : m_objects)
            fn(LiveObjectOf(object), ++nPlace);
        if (nPlace == 0)
            fn(zemb::LiveObject{}, 0);
    }

    zemb::LiveWatcher* const m_pWatcher;
    const int m_nOper;
    const Objects& m_objects;
};

}  // namespace NSTE_util

#pragma once

#include "tovelkarin/temutexoperguard.h"

#include <list>

namespace host {

// A trail guard whose lists can be looked at.
class TrailHolder : public NSTE_util::TEMutexOperTrailGuard {
public:
    using TEMutexOperTrailGuard::TEMutexOperTrailGuard;

    // What the guard's test registered, or what it found busy.
    const std::list<int>& Registered() const { return m_listRegistered; }
    static const std::list<int>& Busy() { return m_listStaticTrail; }
};

}  // namespace host

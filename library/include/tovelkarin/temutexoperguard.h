#pragma once

#include "tovelkarin/export.h"
#include "tovelkarin/temutexopermgr.h"

#include <list>
#include <vector>

namespace NSTE_util {

// An NE guard was built outside a task or without a request; nothing was asked for.
constexpr unsigned long ERR_MUTEX_NO_REQUEST = 0x13281;
// A trail of the guard is already busy.
constexpr unsigned long ERR_MUTEX_TRAIL_CONFLICT = 0x4101F112;

// Holds exclusion for one operation while it is in scope. Never blocks.
//
// Give it a name: without one it is gone at the end of its line, of which compilers warn. Check
// m_nResult before going on: any value but 0 means refused, nothing is held, and the
// destructor gives nothing back. One guard belongs to one thread; guards of several threads may
// work at once. Trace lines: those of TEMutexOperMgr. Every guard of this header keeps a copy of
// its objects, and throws std::bad_alloc, with nothing asked for, when there is no memory for that.
class TN_API TEMutexOperGuard {
public:
    // Asks TEMutexOperMgr for nOper on the object, or on all of the list.
    [[nodiscard]] TEMutexOperGuard(int nOper, const TEOperObject& obj);
    [[nodiscard]] TEMutexOperGuard(int nOper, const std::list<TEOperObject>& listObj);
    ~TEMutexOperGuard();  // throws nothing

    TEMutexOperGuard(const TEMutexOperGuard&) = delete;
    TEMutexOperGuard& operator=(const TEMutexOperGuard&) = delete;

protected:
    int m_nOper;
    std::list<TEOperObject> m_listObj;

public:
    unsigned long m_nResult;  // 0 granted, else the code of the operation in the way
};

// The same for whole NEs, with the command number of the calling thread's current request as the
// operation. Without a current task or request m_nResult is ERR_MUTEX_NO_REQUEST. Every NE of the
// arguments counts, duplicates too; an empty list still asks, see TEMutexOperMgr.
class TN_API TEMutexOperNEGuard {
public:
    [[nodiscard]] explicit TEMutexOperNEGuard(int nNeId);
    [[nodiscard]] explicit TEMutexOperNEGuard(const std::vector<int>& vecNeId);
    [[nodiscard]] explicit TEMutexOperNEGuard(const std::list<int>& listNeId);
    ~TEMutexOperNEGuard();  // throws nothing

    TEMutexOperNEGuard(const TEMutexOperNEGuard&) = delete;
    TEMutexOperNEGuard& operator=(const TEMutexOperNEGuard&) = delete;

protected:
    int m_nOper;
    std::list<TEOperObject> m_listObj;

public:
    unsigned long m_nResult;  // 0 granted, ERR_MUTEX_NO_REQUEST, else as TEMutexOperGuard
};

// Exclusion on everything, {0, 0, 0}, without a scope. Thread-safe as TEMutexOperMgr.
class TN_API TEMutexLock {
public:
    static unsigned long lock(int nOper);  // 0 granted, else refused and nothing to release
    static void release(int nOper);        // what was granted, once
};

// Marks trails (path identifiers) as busy while in scope, in a list of the whole process.
//
// Test once per guard, with IsConflict() or GetResult(): a second test finds the guard's own trails
// busy, reports a conflict with itself, and leaves them in the list for good. The list has no lock:
// use trail guards from one thread at a time or under a lock of your own.
class TN_API TEMutexOperTrailGuard {
public:
    // What is wanted; registers nothing yet. The number 0 alone means no trail at all, an element
    // 0 of a list is a trail like any other.
    [[nodiscard]] explicit TEMutexOperTrailGuard(int nTrail);
    [[nodiscard]] explicit TEMutexOperTrailGuard(const std::vector<int>& vecTrail);
    [[nodiscard]] explicit TEMutexOperTrailGuard(const std::list<int>& listTrail);
    // Gives back what the test registered, one occurrence each; throws nothing. Leaves the list of
    // busy trails sorted, unless this guard wanted nothing or met a conflict. Cost as IsConflict().
    ~TEMutexOperTrailGuard();

    TEMutexOperTrailGuard(const TEMutexOperTrailGuard&) = delete;
    TEMutexOperTrailGuard& operator=(const TEMutexOperTrailGuard&) = delete;

    // False: none of the trails was busy, all are now (no trail at all is false too). True: at
    // least one was busy, nothing was registered. Leaves the lists sorted in which it searched.
    // Cost: k log N with k trails of the guard and N busy ones.
    bool IsConflict();

    // IsConflict() as a code: ERR_MUTEX_TRAIL_CONFLICT or 0.
    unsigned long GetResult();

protected:
    std::list<int> m_listTrail;       // wanted
    std::list<int> m_listRegistered;  // after a test: what it registered, or what it found busy
    bool m_bConflict = false;         // result of the last test

    static std::list<int> m_listStaticTrail;  // busy trails of the process; may hold duplicates

    // A class that changes m_listStaticTrail by itself calls this behind it, and before the next
    // test or destructor. Without it only a change of the list's size or of its ends is noticed.
    // The next of them looks at the whole list.
    static void TrailsChanged();
};

}  // namespace NSTE_util

#pragma once

#include "tovelkarin/export.h"

#include <atomic>
#include <list>
#include <string>

namespace NSTE_util {

// What an operation works on, from coarse to fine; 0 at a level means "all" there, so that {5, 0,
// 0} is the whole NE 5 and {0, 0, 0} everything. Two objects overlap unless they differ at a level
// where both are not 0, with no 0 before it: {5, 7, 0} overlaps {5, 7, 1} and {0, 3, 3}, not {5, 8,
// 0}.
struct TEOperObject {
    int nNeId = 0;       // network element
    int nObjId = 0;      // object within the NE
    long lSubObjId = 0;  // sub-object within the object

    // By all three fields.
    friend bool operator==(const TEOperObject& a, const TEOperObject& b) noexcept {
        return a.nNeId == b.nNeId && a.nObjId == b.nObjId && a.lSubObjId == b.lSubObjId;
    }
    friend bool operator!=(const TEOperObject& a, const TEOperObject& b) noexcept {
        return !(a == b);
    }
};

// A running operation is in the way and the table file gives no code for it.
constexpr unsigned long ERR_MUTEX_NO_ERRORCODE = 0x4101F012;

// Which operations exclude each other, and which run on what. Nothing here ever waits: a refused
// caller gets the code at once. The guards of temutexoperguard.h are the usual callers.
//
// Any thread may call; one lock is held for the whole of each call, also while the trace lines
// named below are written to the log of module "tovelkarin" at level 1. No operation throws: a
// request for which memory is lacking is refused with ERR_MUTEX_NO_ERRORCODE and holds nothing.
class TN_API TEMutexOperMgr {
public:
    // The one manager, made at the first call with an empty table. Null only when the process-wide
    // static-object lock cannot be taken, or memory is lacking, and no manager is there yet.
    static TEMutexOperMgr* Instance();
    // Deletes the manager with its table and all that is held; the next Instance() makes a new one.
    // Nothing without one. Nobody may be using the old one.
    static void Destroy();

    virtual ~TEMutexOperMgr();

    // Asks for operation nOper on every object of listObj, all or none. 0: granted, and recorded as
    // running until released. Otherwise the code that the table file gives the running operation
    // in the way, the one with the lowest number if there are several, or ERR_MUTEX_NO_ERRORCODE.
    // A list without objects is granted and leaves the operation running for good.
    // A code of 0 in the file looks like a grant and is best avoided: it is returned, with nothing
    // recorded, to an operation that excludes all others; another request goes on as if the
    // operation of that code were not in the way.
    // Lines: "No Mutex Operations Register for: %d" when the table has no line that lets anything
    // block nOper; "Can't find match error of operation(%d)" for a blocker without a code.
    // Cost: linear in listObj, whatever is held and however many operations run. For an object with
    // more than 16 of them on it or below it, times the spans of operations that block nOper or
    // the kinds of operations there (of one kind: those that block the same), whichever are
    // fewer; after a load the first such request sorts the operations by kind.
    virtual unsigned long AcquireMutexOper(int nOper, const std::list<TEOperObject>& listObj) = 0;
    virtual unsigned long AcquireMutexOper(int nOper, const TEOperObject& obj) = 0;

    // Gives back exactly what was granted: each object once, equal in all three fields. An object
    // that nOper does not hold changes nothing and writes "ReleaseMutexOper warning:listIter end!";
    // when nOper is not running at all, "ASSERT: file mutex, line 362 assertion failed for
    // 'bAssertFlag'." goes to the platform's default debug interface, once per object.
    // Cost: linear in listObj, in any order.
    virtual void ReleaseMutexOper(int nOper, const std::list<TEOperObject>& listObj) = 0;
    virtual void ReleaseMutexOper(int nOper, const TEOperObject& obj) = 0;

    // Whether nOper, or any operation at all, has been granted and not yet given back.
    virtual bool IsOperRunning(int nOper) = 0;
    virtual bool HasRunningOper() = 0;

    // Adds a table file (docs/formats/mutex-table-file.md) to what is loaded. True when the file
    // could be read and every line in it is good; good lines count even when others are not. The
    // file is read before the lock is taken. Neighbours in a list are kept as one span, so that
    // memory grows with the length of the file, not with the operations that it names. Lines: "Open
    // file(%s) error! " for a file that is missing, unreadable or a folder; "Calling
    // TEMutexOperMgrImpl::RegisterMutex() with nOper1=0 and nOper2=0" for a pair of zeros.
    virtual bool LoadMutexCfg(const std::string& strFile) = 0;

protected:
    static std::atomic<TEMutexOperMgr*> m_pInstance;
};

}  // namespace NSTE_util

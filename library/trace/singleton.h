#pragma once

#include <ace/Guard_T.h>
#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Static_Object_Lock.h>

#include <atomic>
#include <new>

namespace NSTN_util {

// The instance behind pInstance, made by fnMake at the first call under the process-wide
// static-object lock. When that lock cannot be taken, or memory is lacking, the pointer as it
// stands: null if nothing was made yet.
template <class Iface, class Make>
Iface* CreateOnce(std::atomic<Iface*>& pInstance, Make fnMake) {
    if (Iface* const p = pInstance.load(std::memory_order_acquire))
        return p;
    ACE_Guard<ACE_Recursive_Thread_Mutex> guard(*ACE_Static_Object_Lock::instance());
    if (guard.locked() && pInstance.load(std::memory_order_relaxed) == nullptr) {
        try {
            pInstance.store(fnMake(), std::memory_order_release);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
    return pInstance.load(std::memory_order_acquire);
}

// Deletes the instance, if there is one; nothing when the lock cannot be taken.
template <class Iface>
void DestroyOnce(std::atomic<Iface*>& pInstance) {
    if (pInstance.load(std::memory_order_acquire) == nullptr)
        return;
    ACE_Guard<ACE_Recursive_Thread_Mutex> guard(*ACE_Static_Object_Lock::instance());
    if (guard.locked())
        delete pInstance.exchange(nullptr);
}

}  // namespace NSTN_util

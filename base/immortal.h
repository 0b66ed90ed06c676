#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace base {

// An object that is never destroyed: what runs after the end of main, destructors of other static
// objects too, may still use it. It stands in a function, `static base::Immortal<X> x; return *x;`,
// is made at the first call, and lies in the storage of the static itself, so nothing is allocated
// for it. A leak checker sees what it owns, as it looks into static storage.
template <class T>
class Immortal {
public:
    template <class... Args>
    explicit Immortal(Args&&... args) {
        ::new (static_cast<void*>(m_arrPlace)) T(std::forward<Args>(args)...);
    }
    ~Immortal() = default;  // and not that of the object
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    T& operator*() { return *std::launder(reinterpret_cast<T*>(m_arrPlace)); }
    T* operator->() { return &**this; }

private:
    alignas(T) std::byte m_arrPlace[sizeof(T)];
};

}  // namespace base

// shared_allocator<T>: a standard allocator that takes and returns every block through the platform's task
// allocator, so that text blocks of either character size come from the allocator shared by components.
#pragma once

#include <scrivix/scrivix.h>

#include <cstddef>
#include <new>

namespace scrivix {

template <class T>
struct shared_allocator {
    using value_type = T;

    shared_allocator() = default;
    template <class U>
    shared_allocator(const shared_allocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
        void* block = CoTaskMemAlloc(count * sizeof(T));
        if (!block) throw std::bad_alloc();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, std::size_t) noexcept { CoTaskMemFree(block); }

    template <class U>
    bool operator==(const shared_allocator<U>&) const noexcept {
        return true;
    }
};

}  // namespace scrivix

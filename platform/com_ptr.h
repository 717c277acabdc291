// ComPtr<T>: an owning interface reference. Logic code holds every reference through it, so that each
// AddRef has its Release on every path.
#pragma once

#include "platform/uuidof.h"

#include <utility>

namespace scrivix {

template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    // Takes a reference of its own to `p`.
    explicit ComPtr(T* p) : p_(p) {
        if (p_) p_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.p_) {}
    ComPtr(ComPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    ~ComPtr() { Reset(); }

    ComPtr& operator=(const ComPtr& other) {
        ComPtr(other).Swap(*this);
        return *this;
    }
    ComPtr& operator=(ComPtr&& other) noexcept {
        ComPtr(std::move(other)).Swap(*this);
        return *this;
    }
    ComPtr& operator=(std::nullptr_t) {
        Reset();
        return *this;
    }

    // Adopts a reference the caller already owns.
    static ComPtr Adopt(T* p) {
        ComPtr result;
        result.p_ = p;
        return result;
    }

    T* Get() const { return p_; }
    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    explicit operator bool() const { return p_ != nullptr; }

    void Reset() {
        if (T* p = std::exchange(p_, nullptr)) p->Release();
    }
    void Swap(ComPtr& other) noexcept { std::swap(p_, other.p_); }

    // The address to receive a new reference through an out-parameter; drops the current one first.
    T** Put() {
        Reset();
        return &p_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }

    // Hands the reference over to the caller (an out-parameter of an interface method).
    T* Detach() { return std::exchange(p_, nullptr); }
    HRESULT CopyTo(T** out) const {
        if (!out) return E_POINTER;
        *out = p_;
        if (p_) p_->AddRef();
        return S_OK;
    }

    // Queries for interface U.
    template <class U>
    HRESULT As(ComPtr<U>& out) const {
        if (!p_) return E_POINTER;
        return p_->QueryInterface(uuidof<U>(), out.PutVoid());
    }
    template <class U>
    ComPtr<U> As() const {
        ComPtr<U> out;
        As(out);
        return out;
    }

private:
    T* p_ = nullptr;
};

template <class T, class U>
bool operator==(const ComPtr<T>& a, const ComPtr<U>& b) {
    return a.Get() == b.Get();
}

}  // namespace scrivix

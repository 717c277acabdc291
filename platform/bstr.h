// Bstr: an owning automation string. Logic code never pairs SysAllocString and SysFreeString by hand.
#pragma once

#include <scrivix/scrivix.h>

#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace scrivix {

class Bstr {
public:
    Bstr() = default;
    // Copies the characters; throws std::bad_alloc when they cannot be allocated.
    explicit Bstr(std::u16string_view text) : s_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
        if (!s_) throw std::bad_alloc();
    }
    // A copy of a null string is null.
    Bstr(const Bstr& other) {
        if (!other.IsNull()) *this = Bstr(other.View());
    }
    Bstr(Bstr&& other) noexcept : s_(std::exchange(other.s_, nullptr)) {}
    ~Bstr() { SysFreeString(s_); }
    Bstr& operator=(Bstr other) noexcept {
        std::swap(s_, other.s_);
        return *this;
    }

    static Bstr Adopt(BSTR s) {
        Bstr result;
        result.s_ = s;
        return result;
    }

    BSTR Get() const { return s_; }
    BSTR* Put() {
        SysFreeString(std::exchange(s_, nullptr));
        return &s_;
    }
    BSTR Detach() { return std::exchange(s_, nullptr); }
    bool IsNull() const { return s_ == nullptr; }
    UINT Length() const { return SysStringLen(s_); }
    std::u16string_view View() const { return View(s_); }

    // A borrowed BSTR as a view; null is the empty string.
    static std::u16string_view View(BSTR s) { return s ? std::u16string_view(s, SysStringLen(s)) : std::u16string_view(); }

private:
    BSTR s_ = nullptr;
};

// Copies `text` into a new BSTR for an out-parameter: S_OK, E_POINTER for a null out-pointer, or
// E_OUTOFMEMORY.
inline HRESULT CopyToBstr(std::u16string_view text, BSTR* out) {
    if (!out) return E_POINTER;
    *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace scrivix

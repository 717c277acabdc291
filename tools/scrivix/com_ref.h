// The tool's own thin ownership layer over the library's calling convention: an interface reference that
// releases itself, an automation string that frees itself, creation by class name, and the one place that
// turns a failed status into a C++ exception carrying the library's message (from GetErrorInfo).
// The tool sees the library only through the public header; nothing here comes from its sources.
#pragma once

#include <scrivix/scrivix.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace scrivix_tool {

// A failure that ends the current file (or the run): what the user reads after "scrivix: ".
class ToolError : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
};

// An owned interface reference.
template <class T>
class Ref {
   public:
    Ref() = default;
    Ref(const Ref& other) : pointer_(other.pointer_) {
        if (pointer_) pointer_->AddRef();
    }
    Ref(Ref&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~Ref() {
        if (pointer_) pointer_->Release();
    }

    T* operator->() const { return pointer_; }
    T* get() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }
    // For out-parameters: releases what is held and hands out the slot.
    T** put() {
        *this = Ref();
        return &pointer_;
    }
    void** put_void() { return reinterpret_cast<void**>(put()); }

   private:
    T* pointer_ = nullptr;
};

// An owned automation string.
class Bstr {
   public:
    Bstr() = default;
    explicit Bstr(std::u16string_view text);
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    ~Bstr() { SysFreeString(text_); }

    BSTR get() const { return text_; }
    BSTR* put() {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    std::u16string_view view() const { return {text_ ? text_ : u"", SysStringLen(text_)}; }

   private:
    BSTR text_ = nullptr;
};

// The description of the calling thread's error record (which it clears), or "" when there is none.
std::string TakeErrorDescription();

// Throws ToolError("<what>: <library message>") when hr is a failure; the message is the error record's
// description, or the status in hexadecimal when the failing call left none.
void Check(HRESULT hr, std::string_view what);

// Creates an object of the named class and asks it for the interface iid.
template <class T>
Ref<T> Create(const char16_t* class_name, REFIID iid) {
    CLSID clsid{};
    Check(CLSIDFromProgID(class_name, &clsid), "class lookup");
    Ref<T> object;
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.put_void()), "object creation");
    return object;
}

template <class T>
Ref<T> Query(IUnknown* object, REFIID iid) {
    Ref<T> result;
    Check(object->QueryInterface(iid, result.put_void()), "interface query");
    return result;
}

}  // namespace scrivix_tool

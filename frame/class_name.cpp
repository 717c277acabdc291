// CreateFromClassName. Creation admits every kind of server, so the object is asked for IUnknown first,
// put into its running state, and only then asked for the interface wanted.
#include "frame/class_name.h"

#include "frame/object.h"

namespace scrivix {

HRESULT CreateFromClassName(BSTR name, REFIID iid, void** ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!name) return E_INVALIDARG;
    CLSID clsid{};
    // Only the first character decides: a braced name is never tried as a ProgID.
    HRESULT hr = name[0] == u'{' ? CLSIDFromString(name, &clsid) : CLSIDFromProgID(name, &clsid);
    if (FAILED(hr)) return hr;
    ComPtr<IUnknown> object;
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IUnknown, object.PutVoid());
    if (FAILED(hr)) return hr;
    hr = OleRun(object.Get());
    if (FAILED(hr)) return hr;
    return object->QueryInterface(iid, ppv);
}

ClassNameProperty::ClassNameProperty(const ClassNameProperty& other) {
    std::lock_guard guard(other.mutex_);
    owned_ = other.owned_;
    text_ = other.text_;
    length_ = other.length_;
}

ClassNameProperty& ClassNameProperty::operator=(const ClassNameProperty& other) {
    if (this == &other) return *this;
    std::unique_lock from(other.mutex_);
    std::shared_ptr<const std::u16string> owned = other.owned_;
    const OLECHAR* text = other.text_;
    const size_t length = other.length_;
    from.unlock();
    std::lock_guard guard(mutex_);
    // The old value goes when `owned` does, outside the lock.
    owned_.swap(owned);
    text_ = text;
    length_ = length;
    return *this;
}

HRESULT ClassNameProperty::Get(BSTR* out) const {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard guard(mutex_);
    if (!text_) return S_OK;
    return CopyToBstr({text_, Length()}, out);
}

HRESULT ClassNameProperty::Put(BSTR name) {
    return Guarded([&] {
        {
            // The value it has already (an iterator taking its source's default, say) costs no copy.
            std::lock_guard guard(mutex_);
            if (name && text_ && Bstr::View(name) == std::u16string_view(text_, Length())) return S_OK;
        }
        std::shared_ptr<const std::u16string> owned;
        if (name) owned = std::make_shared<const std::u16string>(Bstr::View(name));
        std::lock_guard guard(mutex_);
        owned_.swap(owned);
        text_ = owned_ ? owned_->c_str() : nullptr;
        length_ = owned_ ? owned_->size() : 0;
        return S_OK;
    });
}

Bstr ClassNameProperty::Value() const {
    std::lock_guard guard(mutex_);
    return text_ ? Bstr(std::u16string_view(text_, Length())) : Bstr();
}

size_t ClassNameProperty::Length() const {
    if (length_ == kNotMeasured) length_ = std::char_traits<OLECHAR>::length(text_);
    return length_;
}

}  // namespace scrivix

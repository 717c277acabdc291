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

HRESULT ClassNameProperty::Get(BSTR* out) const {
    if (!out) return E_POINTER;
    *out = nullptr;
    std::lock_guard guard(mutex_);
    if (value_.IsNull()) return S_OK;
    return CopyToBstr(value_.View(), out);
}

HRESULT ClassNameProperty::Put(BSTR name) {
    return Guarded([&] {
        Bstr copy = name ? Bstr(Bstr::View(name)) : Bstr();
        std::lock_guard guard(mutex_);
        value_ = std::move(copy);
        return S_OK;
    });
}

Bstr ClassNameProperty::Value() const {
    std::lock_guard guard(mutex_);
    return value_;
}

}  // namespace scrivix

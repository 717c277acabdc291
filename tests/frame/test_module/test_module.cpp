// A client's own class server: one class, "Scrivix.Test.Widget", that answers IUnknown and IPattern's
// LookAhead property only. It links nothing of the library, as a module of another vendor would not: it
// knows the interface ids it answers by their values.
#include <scrivix/scrivix.h>

#include <atomic>

namespace {

// {7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9012}
constexpr CLSID kWidgetClsid = {0x7B3F6A10, 0x2C4D, 0x4E8F, {0x9A, 0x1B, 0x5C, 0x6D, 0x7E, 0x8F, 0x90, 0x12}};

constexpr IID kIUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID kIClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
// {66080F17-4C96-48E2-9CBD-0BA3A1A6BCDE}
constexpr IID kIPattern = {0x66080F17, 0x4C96, 0x48E2, {0x9C, 0xBD, 0x0B, 0xA3, 0xA1, 0xA6, 0xBC, 0xDE}};

std::atomic<long> live{0};

class Widget final : public IPattern {
public:
    Widget() { ++live; }
    ~Widget() { --live; }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != kIUnknown && iid != kIPattern) return E_NOINTERFACE;
        *ppv = static_cast<IPattern*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    // The widget's text is fixed: it tells a test which module made the object.
    HRESULT STDMETHODCALLTYPE get_Text(BSTR*) override { return S_FALSE; }
    HRESULT STDMETHODCALLTYPE put_Text(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_LookAhead(LONG* distance) override {
        *distance = 4242;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_LookAhead(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Options(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Options(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Find(IBufferSegment*, LONG*, LONG*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindReverse(IBufferSegment*, LONG*, LONG*, VARIANT_BOOL*) override {
        return E_NOTIMPL;
    }

private:
    std::atomic<ULONG> refs_{0};
};

class Factory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != kIUnknown && iid != kIClassFactory) return E_NOINTERFACE;
        *ppv = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        auto* widget = new Widget;
        widget->AddRef();
        HRESULT hr = widget->QueryInterface(iid, ppv);
        widget->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

Factory factory;

}  // namespace

extern "C" __attribute__((visibility("default"))) HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!(clsid == kWidgetClsid)) return CLASS_E_CLASSNOTAVAILABLE;
    return factory.QueryInterface(iid, ppv);
}

extern "C" __attribute__((visibility("default"))) long TestModuleLiveObjects() { return live; }

// A client's own class server: one class, "Scrivix.Test.Widget", that answers IUnknown and IPattern's
// LookAhead property only. It links nothing of the library, as a module of another vendor would not: it
// knows the interface ids it answers by their values.
#include "support/client_module.h"

namespace {

// {7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9012}
constexpr CLSID kWidgetClsid = {0x7B3F6A10, 0x2C4D, 0x4E8F, {0x9A, 0x1B, 0x5C, 0x6D, 0x7E, 0x8F, 0x90, 0x12}};
// {66080F17-4C96-48E2-9CBD-0BA3A1A6BCDE}
constexpr IID kIPattern = {0x66080F17, 0x4C96, 0x48E2, {0x9C, 0xBD, 0x0B, 0xA3, 0xA1, 0xA6, 0xBC, 0xDE}};

class Widget final : public client::Object<Widget, IPattern> {
public:
    static constexpr IID kAnswers[] = {kIPattern};

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_Text(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Text(BSTR) override { return E_NOTIMPL; }
    // A fixed look-ahead tells a test which module made the object.
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
};

}  // namespace

CLIENT_MODULE_EXPORT HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* ppv) {
    return client::GetClassObject<Widget>(clsid, kWidgetClsid, iid, ppv);
}

CLIENT_MODULE_EXPORT long TestModuleLiveObjects() { return client::live; }

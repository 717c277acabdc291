// LoadTypeLib, LoadRegTypeLib, RegisterTypeLib and the ITypeLib that serves a module's description.
// A type library is registered as on the home platform: TypeLib\{libid}\major.minor holds its doc string,
// and below it 0\win64 its file, FLAGS and HELPDIR.
#include "platform/type_library.h"

#include "platform/bstr.h"
#include "platform/code_page.h"
#include "platform/com_ptr.h"
#include "platform/guid.h"
#include "platform/module_instance.h"
#include "platform/registry.h"

#include <atomic>
#include <new>
#include <string>

namespace scrivix::platform {
namespace {

class TypeLibrary final : public ITypeLib {
public:
    explicit TypeLibrary(const TypeLibraryDescription& description) : description_(description) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != IID_IUnknown && iid != IID_ITypeLib) return E_NOINTERFACE;
        *ppv = static_cast<ITypeLib*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }

    UINT STDMETHODCALLTYPE GetTypeInfoCount() override { return 0; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, ITypeInfo** info) override { return NotFound(info); }
    HRESULT STDMETHODCALLTYPE GetTypeInfoType(UINT, TYPEKIND* kind) override {
        return kind ? TYPE_E_ELEMENTNOTFOUND : E_INVALIDARG;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoOfGuid(REFGUID, ITypeInfo** info) override { return NotFound(info); }
    HRESULT STDMETHODCALLTYPE GetLibAttr(TLIBATTR** attributes) override {
        if (!attributes) return E_INVALIDARG;
        *attributes = new (std::nothrow) TLIBATTR{description_.libid, description_.lcid, SYS_WIN64,
                                                  description_.major_version, description_.minor_version, 0};
        return *attributes ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT STDMETHODCALLTYPE GetTypeComp(ITypeComp** comp) override {
        if (comp) *comp = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetDocumentation(INT index, BSTR* name, BSTR* doc_string, DWORD* help_context,
                                               BSTR* help_file) override {
        if (index != -1) return TYPE_E_ELEMENTNOTFOUND;
        if (help_context) *help_context = description_.help_context;
        HRESULT hr = S_OK;
        for (auto [out, text] : {std::pair{name, description_.name}, std::pair{doc_string, description_.doc_string},
                                 std::pair{help_file, description_.help_file}})
            if (out && FAILED(hr = CopyToBstr(text ? text : u"", out))) return hr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE IsName(LPOLESTR, ULONG, BOOL* found) override {
        if (!found) return E_INVALIDARG;
        *found = FALSE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE FindName(LPOLESTR, ULONG, ITypeInfo**, MEMBERID*, USHORT* found) override {
        if (!found) return E_INVALIDARG;
        *found = 0;
        return S_OK;
    }
    void STDMETHODCALLTYPE ReleaseTLibAttr(TLIBATTR* attributes) override { delete attributes; }

private:
    static HRESULT NotFound(ITypeInfo** info) {
        if (!info) return E_INVALIDARG;
        *info = nullptr;
        return TYPE_E_ELEMENTNOTFOUND;
    }

    const TypeLibraryDescription& description_;
    std::atomic<ULONG> refs_{0};
};

std::u16string VersionKey(REFGUID libid, WORD major, WORD minor) {
    return u"TypeLib\\" + GuidToString(libid) + u"\\" + Utf8ToUtf16(std::to_string(major)) + u"." +
           Utf8ToUtf16(std::to_string(minor));
}

LONG WriteString(const std::u16string& key, const OLECHAR* name, std::u16string_view value) {
    RegistryKey handle;
    LONG status = RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                                  nullptr, handle.receive(), nullptr);
    if (status != ERROR_SUCCESS) return status;
    const std::u16string text(value);
    return RegSetValueExW(handle.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>((text.size() + 1) * sizeof(OLECHAR)));
}

}  // namespace
}  // namespace scrivix::platform

using namespace scrivix::platform;

extern "C" {

HRESULT LoadTypeLib(LPCOLESTR file, ITypeLib** library) {
    if (!file || !library) return E_INVALIDARG;
    *library = nullptr;
    const ModuleInstance* module = FindModuleByPath(Utf16ToUtf8(file));
    if (!module || !module->type_library) return TYPE_E_CANTLOADLIBRARY;
    auto* loaded = new (std::nothrow) TypeLibrary(*module->type_library);
    if (!loaded) return E_OUTOFMEMORY;
    loaded->AddRef();
    *library = loaded;
    return S_OK;
}

HRESULT LoadRegTypeLib(REFGUID libid, WORD major, WORD minor, LCID, ITypeLib** library) {
    if (!library) return E_INVALIDARG;
    *library = nullptr;
    auto file = ReadRegistryString(VersionKey(libid, major, minor) + u"\\0\\win64");
    if (!file) return TYPE_E_LIBNOTREGISTERED;
    return LoadTypeLib(file->c_str(), library);
}

HRESULT RegisterTypeLib(ITypeLib* library, LPCOLESTR full_path, LPCOLESTR help_dir) {
    if (!library || !full_path) return E_INVALIDARG;
    TLIBATTR* attributes = nullptr;
    HRESULT hr = library->GetLibAttr(&attributes);
    if (FAILED(hr)) return hr;
    const std::u16string key = VersionKey(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum);
    library->ReleaseTLibAttr(attributes);
    scrivix::Bstr doc_string;
    library->GetDocumentation(-1, nullptr, doc_string.Put(), nullptr, nullptr);
    const bool written = WriteString(key, nullptr, doc_string.View()) == ERROR_SUCCESS &&
                         WriteString(key + u"\\0\\win64", nullptr, full_path) == ERROR_SUCCESS &&
                         WriteString(key + u"\\FLAGS", nullptr, u"0") == ERROR_SUCCESS &&
                         WriteString(key + u"\\HELPDIR", nullptr, help_dir ? help_dir : u"") == ERROR_SUCCESS;
    return written ? S_OK : TYPE_E_REGISTRYACCESS;
}

}  // extern "C"

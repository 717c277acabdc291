// Creation of objects by class id and class name: ProgIDs and class ids are looked up in the registry,
// and a class's InprocServer32 names the module that makes it. A module already loaded (the library
// itself) answers directly; any other is loaded from its file and asked through its DllGetClassObject.
// There are no out-of-process servers on this platform: a context without an in-process server finds
// no class.
#include "platform/code_page.h"
#include "platform/com_ptr.h"
#include "platform/guid.h"
#include "platform/module_instance.h"
#include "platform/registry.h"

#include <dlfcn.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace scrivix::platform {
namespace {

// Shared libraries loaded as class servers stay loaded for the life of the process: objects made by
// them may be alive anywhere.
GetClassObjectFunction LoadServer(const std::string& path, HRESULT& status) {
    static std::mutex mutex;
    static std::map<std::string, GetClassObjectFunction> servers;
    std::lock_guard guard(mutex);
    if (auto found = servers.find(path); found != servers.end()) return found->second;
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        status = CO_E_DLLNOTFOUND;
        return nullptr;
    }
    auto entry = reinterpret_cast<GetClassObjectFunction>(dlsym(library, "DllGetClassObject"));
    if (!entry) {
        dlclose(library);
        status = CO_E_ERRORINDLL;
        return nullptr;
    }
    servers.emplace(path, entry);
    return entry;
}

}  // namespace
}  // namespace scrivix::platform

using namespace scrivix::platform;

extern "C" {

HRESULT CoInitialize(LPVOID) { return S_OK; }
HRESULT CoInitializeEx(LPVOID, DWORD) { return S_OK; }
void CoUninitialize() {}

HRESULT CLSIDFromProgID(LPCOLESTR prog_id, LPCLSID clsid) {
    if (!prog_id || !clsid) return E_INVALIDARG;
    std::u16string name(prog_id);
    // A version-independent ProgID without a CLSID of its own stands for its current version.
    for (int hops = 0; hops < 2 && !name.empty(); ++hops) {
        if (auto value = ReadRegistryString(name + u"\\CLSID")) return CLSIDFromString(value->c_str(), clsid);
        auto current = ReadRegistryString(name + u"\\CurVer");
        if (!current) break;
        name = *current;
    }
    return CO_E_CLASSSTRING;
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* prog_id) {
    if (!prog_id) return E_INVALIDARG;
    *prog_id = nullptr;
    auto value = ReadRegistryString(u"CLSID\\" + GuidToString(clsid) + u"\\ProgID");
    if (!value) return REGDB_E_CLASSNOTREG;
    const size_t bytes = (value->size() + 1) * sizeof(OLECHAR);
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (!copy) return E_OUTOFMEMORY;
    value->copy(copy, value->size());
    copy[value->size()] = 0;
    *prog_id = copy;
    return S_OK;
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, LPVOID, REFIID iid, LPVOID* ppv) {
    if (!ppv) return E_INVALIDARG;
    *ppv = nullptr;
    if (!(context & (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER))) return REGDB_E_CLASSNOTREG;
    auto server = ReadRegistryString(u"CLSID\\" + GuidToString(clsid) + u"\\InprocServer32");
    if (!server) return REGDB_E_CLASSNOTREG;
    const std::string path = Utf16ToUtf8(*server);
    if (path.empty()) return CO_E_DLLNOTFOUND;
    if (const ModuleInstance* module = FindModuleByPath(path)) return module->get_class_object(clsid, iid, ppv);
    HRESULT status = S_OK;
    GetClassObjectFunction entry = LoadServer(path, status);
    return entry ? entry(clsid, iid, ppv) : status;
}

HRESULT CoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    scrivix::ComPtr<IClassFactory> factory;
    HRESULT hr = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory, factory.PutVoid());
    return FAILED(hr) ? hr : factory->CreateInstance(outer, iid, ppv);
}

// In-process objects are running from their creation.
HRESULT OleRun(LPUNKNOWN unknown) { return unknown ? S_OK : E_INVALIDARG; }

}  // extern "C"

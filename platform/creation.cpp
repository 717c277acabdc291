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
#include <utility>
#include <vector>

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

// Where the class objects of a class come from; a module loaded in the process may also make the
// objects directly.
struct Server {
    GetClassObjectFunction get_class_object = nullptr;
    CreateInstanceFunction create_instance = nullptr;
};

// What this thread has read from the registry to create objects: ProgIDs with their class ids, class ids
// with their server. Objects are made by class name at a high rate (a buffer segment for every search
// step), and the answers stay right until the registry changes, when they are all dropped. Only
// successful look-ups are kept, a few of each.
class LookupCache {
public:
    static LookupCache& ForThisThread() {
        thread_local LookupCache cache;
        cache.DropIfStale();
        return cache;
    }

    // The ProgID is compared as it comes, zero-terminated: measuring it first would read it twice.
    const CLSID* ClassOf(LPCOLESTR prog_id) const {
        for (const auto& [name, clsid] : prog_ids_) {
            size_t i = 0;
            while (i < name.size() && name[i] == prog_id[i]) ++i;
            if (i == name.size() && prog_id[i] == 0) return &clsid;
        }
        return nullptr;
    }
    const Server* ServerOf(REFCLSID clsid) const {
        for (const auto& [id, server] : servers_)
            if (id == clsid) return &server;
        return nullptr;
    }
    // A look-up that cannot be remembered (no memory) is read from the registry again next time.
    void Keep(std::u16string_view prog_id, REFCLSID clsid) noexcept {
        try {
            Add(prog_ids_, {std::u16string(prog_id), clsid});
        } catch (...) {
        }
    }
    void Keep(REFCLSID clsid, const Server& server) noexcept {
        try {
            Add(servers_, {clsid, server});
        } catch (...) {
        }
    }

private:
    static constexpr size_t kKept = 16;

    void DropIfStale() {
        const uint64_t now = RegistryGeneration();
        if (now == generation_) return;
        prog_ids_.clear();
        servers_.clear();
        generation_ = now;
    }
    template <class List>
    static void Add(List& list, typename List::value_type item) {
        if (list.size() == kKept) list.erase(list.begin());
        list.push_back(std::move(item));
    }

    uint64_t generation_ = ~uint64_t{0};
    std::vector<std::pair<std::u16string, CLSID>> prog_ids_;
    std::vector<std::pair<CLSID, Server>> servers_;
};

// The class id of a ProgID, as the registry gives it.
HRESULT ReadClassOfProgID(LPCOLESTR prog_id, LPCLSID clsid) {
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

// The server of `clsid`: a module already loaded, or a server's file loaded now.
std::optional<Server> FindServer(REFCLSID clsid, HRESULT& status) {
    auto file = ReadRegistryString(u"CLSID\\" + GuidToString(clsid) + u"\\InprocServer32");
    if (!file) {
        status = REGDB_E_CLASSNOTREG;
        return std::nullopt;
    }
    const std::string path = Utf16ToUtf8(*file);
    if (path.empty()) {
        status = CO_E_DLLNOTFOUND;
        return std::nullopt;
    }
    if (const ModuleInstance* module = FindModuleByPath(path))
        return Server{module->get_class_object, module->find_creator ? module->find_creator(clsid) : nullptr};
    if (GetClassObjectFunction entry = LoadServer(path, status)) return Server{entry, nullptr};
    return std::nullopt;
}

// The server of `clsid`, from this thread's cache or the registry.
std::optional<Server> ServerOf(REFCLSID clsid, DWORD context, HRESULT& status) {
    if (!(context & (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER))) {
        status = REGDB_E_CLASSNOTREG;
        return std::nullopt;
    }
    LookupCache& cache = LookupCache::ForThisThread();
    if (const Server* known = cache.ServerOf(clsid)) return *known;
    std::optional<Server> server = FindServer(clsid, status);
    if (server) cache.Keep(clsid, *server);
    return server;
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
    LookupCache& cache = LookupCache::ForThisThread();
    if (const CLSID* known = cache.ClassOf(prog_id)) {
        *clsid = *known;
        return S_OK;
    }
    const HRESULT hr = ReadClassOfProgID(prog_id, clsid);
    if (SUCCEEDED(hr)) cache.Keep(prog_id, *clsid);
    return hr;
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
    HRESULT status = S_OK;
    const std::optional<Server> server = ServerOf(clsid, context, status);
    return server ? server->get_class_object(clsid, iid, ppv) : status;
}

HRESULT CoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    HRESULT hr = S_OK;
    const std::optional<Server> server = ServerOf(clsid, context, hr);
    if (!server) return hr;
    if (server->create_instance) {
        if (outer && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
        return server->create_instance(outer, iid, ppv);
    }
    scrivix::ComPtr<IClassFactory> factory;
    hr = server->get_class_object(clsid, IID_IClassFactory, factory.PutVoid());
    return FAILED(hr) ? hr : factory->CreateInstance(outer, iid, ppv);
}

// In-process objects are running from their creation.
HRESULT OleRun(LPUNKNOWN unknown) { return unknown ? S_OK : E_INVALIDARG; }

}  // extern "C"

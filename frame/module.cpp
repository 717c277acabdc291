// The module of the library. Its class table fixes the order in which class objects are looked up and
// classes registered. Class objects are made on first request, under the class-object lock with a
// second look, and cached until the module stops. When the module is loaded it registers itself with the
// platform and, unless the registry was loaded from a file an earlier process left, writes its
// registration into the process's registry, as an installer would have.
#include "frame/module.h"

#include "frame/class_factory.h"
#include "frame/class_table.h"
#include "frame/object.h"
#include "interfaces/messages.h"
#include "interfaces/registry_scripts.h"
#include "interfaces/type_library.h"
#include "platform/code_page.h"
#include "platform/guid.h"
#include "platform/module_instance.h"
#include "platform/registrar.h"
#include "platform/registry.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace scrivix {
namespace {

const char* FindMessageText(UINT id) {
    const MessageEntry* entry = FindMessage(id);
    return entry ? entry->text : nullptr;
}

class Module {
public:
    Module() {
        instance_.path = platform::ModulePathOf(reinterpret_cast<const void*>(&DllGetClassObject));
        instance_.get_class_object = &DllGetClassObject;
        instance_.find_creator = &FindCreator;
        instance_.find_string = &FindMessageText;
        instance_.type_library = &ScrivixTypeLibrary();
        handle_ = platform::RegisterModuleInstance(&instance_);
        if (!platform::RegistryLoadedFromFile()) Register();
    }
    ~Module() {
        for (ClassEntry& entry : ClassTable()) entry.class_object = nullptr;
    }

    HINSTANCE Handle() const { return handle_; }

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** ppv) {
        ClassEntry* entry = FindClass(clsid);
        if (!entry) return CLASS_E_CLASSNOTAVAILABLE;
        if (!entry->class_object) {
            std::lock_guard guard(class_object_lock_);
            if (!entry->class_object) {
                HRESULT hr = MakeClassFactory(entry->creator, entry->class_object);
                if (FAILED(hr)) return hr;
            }
        }
        return entry->class_object->QueryInterface(iid, ppv);
    }

    HRESULT Register() {
        for (const ClassEntry& entry : ClassTable()) {
            HRESULT hr = RunScript(entry.script, true);
            if (FAILED(hr)) return hr;
        }
        return RegisterTypeLibrary();
    }

    HRESULT Unregister() {
        for (const ClassEntry& entry : ClassTable()) RunScript(entry.script, false);
        return S_OK;
    }

private:
    static platform::CreateInstanceFunction FindCreator(REFCLSID clsid) {
        const ClassEntry* entry = FindClass(clsid);
        return entry ? entry->creator : nullptr;
    }

    static ClassEntry* FindClass(REFCLSID clsid) {
        for (ClassEntry& entry : ClassTable())
            if (*entry.clsid == clsid) return &entry;
        return nullptr;
    }

    HRESULT RunScript(UINT resource, bool registering) const {
        const std::string script = RegistryScript(resource);
        if (script.empty()) return E_UNEXPECTED;
        return platform::RunRegistryScript(platform::Utf8ToUtf16(script), Replacements(), registering);
    }

    // %MODULE% is the module's path with every single quote doubled, as the script language quotes.
    std::vector<std::pair<std::u16string, std::u16string>> Replacements() const {
        std::u16string module;
        for (char16_t c : platform::Utf8ToUtf16(instance_.path)) {
            module += c;
            if (c == u'\'') module += c;
        }
        std::vector<std::pair<std::u16string, std::u16string>> replacements{
            {u"MODULE", module}, {u"LIBID", platform::GuidToString(LIBID_ScrivixLib)}};
        for (const ClassEntry& entry : ClassTable())
            replacements.emplace_back(u"CLSID_" + platform::Utf8ToUtf16(entry.name),
                                      platform::GuidToString(*entry.clsid));
        return replacements;
    }

    // Loads the type library from the module's file, else from the .tlb beside it, and registers it with
    // the module's folder as its help directory.
    HRESULT RegisterTypeLibrary() const {
        std::u16string path = platform::Utf8ToUtf16(instance_.path);
        ComPtr<ITypeLib> library;
        HRESULT hr = LoadTypeLib(path.c_str(), library.Put());
        if (FAILED(hr)) {
            const size_t slash = path.find_last_of(u"\\/:");
            const size_t dot = path.find_last_of(u'.');
            path = (dot != std::u16string::npos && (slash == std::u16string::npos || dot > slash) ? path.substr(0, dot)
                                                                                                  : path) +
                   u".tlb";
            hr = LoadTypeLib(path.c_str(), library.Put());
            if (FAILED(hr)) return hr;
        }
        const std::u16string help_dir = path.substr(0, path.find_last_of(u"\\/:") + 1);
        return RegisterTypeLib(library.Get(), path.c_str(), help_dir.c_str());
    }

    platform::ModuleInstance instance_;
    HINSTANCE handle_ = nullptr;
    std::mutex class_object_lock_;
};

Module& TheModule() {
    static Module module;
    return module;
}

// Starts the module when the library is loaded.
[[maybe_unused]] const Module& started = TheModule();

}  // namespace

HINSTANCE ThisModule() { return TheModule().Handle(); }

}  // namespace scrivix

using scrivix::TheModule;

extern "C" {

HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    return scrivix::Guarded([&] { return TheModule().GetClassObject(clsid, iid, ppv); });
}

HRESULT DllCanUnloadNow() { return scrivix::ModuleObjectCount() == 0 ? S_OK : S_FALSE; }

HRESULT DllRegisterServer() {
    return scrivix::Guarded([] { return TheModule().Register(); });
}

HRESULT DllUnregisterServer() {
    return scrivix::Guarded([] { return TheModule().Unregister(); });
}

}  // extern "C"

// The platform's list of loaded modules and their string tables.
#include "platform/module_instance.h"

#include "platform/code_page.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

namespace scrivix::platform {
namespace {

struct LoadedModules {
    std::mutex mutex;
    std::vector<const ModuleInstance*> modules;
};

LoadedModules& Loaded() {
    static LoadedModules loaded;
    return loaded;
}

}  // namespace

HINSTANCE RegisterModuleInstance(const ModuleInstance* module) {
    auto& loaded = Loaded();
    std::lock_guard guard(loaded.mutex);
    loaded.modules.push_back(module);
    return reinterpret_cast<HINSTANCE>(const_cast<ModuleInstance*>(module));
}

const ModuleInstance* ModuleFromHandle(HINSTANCE handle) {
    return reinterpret_cast<const ModuleInstance*>(handle);
}

const ModuleInstance* FindModuleByPath(std::string_view path) {
    auto& loaded = Loaded();
    std::lock_guard guard(loaded.mutex);
    auto found = std::find_if(loaded.modules.begin(), loaded.modules.end(),
                              [path](const ModuleInstance* module) { return module->path == path; });
    return found == loaded.modules.end() ? nullptr : *found;
}

int LoadStringW(HINSTANCE handle, UINT id, LPWSTR buffer, int capacity) {
    const ModuleInstance* module = ModuleFromHandle(handle);
    if (!module || !module->find_string || !buffer || capacity <= 0) return 0;
    const char* text = module->find_string(id);
    if (!text) return 0;
    const size_t length = std::min(std::strlen(text), static_cast<size_t>(capacity - 1));
    WidenFromAnsi(text, text + length, buffer);
    buffer[length] = 0;
    return static_cast<int>(length);
}

std::string ModulePathOf(const void* address) {
    Dl_info info{};
    if (!dladdr(address, &info) || !info.dli_fname) return {};
    char resolved[PATH_MAX];
    if (realpath(info.dli_fname, resolved)) return resolved;
    return info.dli_fname;
}

}  // namespace scrivix::platform

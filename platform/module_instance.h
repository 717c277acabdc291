// Loaded modules as the platform knows them: a module's file, its entry point for class objects and its
// resources (string table, registry scripts). A module registers itself when it is loaded; creation by
// class id then finds a class whose InprocServer32 names that file without loading it again.
#pragma once

#include "platform/type_library.h"

#include <scrivix/scrivix.h>

#include <string>
#include <string_view>

namespace scrivix::platform {

using GetClassObjectFunction = HRESULT (*)(REFCLSID, REFIID, LPVOID*);
// Makes an object of one class, as that class object's CreateInstance does.
using CreateInstanceFunction = HRESULT (*)(IUnknown* outer, REFIID iid, LPVOID* ppv);

struct ModuleInstance {
    std::string path;  // the module's file, absolute, UTF-8
    GetClassObjectFunction get_class_object = nullptr;
    // The module's maker of objects of class `clsid`, or null: creation calls it directly instead of
    // taking the class object, asking it and releasing it for every object. Optional.
    CreateInstanceFunction (*find_creator)(REFCLSID clsid) = nullptr;
    // The module's string table, 8-bit text in the ANSI code page; null when it has no such entry.
    const char* (*find_string)(UINT id) = nullptr;
    // The module's type library, or null.
    const TypeLibraryDescription* type_library = nullptr;
};

// Makes `module` known to the platform for the rest of the process and returns its handle.
HINSTANCE RegisterModuleInstance(const ModuleInstance* module);
const ModuleInstance* ModuleFromHandle(HINSTANCE handle);
// The registered module whose file is `path`, or null.
const ModuleInstance* FindModuleByPath(std::string_view path);

// Loads string `id` of the module's table into `buffer` (at most `capacity` characters including the
// terminator, a longer text is cut), widened by the ANSI code page. Returns the number of characters
// copied, 0 when there is no such string.
int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int capacity);

// The absolute file of the module (shared library or program) that contains `address`.
std::string ModulePathOf(const void* address);

}  // namespace scrivix::platform

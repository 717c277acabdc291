// Type libraries: a module describes its type library as data (a resource of the module); the platform
// loads it from the module's file, registers it under its library id and version, and serves it through
// ITypeLib.
#pragma once

#include <scrivix/scrivix.h>

namespace scrivix::platform {

struct TypeLibraryDescription {
    GUID libid;
    WORD major_version;
    WORD minor_version;
    LCID lcid;
    const OLECHAR* name;
    const OLECHAR* doc_string;
    const OLECHAR* help_file;
    DWORD help_context;
};

}  // namespace scrivix::platform

// The description of the type library ScrivixLib, a resource of the module.
#pragma once

#include "platform/type_library.h"

namespace scrivix {

const platform::TypeLibraryDescription& ScrivixTypeLibrary();

}  // namespace scrivix

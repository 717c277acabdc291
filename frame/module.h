// The module: its table of classes, the class objects it hands out, its object count, and the
// registration of its classes and type library.
#pragma once

#include <scrivix/scrivix.h>

namespace scrivix {

// The module's handle: its file and resources as the platform knows them.
HINSTANCE ThisModule();

// Makes an object of one class for a client (see CreateComObject).
using ClassCreator = HRESULT (*)(IUnknown* outer, REFIID iid, void** ppv);

}  // namespace scrivix

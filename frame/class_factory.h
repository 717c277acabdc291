// The class object of every class: an IClassFactory over the class's creator.
#pragma once

#include "frame/module.h"
#include "platform/com_ptr.h"

namespace scrivix {

// Makes a class object for `creator`; `out` receives the module's own reference, which does not count as
// a live object (a client's first reference of its own does).
HRESULT MakeClassFactory(ClassCreator creator, ComPtr<IClassFactory>& out);

}  // namespace scrivix

// The module's registry scripts, one resource number per script, in the registrar's script language.
// Class ids and the type library id appear as %CLSID_<class>% and %LIBID% and the module's path as
// %MODULE%; the module supplies those replacements when it runs a script.
#pragma once

#include <scrivix/scrivix.h>

#include <string>

namespace scrivix {

// The script of a REGISTRY resource number, or an empty string when the module has none.
std::string RegistryScript(UINT resource);

}  // namespace scrivix

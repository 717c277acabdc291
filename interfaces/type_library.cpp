// The type library ScrivixLib 1.0.
#include "interfaces/type_library.h"

namespace scrivix {

const platform::TypeLibraryDescription& ScrivixTypeLibrary() {
    static const platform::TypeLibraryDescription library{
        LIBID_ScrivixLib, 1, 0, 1033, u"ScrivixLib", u"Scrivix 1.0 Text Processing Library", u"Scrivix.chm", 0};
    return library;
}

}  // namespace scrivix

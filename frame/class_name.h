// Creation of an object from a class-name property: a ProgID ("Scrivix.PatternA"), or a class id in
// registry form when the name begins with "{".
#pragma once

#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <scrivix/scrivix.h>

#include <mutex>

namespace scrivix {

// Makes an object of the class `name` designates and queries it for `iid`. A null name is the caller's
// E_INVALIDARG (checked before calling); any failure status of the platform is returned unchanged and
// no object is kept.
HRESULT CreateFromClassName(BSTR name, REFIID iid, void** ppv);

template <class I>
HRESULT CreateFromClassName(BSTR name, ComPtr<I>& out) {
    return CreateFromClassName(name, uuidof<I>(), out.PutVoid());
}

// A class-name property: holds a copy of a string, or null. Get hands out a new copy (null stays null),
// put stores a copy of its argument; a failed allocation is E_OUTOFMEMORY.
class ClassNameProperty {
public:
    explicit ClassNameProperty(std::u16string_view initial) : value_(initial) {}

    HRESULT Get(BSTR* out) const;
    HRESULT Put(BSTR name);
    // A copy of the current value, for making an object from it.
    Bstr Value() const;

private:
    mutable std::mutex mutex_;
    Bstr value_;
};

}  // namespace scrivix

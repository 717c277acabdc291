// Creation of an object from a class-name property: a ProgID ("Scrivix.PatternA"), or a class id in
// registry form when the name begins with "{".
#pragma once

#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <scrivix/scrivix.h>

#include <memory>
#include <mutex>
#include <string>

namespace scrivix {

// Makes an object of the class `name` designates and queries it for `iid`. A null name is the caller's
// E_INVALIDARG (checked before calling); any failure status of the platform is returned unchanged and
// no object is kept.
HRESULT CreateFromClassName(BSTR name, REFIID iid, void** ppv);

template <class I>
HRESULT CreateFromClassName(BSTR name, ComPtr<I>& out) {
    return CreateFromClassName(name, uuidof<I>(), out.PutVoid());
}

// A class-name property: holds a string, or null. Get hands out a new copy (null stays null), put stores
// a copy of its argument; a failed allocation is E_OUTOFMEMORY.
//
// Objects that carry class names are made at a high rate (a segment for every stop of an iterator), so
// values are immutable and shared rather than copied: a property that starts with a constant of the
// program only points at it, and a property copied from another shares the other's string. Only a put
// allocates.
class ClassNameProperty {
public:
    // `constant` lives as long as the program (a string literal). Its length is measured when the value
    // is first read: most objects never read their class names.
    explicit ClassNameProperty(const OLECHAR* constant) : text_(constant) {}
    // Shares the value of `other`; a later put on either leaves the other as it was.
    ClassNameProperty(const ClassNameProperty& other);
    ClassNameProperty& operator=(const ClassNameProperty& other);

    HRESULT Get(BSTR* out) const;
    HRESULT Put(BSTR name);
    // A copy of the current value, for making an object from it.
    Bstr Value() const;

private:
    mutable std::mutex mutex_;
    // What keeps a put value alive; empty for a constant and for null.
    std::shared_ptr<const std::u16string> owned_;
    static constexpr size_t kNotMeasured = ~size_t{0};
    // The value's length, measured on first use. Under the mutex.
    size_t Length() const;

    // The value, zero-terminated; null when the property is null.
    const OLECHAR* text_;
    mutable size_t length_ = kNotMeasured;
};

}  // namespace scrivix

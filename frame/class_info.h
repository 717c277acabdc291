// IProvideClassInfo2 for a class with an outgoing interface: the class's type information from the type
// library, and the id of its default outgoing interface.
#pragma once

#include "frame/dispatch.h"

namespace scrivix {

template <class Owner, class Events>
class ProvideClassInfo2 : public IProvideClassInfo2 {
public:
    HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        return LibraryTypeInfo(Owner::ClassId(), info);
    }
    HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* guid) override {
        if (!guid) return E_POINTER;
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) {
            *guid = GUID_NULL;
            return E_INVALIDARG;
        }
        *guid = uuidof<Events>();
        return S_OK;
    }
};

}  // namespace scrivix

// Dual<Main>: the IDispatch half of a dual interface, served from the registered type library. The type
// information of Main is loaded on first use and kept for the life of the module; names and calls go
// through it to the object's own methods of Main.
#pragma once

#include "platform/com_ptr.h"

#include <scrivix/scrivix.h>

#include <mutex>

namespace scrivix {

// The type information of interface `iid` from the registered library ScrivixLib 1.0, cached.
HRESULT LibraryTypeInfo(REFIID iid, ITypeInfo** info);

template <class Main>
class Dual : public Main {
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        return LibraryTypeInfo(uuidof<Main>(), info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        ComPtr<ITypeInfo> info;
        HRESULT hr = LibraryTypeInfo(uuidof<Main>(), info.Put());
        return FAILED(hr) ? hr : info->GetIDsOfNames(names, count, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT* arg_error) override {
        ComPtr<ITypeInfo> info;
        HRESULT hr = LibraryTypeInfo(uuidof<Main>(), info.Put());
        return FAILED(hr) ? hr
                          : info->Invoke(static_cast<Main*>(this), id, flags, params, result, exception, arg_error);
    }
};

}  // namespace scrivix

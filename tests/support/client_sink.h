// ClientSink<Events>: the COM half of a client's event sink that lives on a test's stack: it answers
// IUnknown, IDispatch and Events, counts its references without ever deleting itself, and checks at its
// end that no connection still holds it. A test sink derives from it and implements the event methods.
#pragma once

#include "platform/uuidof.h"

#include <gtest/gtest.h>

#include <atomic>

namespace scrivix::test {

template <class Events>
class ClientSink : public Events {
public:
    ~ClientSink() { EXPECT_EQ(refs_.load(), 0u) << "a connection still holds the sink"; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != IID_IUnknown && iid != IID_IDispatch && iid != uuidof<Events>()) return E_NOINTERFACE;
        *ppv = static_cast<Events*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs_; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    ULONG References() const { return refs_; }

private:
    std::atomic<ULONG> refs_{0};
};

}  // namespace scrivix::test

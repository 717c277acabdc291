// What a client's own class server needs, for the test modules that stand in for another vendor's
// module: they link nothing of the library, so the well-known interface ids are given by value here, with
// a reference count, a class factory and the DllGetClassObject of a module with one class.
#pragma once

#include <scrivix/scrivix.h>

#include <atomic>
#include <initializer_list>

namespace client {

constexpr IID kIUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID kIClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID kIStream = {0x0000000C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

// Objects of the module alive now.
inline std::atomic<long> live{0};

// IUnknown for an object answering interface Main under IUnknown and the ids of `Derived::kAnswers`.
template <class Derived, class Main>
class Object : public Main {
public:
    Object() { ++live; }
    virtual ~Object() { --live; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        bool answers = iid == kIUnknown;
        for (const IID& id : Derived::kAnswers) answers = answers || iid == id;
        if (!answers) return E_NOINTERFACE;
        *ppv = static_cast<Main*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }

private:
    std::atomic<ULONG> refs_{0};
};

// The class object of class T; it lives as long as the module and counts no references.
template <class T>
class Factory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != kIUnknown && iid != kIClassFactory) return E_NOINTERFACE;
        *ppv = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        auto* object = new T;
        object->AddRef();
        const HRESULT hr = object->QueryInterface(iid, ppv);
        object->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

// DllGetClassObject of a module whose one class is T, with class id `clsid`.
template <class T>
HRESULT GetClassObject(REFCLSID requested, const CLSID& clsid, REFIID iid, LPVOID* ppv) {
    static Factory<T> factory;
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!(requested == clsid)) return CLASS_E_CLASSNOTAVAILABLE;
    return factory.QueryInterface(iid, ppv);
}

}  // namespace client

#define CLIENT_MODULE_EXPORT extern "C" __attribute__((visibility("default")))

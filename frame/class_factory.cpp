// The class object. Its count works apart from the object frame: the reference the module keeps in its
// class table is not a live object, so the module's object count rises when a client takes its first
// reference (1 -> 2) and falls when the client gives up its last (2 -> 1).
#include "frame/class_factory.h"

#include "frame/object.h"

#include <atomic>

namespace scrivix {
namespace {

class ClassFactory final : public IClassFactory {
public:
    explicit ClassFactory(ClassCreator creator) : creator_(creator) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
        *ppv = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
        const ULONG count = ++refs_;
        if (count == 2) ModuleAddRef();
        return count;
    }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG count = --refs_;
        if (count == 1) ModuleRelease();
        if (count == 0) delete this;
        return count;
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (outer && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
        return creator_(outer, iid, ppv);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        lock ? ModuleAddRef() : ModuleRelease();
        return S_OK;
    }

private:
    ClassCreator creator_;
    std::atomic<ULONG> refs_{0};
};

}  // namespace

HRESULT MakeClassFactory(ClassCreator creator, ComPtr<IClassFactory>& out) {
    auto* factory = new (std::nothrow) ClassFactory(creator);
    if (!factory) return E_OUTOFMEMORY;
    out = ComPtr<IClassFactory>(factory);
    return S_OK;
}

}  // namespace scrivix

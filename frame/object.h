// The object frame: reference counting, the module's object count, interface lookup from a declarative
// table, aggregation, the object lock and error reporting under the object's class.
//
// A class states only what is its own:
//
//     class DThing : public ObjectRoot, public Dual<IThing>, public SupportErrorInfo<IThing> {
//     public:
//         using Interfaces = InterfaceTable<Entry<IThing>, Entry<IDispatch, IThing>, Entry<ISupportErrorInfo>>;
//         static const CLSID& ClassId() { return CLSID_Thing; }
//         static constexpr bool kAggregatable = true;
//         ... the methods of IThing ...
//     };
//
// and objects are made as ComObject<DThing>, which adds the IUnknown methods (CreateComObject below).
#pragma once

#include "platform/com_ptr.h"
#include "interfaces/messages.h"
#include "platform/sync.h"

#include <atomic>
#include <new>
#include <type_traits>
#include <utility>

namespace scrivix {

// The module's count of live objects and server locks; the module may unload only when it is 0.
void ModuleAddRef();
void ModuleRelease();
LONG ModuleObjectCount();

// One row of an interface table: interface I, reached by converting the object through base Through
// (Through differs from I where I is a base of several of the object's interfaces, e.g. IDispatch).
template <class I, class Through = I>
struct Entry {
    using Interface = I;
    template <class Object>
    static I* Cast(Object* object) {
        return static_cast<I*>(static_cast<Through*>(object));
    }
};

template <class... Entries>
struct InterfaceTable {
    static_assert(sizeof...(Entries) > 0, "an object answers at least one interface");

    // The object's identity: its IUnknown through the first entry.
    template <class Object>
    static IUnknown* Identity(Object* object) {
        return static_cast<IUnknown*>(First::Cast(object));
    }
    // The entry for `iid`, as a pointer without a new reference, or null.
    template <class Object>
    static void* Find(Object* object, REFIID iid) {
        void* found = nullptr;
        (void)((iid == uuidof<typename Entries::Interface>() && (found = Entries::Cast(object))) || ...);
        return found;
    }

private:
    template <class E, class...>
    struct Head {
        using type = E;
    };
    using First = typename Head<Entries...>::type;
};

class ObjectRoot {
public:
    ObjectRoot(const ObjectRoot&) = delete;
    ObjectRoot& operator=(const ObjectRoot&) = delete;

    // The object's recursive lock: connection points are read and changed, and events fired, under it.
    platform::CriticalSection& ObjectLock() { return lock_; }

    // Reports message `number` of the table under this object's class and main interface and returns
    // the status for the caller to return.
    HRESULT Report(UINT number) const;
    // Reports again, under this object's class, a failure `caught` from another object, taking the thread's
    // error record: by number (the status's low 16 bits) or by the record's text (DISP_E_EXCEPTION).
    HRESULT ReReportByNumber(HRESULT caught) const;
    HRESULT ReReportByText(HRESULT caught) const;

protected:
    ObjectRoot() { ModuleAddRef(); }
    virtual ~ObjectRoot() { ModuleRelease(); }

    // Fallible set-up after construction, before the object is first handed out.
    HRESULT FinalConstruct() { return S_OK; }

    virtual const CLSID& ClassIdOfObject() const = 0;
    virtual const IID& MainInterfaceId() const = 0;
    // Lookup in the class's table, not delegated to an outer object; adds a reference on success.
    virtual HRESULT InternalQueryInterface(REFIID iid, void** ppv) = 0;

    ULONG InternalAddRef() { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG InternalRelease() {
        // Whoever holds the only reference is alone with the object: nobody else can add one meanwhile,
        // so the last release needs no locked instruction. (Most objects are short-lived: a segment for
        // every stop of an iterator.) The acquire pairs with the releases of the other references.
        if (refs_.load(std::memory_order_acquire) == 1) {
            delete this;
            return 0;
        }
        const ULONG left = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    // The controlling unknown when the object is aggregated, else null.
    IUnknown* outer_ = nullptr;

    // The non-delegating IUnknown that an aggregating outer object holds.
    class InnerUnknown final : public IUnknown {
    public:
        explicit InnerUnknown(ObjectRoot& owner) : owner_(owner) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override;
        ULONG STDMETHODCALLTYPE AddRef() override { return owner_.InternalAddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner_.InternalRelease(); }

    private:
        ObjectRoot& owner_;
    };
    InnerUnknown inner_{*this};

    template <class T>
    friend class ComObject;
    template <class T>
    friend HRESULT CreateComObject(IUnknown* outer, REFIID iid, void** ppv);

private:
    std::atomic<ULONG> refs_{0};
    platform::CriticalSection lock_;
};

using ObjectLockGuard = platform::CriticalSectionLock;

// The concrete object: class T plus the IUnknown methods, which delegate to the outer object when
// aggregated.
template <class T>
class ComObject final : public T {
public:
    template <class... Args>
    explicit ComObject(Args&&... args) : T(std::forward<Args>(args)...) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        return this->outer_ ? this->outer_->QueryInterface(iid, ppv) : InternalQueryInterface(iid, ppv);
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
        return this->outer_ ? this->outer_->AddRef() : this->InternalAddRef();
    }
    ULONG STDMETHODCALLTYPE Release() override {
        return this->outer_ ? this->outer_->Release() : this->InternalRelease();
    }

    // The object's own identity (the inner unknown when aggregated).
    IUnknown* Identity() {
        return this->outer_ ? static_cast<IUnknown*>(&this->inner_) : T::Interfaces::Identity(this);
    }

private:
    const CLSID& ClassIdOfObject() const override { return T::ClassId(); }
    const IID& MainInterfaceId() const override { return uuidof<typename T::MainInterface>(); }

    HRESULT InternalQueryInterface(REFIID iid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = InterfaceFor(iid);
        if (!*ppv) return E_NOINTERFACE;
        static_cast<IUnknown*>(*ppv)->AddRef();
        return S_OK;
    }

    // The object's interface `iid` without a new reference, or null.
    void* InterfaceFor(REFIID iid) {
        return iid == IID_IUnknown ? T::Interfaces::Identity(this) : T::Interfaces::Find(this, iid);
    }

    template <class U>
    friend HRESULT CreateComObject(IUnknown* outer, REFIID iid, void** ppv);
};

// Makes an object of class T for a client: with an outer object only IUnknown may be asked for (and
// only of an aggregatable class); the new object is queried for `iid` and destroyed if that fails.
template <class T>
HRESULT CreateComObject(IUnknown* outer, REFIID iid, void** ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (outer && (!T::kAggregatable || iid != IID_IUnknown)) return CLASS_E_NOAGGREGATION;
    ComObject<T>* object = nullptr;
    try {
        // Default-initialised: every member has its initialiser, and the object is not zeroed first.
        object = new ComObject<T>;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    object->outer_ = outer;
    // Hold the object while it finishes its set-up, so that references taken and dropped meanwhile
    // cannot destroy it. Nobody else knows the object yet: the hold is a plain store.
    object->refs_.store(1, std::memory_order_relaxed);
    HRESULT hr = object->FinalConstruct();
    if (SUCCEEDED(hr)) {
        // The hold becomes the caller's reference: an aggregated object hands out its inner unknown.
        void* found = outer ? static_cast<IUnknown*>(&object->inner_) : object->InterfaceFor(iid);
        if (found) {
            *ppv = found;
            return S_OK;
        }
        hr = E_NOINTERFACE;
    }
    object->InternalRelease();
    return hr;
}

// Makes an object of class T for the library's own use, as an interface reference.
template <class T, class I = typename T::MainInterface>
HRESULT MakeObject(ComPtr<I>& out) {
    return CreateComObject<T>(nullptr, uuidof<I>(), out.PutVoid());
}

// Runs the body of an interface method: an allocation failure inside becomes E_OUTOFMEMORY, and no
// exception leaves.
template <class Body>
HRESULT Guarded(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// ISupportErrorInfo for a class whose main interface is Main.
template <class Main>
class SupportErrorInfo : public ISupportErrorInfo {
public:
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == uuidof<Main>() ? S_OK : S_FALSE;
    }
};

}  // namespace scrivix

// The object frame through a class of the tests' own: interface lookup, identity, reference counts, the
// object count across threads, aggregation, and the library object's refusal to be aggregated.
#include "frame/object.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace scrivix {
namespace {

// A small class with a dual main interface reached also as IDispatch.
class DProbe : public ObjectRoot, public IPattern, public SupportErrorInfo<IPattern> {
public:
    using MainInterface = IPattern;
    using Interfaces = InterfaceTable<Entry<IPattern>, Entry<IDispatch, IPattern>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return CLSID_PatternA; }
    static constexpr bool kAggregatable = true;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    // A fixed look-ahead tells a test that a call reached the probe.
    HRESULT STDMETHODCALLTYPE get_LookAhead(LONG* distance) override {
        *distance = 7;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_LookAhead(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Text(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Text(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Options(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Options(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Find(IBufferSegment*, LONG*, LONG*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindReverse(IBufferSegment*, LONG*, LONG*, VARIANT_BOOL*) override { return E_NOTIMPL; }
};

// An outer object that aggregates a DProbe and hands out its IPattern.
class Outer final : public IUnknown {
public:
    Outer() { EXPECT_EQ(CreateComObject<DProbe>(this, IID_IUnknown, inner_.PutVoid()), S_OK); }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        if (iid == IID_IUnknown) {
            *ppv = static_cast<IUnknown*>(this);
            AddRef();
            return S_OK;
        }
        return inner_->QueryInterface(iid, ppv);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
    ULONG refs = 1;
    ComPtr<IUnknown> inner_;
};

ULONG RefCount(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

TEST(InterfaceLookup, AnswersItsTableAndOneIdentity) {
    ComPtr<IPattern> probe;
    ASSERT_EQ(MakeObject<DProbe>(probe), S_OK);
    EXPECT_EQ(RefCount(probe.Get()), 1u);
    ComPtr<IUnknown> a, b;
    ASSERT_EQ(probe->QueryInterface(IID_IUnknown, a.PutVoid()), S_OK);
    ComPtr<IDispatch> dispatch = probe.As<IDispatch>();
    ASSERT_TRUE(dispatch);
    ASSERT_EQ(dispatch->QueryInterface(IID_IUnknown, b.PutVoid()), S_OK);
    EXPECT_EQ(a.Get(), b.Get()) << "every interface leads to the same identity";
    EXPECT_EQ(static_cast<void*>(dispatch.Get()), static_cast<void*>(probe.Get()));
    EXPECT_EQ(RefCount(probe.Get()), 4u);

    void* none = &none;
    EXPECT_EQ(probe->QueryInterface(IID_IEditBuffer, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr) << "a failed query clears its result";
    EXPECT_EQ(probe->QueryInterface(IID_IDispatch, nullptr), E_POINTER);
    // Error information is supported for the main interface only.
    auto support = probe.As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IPattern), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
}

// Threads count apart: objects made on threads that have ended, released on another, and a failed
// creation (the object is gone again) must all add up; while any lives, the module stays.
TEST(ObjectCount, AddsUpAcrossThreads) {
    const long before = test::LiveObjects();
    std::vector<ComPtr<IPattern>> made(8);
    std::vector<std::thread> makers;
    for (auto& object : made) makers.emplace_back([&object] { EXPECT_EQ(MakeObject<DProbe>(object), S_OK); });
    for (auto& maker : makers) maker.join();
    EXPECT_EQ(test::LiveObjects(), before + 8) << "the makers have ended; their objects still count";
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);

    std::thread releaser([&made] {
        for (size_t i = 0; i < made.size(); i += 2) made[i] = nullptr;
    });
    releaser.join();
    EXPECT_EQ(test::LiveObjects(), before + 4);
    made.clear();
    EXPECT_EQ(test::LiveObjects(), before);

    void* none = &none;
    EXPECT_EQ(CreateComObject<DProbe>(nullptr, IID_IEditBuffer, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(test::LiveObjects(), before) << "an object that answers nothing asked is destroyed at once";
}

TEST(Aggregation, InnerDelegatesToTheOuterObject) {
    Outer outer;
    ASSERT_TRUE(outer.inner_);
    ComPtr<IPattern> pattern;
    ASSERT_EQ(outer.QueryInterface(IID_IPattern, pattern.PutVoid()), S_OK);
    EXPECT_EQ(outer.refs, 2u) << "a reference through the inner object's interface counts on the outer";
    ComPtr<IUnknown> identity;
    ASSERT_EQ(pattern->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
    EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(&outer)) << "queries go to the outer object";
    identity = nullptr;
    pattern = nullptr;
    EXPECT_EQ(outer.refs, 1u);
    LONG size = 0;
    ASSERT_EQ(outer.inner_->QueryInterface(IID_IPattern, pattern.PutVoid()), S_OK);
    EXPECT_EQ(pattern->get_LookAhead(&size), S_OK);
    EXPECT_EQ(size, 7);

    void* result = &result;
    EXPECT_EQ(CreateComObject<DProbe>(&outer, IID_IPattern, &result), CLASS_E_NOAGGREGATION)
        << "only IUnknown may be asked at creation";
    EXPECT_EQ(result, nullptr);
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(CLSID_ScrivixSvr, &outer, CLSCTX_INPROC_SERVER, IID_IUnknown, object.PutVoid()),
              CLASS_E_NOAGGREGATION)
        << "the library object refuses an outer object";
    EXPECT_FALSE(object);
}

}  // namespace
}  // namespace scrivix

// The module through its entry points: class objects, the unload rule, creation by class id, registration,
// and creation by class name, including a class served by another module.
#include "frame/class_name.h"
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "platform/registry.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

namespace scrivix {
namespace {

std::u16string ClsidText(REFCLSID clsid) {
    OLECHAR text[40];
    EXPECT_EQ(StringFromGUID2(clsid, text, 40), 39);
    return text;
}
std::optional<std::u16string> Value(const std::u16string& key, const char16_t* name = u"") {
    return platform::ReadRegistryString(key, name);
}
bool KeyExists(const std::u16string& key) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
    RegCloseKey(handle);
    return true;
}
void WriteValue(const std::u16string& key, const std::u16string& value) {
    HKEY handle = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr),
              ERROR_SUCCESS);
    RegSetValueExW(handle, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                   static_cast<DWORD>((value.size() + 1) * 2));
    RegCloseKey(handle);
}
ComPtr<IClassFactory> ClassObject(REFCLSID clsid) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(DllGetClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    return factory;
}

// Class objects are cached and count only client references and locks; the module's own does not count.
TEST(ClassObjects, AreCachedAndOnlyClientReferencesAndLocksHoldTheModule) {
    auto first = ClassObject(CLSID_ScrivixSvr), second = ClassObject(CLSID_ScrivixSvr);
    EXPECT_EQ(first.Get(), second.Get());
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    first = nullptr;
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(second->LockServer(TRUE), S_OK);
    second = nullptr;
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "a lock holds the module";
    EXPECT_EQ(ClassObject(CLSID_ScrivixSvr)->LockServer(FALSE), S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ClassObjects, RefuseBadRequests) {
    void* object = &object;
    EXPECT_EQ(DllGetClassObject(IID_IEditBuffer, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, nullptr), E_POINTER);
    auto factory = ClassObject(CLSID_ScrivixSvr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IScrivixLib, nullptr), E_POINTER);
    ComPtr<IUnknown> outer;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, outer.PutVoid()), S_OK);
    EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_IScrivixLib, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    ComPtr<IUnknown> control;
    EXPECT_EQ(CoCreateInstance(CLSID_ScrivixCtl, nullptr, CLSCTX_ALL, IID_IUnknown, control.PutVoid()), E_NOTIMPL)
        << "a class not in this build says so";
}

// Creation by class id makes the library's objects without taking their class objects; it must answer
// every request as the class object's CreateInstance does.
TEST(ClassObjects, CreationByClassIdAnswersAsTheClassObject) {
    auto factory = ClassObject(CLSID_TextSegment);
    ComPtr<IUnknown> outer;
    ASSERT_EQ(CoCreateInstance(CLSID_ScrivixSvr, nullptr, CLSCTX_ALL, IID_IUnknown, outer.PutVoid()), S_OK);
    const long before = test::LiveObjects();
    const std::pair<const IID*, const char*> asked[] = {
        {&IID_ITextSegment, "ITextSegment"}, {&IID_IUnknown, "IUnknown"}, {&IID_IEditBuffer, "IEditBuffer"}};
    for (const auto& [iid, name] : asked) {
        for (IUnknown* with : {static_cast<IUnknown*>(nullptr), outer.Get()}) {
            ComPtr<IUnknown> by_class_object, by_class_id;
            EXPECT_EQ(CoCreateInstance(CLSID_TextSegment, with, CLSCTX_INPROC_SERVER, *iid, by_class_id.PutVoid()),
                      factory->CreateInstance(with, *iid, by_class_object.PutVoid()))
                << name << (with ? ", aggregated" : "");
            EXPECT_EQ(!by_class_id, !by_class_object);
        }
    }
    EXPECT_EQ(test::LiveObjects(), before);
    ComPtr<IUnknown> none;
    EXPECT_EQ(CoCreateInstance(CLSID_TextSegment, nullptr, CLSCTX_LOCAL_SERVER, IID_IUnknown, none.PutVoid()),
              REGDB_E_CLASSNOTREG)
        << "no in-process context, no server";
}

// Registration: a fresh process resolves the library's classes; unregistering removes their keys (never
// the CLSID key itself) and registering writes them again, with the classes that differ, and the type
// library.

TEST(Registration, AFreshProcessResolvesTheLibrarysClasses) {
    CLSID clsid{};
    ASSERT_EQ(CLSIDFromProgID(u"Scrivix.EditBufferA", &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_EditBufferA);
    ASSERT_EQ(CLSIDFromProgID(u"Scrivix.ScrivixSvr.1", &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_ScrivixSvr);
    LPOLESTR prog_id = nullptr;
    ASSERT_EQ(ProgIDFromCLSID(CLSID_TextSegment, &prog_id), S_OK);
    EXPECT_EQ(std::u16string(prog_id), u"Scrivix.TextSegment.1");
    CoTaskMemFree(prog_id);
}

TEST(Registration, WritesAndRemovesTheClassKeys) {
    const std::u16string clsid = u"CLSID\\" + ClsidText(CLSID_EditBufferA);
    ASSERT_EQ(DllUnregisterServer(), S_OK);
    for (const char16_t* key : {u"Scrivix.EditBufferA", u"Scrivix.ScrivixCtl.1"}) EXPECT_FALSE(KeyExists(key));
    EXPECT_FALSE(KeyExists(clsid));
    EXPECT_TRUE(KeyExists(u"CLSID")) << "the CLSID key itself is never removed";
    CLSID found{};
    EXPECT_TRUE(FAILED(CLSIDFromProgID(u"Scrivix.EditBufferA", &found)));

    ASSERT_EQ(DllRegisterServer(), S_OK);
    const std::u16string libid = ClsidText(LIBID_ScrivixLib), span = u"CLSID\\" + ClsidText(CLSID_Span),
                         iterator = u"CLSID\\" + ClsidText(CLSID_SpanIterator),
                         control = u"CLSID\\" + ClsidText(CLSID_ScrivixCtl);
    const struct {
        std::u16string key;
        const char16_t* name;
        std::optional<std::u16string> value;
    } values[] = {
        {u"Scrivix.EditBufferA", u"", u"EditBuffer (ANSI) Class"},
        {u"Scrivix.EditBufferA\\CLSID", u"", ClsidText(CLSID_EditBufferA)},
        {u"Scrivix.EditBufferA\\CurVer", u"", u"Scrivix.EditBufferA.1"},
        {u"Scrivix.EditBufferA.1\\CLSID", u"", ClsidText(CLSID_EditBufferA)},
        {clsid, u"", u"EditBuffer (ANSI) Class"},
        {clsid + u"\\ProgID", u"", u"Scrivix.EditBufferA.1"},
        {clsid + u"\\VersionIndependentProgID", u"", u"Scrivix.EditBufferA"},
        {clsid + u"\\InprocServer32", u"ThreadingModel", u"Both"},
        {span + u"\\TypeLib", u"", libid},
        {iterator + u"\\InprocServer32", u"ThreadingModel", u"both"},
        {iterator + u"\\TypeLib", u"", libid},
        {control + u"\\ToolboxBitmap32", u"", Value(control + u"\\InprocServer32").value_or(u"?") + u", 112"},
        {control + u"\\MiscStatus", u"", u"0"},
        {control + u"\\MiscStatus\\1", u"", u"132497"},
        {control + u"\\Version", u"", u"1.0"},
        {control + u"\\TypeLib", u"", libid},
        {u"TypeLib\\" + libid + u"\\1.0", u"", u"Scrivix 1.0 Text Processing Library"},
    };
    for (const auto& v : values) EXPECT_EQ(Value(v.key, v.name), v.value) << std::string(v.key.begin(), v.key.end());
    const std::pair<std::u16string, bool> keys[] = {
        {clsid + u"\\Programmable", true},       {clsid + u"\\TypeLib", false},
        {u"Scrivix.SpanIterator\\CurVer", false}, {iterator + u"\\Programmable", false},
        {u"Scrivix.ScrivixCtl.1\\Insertable", true}, {control + u"\\Control", true},
        {control + u"\\Insertable", true},
    };
    for (const auto& [key, exists] : keys) EXPECT_EQ(KeyExists(key), exists) << std::string(key.begin(), key.end());
    EXPECT_TRUE(Value(clsid + u"\\InprocServer32").has_value()) << "the module's path";

    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadRegTypeLib(LIBID_ScrivixLib, 1, 0, 0, library.Put()), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, LIBID_ScrivixLib);
    EXPECT_EQ(attributes->lcid, 1033u);
    library->ReleaseTLibAttr(attributes);
}

// Creation by class name: ProgIDs and braced class ids, each a new object; failures pass through
// unchanged; a braced name is always read as a class id; a class of another module stands in.

TEST(ClassNames, ProgIdsAndBracedClassIds) {
    ComPtr<IScrivixLib> library, again;
    ASSERT_EQ(CreateFromClassName(Bstr(u"Scrivix.ScrivixSvr").Get(), library), S_OK);
    ASSERT_EQ(CreateFromClassName(Bstr(ClsidText(CLSID_ScrivixSvr)).Get(), again), S_OK);
    EXPECT_NE(library.Get(), again.Get()) << "each creation makes a new object";

    // A ProgID that looks like a class id is never looked up as a name.
    WriteValue(u"{Scrivix.Braced}\\CLSID", ClsidText(CLSID_ScrivixSvr));
    const std::pair<const char16_t*, HRESULT> failures[] = {
        {nullptr, E_INVALIDARG},
        {u"", CO_E_CLASSSTRING},
        {u"Scrivix.NoSuchClass", CO_E_CLASSSTRING},
        {u"{not a class id}", CO_E_CLASSSTRING},
        {u"{Scrivix.Braced}", CO_E_CLASSSTRING},
        {u"{00000000-0000-0000-0000-0000000000AB}", REGDB_E_CLASSNOTREG},
    };
    for (const auto& [name, status] : failures) {
        ComPtr<IScrivixLib> none;
        EXPECT_EQ(CreateFromClassName(name ? Bstr(name).Get() : nullptr, none), status);
        EXPECT_FALSE(none);
    }
    platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"{Scrivix.Braced}");
    ComPtr<IEditBuffer> wrong;
    EXPECT_EQ(CreateFromClassName(Bstr(u"Scrivix.ScrivixSvr").Get(), wrong), E_NOINTERFACE);
    EXPECT_FALSE(wrong);
}

TEST(ClassNames, AClassOfAnotherModuleStandsIn) {
    const std::u16string clsid = u"{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9012}",
                         missing = u"{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9013}";
    const std::string module_path = SCRIVIX_TEST_MODULE_PATH;
    WriteValue(u"Scrivix.Test.Widget\\CLSID", clsid);
    WriteValue(u"CLSID\\" + clsid + u"\\InprocServer32", std::u16string(module_path.begin(), module_path.end()));
    WriteValue(u"CLSID\\" + missing + u"\\InprocServer32", u"/no/such/module.so");

    ComPtr<IPattern> widget;
    ASSERT_EQ(CreateFromClassName(Bstr(u"Scrivix.Test.Widget").Get(), widget), S_OK);
    LONG distance = 0;
    EXPECT_EQ(widget->get_LookAhead(&distance), S_OK);
    EXPECT_EQ(distance, 4242) << "the object comes from the test module";
    EXPECT_EQ(test::LiveObjects(), 0) << "the library's count knows nothing of another module's objects";
    ComPtr<IPattern> none;
    EXPECT_EQ(CreateFromClassName(Bstr(missing).Get(), none), CO_E_DLLNOTFOUND);

    platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"Scrivix.Test.Widget");
    for (const std::u16string& id : {clsid, missing}) platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"CLSID\\" + id);
}

}  // namespace
}  // namespace scrivix

// The module through its entry points: class objects, the unload rule, registration and creation by class
// name, including a class served by another module.
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

std::optional<std::u16string> Value(const std::u16string& key, const char16_t* name = nullptr) {
    return platform::ReadRegistryString(key, name ? name : u"");
}

bool KeyExists(const std::u16string& key) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) return false;
    RegCloseKey(handle);
    return true;
}

TEST(ClassObjects, AreCachedAndCountOnlyClientReferences) {
    ComPtr<IClassFactory> first, second;
    ASSERT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, first.PutVoid()), S_OK);
    ASSERT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, second.PutVoid()), S_OK);
    EXPECT_EQ(first.Get(), second.Get());
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << "a client's reference keeps the module";
    first = nullptr;
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    second = nullptr;
    EXPECT_EQ(DllCanUnloadNow(), S_OK) << "the module's own reference does not count";
}

TEST(ClassObjects, LockServerHoldsTheModule) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory = nullptr;
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    ASSERT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory = nullptr;
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ClassObjects, RefuseBadRequests) {
    void* object = &object;
    EXPECT_EQ(DllGetClassObject(IID_IEditBuffer, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, nullptr), E_POINTER);

    ComPtr<IClassFactory> factory;
    ASSERT_EQ(DllGetClassObject(CLSID_ScrivixSvr, IID_IClassFactory, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IScrivixLib, nullptr), E_POINTER);
    ComPtr<IUnknown> outer;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, outer.PutVoid()), S_OK);
    EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_IScrivixLib, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
}

// Creation by class id makes the library's objects without taking their class objects; it must answer
// every request as the class object's CreateInstance does.
TEST(ClassObjects, CreationByClassIdAnswersAsTheClassObject) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(DllGetClassObject(CLSID_TextSegment, IID_IClassFactory, factory.PutVoid()), S_OK);
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
    EXPECT_FALSE(KeyExists(clsid));
    EXPECT_FALSE(KeyExists(u"Scrivix.EditBufferA"));
    EXPECT_FALSE(KeyExists(u"Scrivix.ScrivixCtl.1"));
    EXPECT_TRUE(KeyExists(u"CLSID")) << "the CLSID key itself is never removed";
    CLSID found{};
    EXPECT_TRUE(FAILED(CLSIDFromProgID(u"Scrivix.EditBufferA", &found)));

    ASSERT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(Value(u"Scrivix.EditBufferA"), u"EditBuffer (ANSI) Class");
    EXPECT_EQ(Value(u"Scrivix.EditBufferA\\CLSID"), ClsidText(CLSID_EditBufferA));
    EXPECT_EQ(Value(u"Scrivix.EditBufferA\\CurVer"), u"Scrivix.EditBufferA.1");
    EXPECT_EQ(Value(u"Scrivix.EditBufferA.1\\CLSID"), ClsidText(CLSID_EditBufferA));
    EXPECT_EQ(Value(clsid), u"EditBuffer (ANSI) Class");
    EXPECT_EQ(Value(clsid + u"\\ProgID"), u"Scrivix.EditBufferA.1");
    EXPECT_EQ(Value(clsid + u"\\VersionIndependentProgID"), u"Scrivix.EditBufferA");
    EXPECT_TRUE(KeyExists(clsid + u"\\Programmable"));
    EXPECT_EQ(Value(clsid + u"\\InprocServer32", u"ThreadingModel"), u"Both");
    EXPECT_TRUE(Value(clsid + u"\\InprocServer32").has_value());
    EXPECT_FALSE(KeyExists(clsid + u"\\TypeLib"));
}

TEST(Registration, ClassesThatDiffer) {
    const std::u16string libid = ClsidText(LIBID_ScrivixLib);
    const std::u16string span = u"CLSID\\" + ClsidText(CLSID_Span);
    EXPECT_EQ(Value(span + u"\\TypeLib"), libid);

    const std::u16string iterator = u"CLSID\\" + ClsidText(CLSID_SpanIterator);
    EXPECT_FALSE(KeyExists(u"Scrivix.SpanIterator\\CurVer"));
    EXPECT_FALSE(KeyExists(iterator + u"\\Programmable"));
    EXPECT_EQ(Value(iterator + u"\\InprocServer32", u"ThreadingModel"), u"both");
    EXPECT_EQ(Value(iterator + u"\\TypeLib"), libid);

    const std::u16string control = u"CLSID\\" + ClsidText(CLSID_ScrivixCtl);
    EXPECT_TRUE(KeyExists(u"Scrivix.ScrivixCtl.1\\Insertable"));
    EXPECT_TRUE(KeyExists(control + u"\\Control"));
    EXPECT_TRUE(KeyExists(control + u"\\Insertable"));
    EXPECT_EQ(Value(control + u"\\ToolboxBitmap32"), *Value(control + u"\\InprocServer32") + u", 112");
    EXPECT_EQ(Value(control + u"\\MiscStatus"), u"0");
    EXPECT_EQ(Value(control + u"\\MiscStatus\\1"), u"132497");
    EXPECT_EQ(Value(control + u"\\Version"), u"1.0");
    EXPECT_EQ(Value(control + u"\\TypeLib"), libid);
}

TEST(Registration, RegistersTheTypeLibrary) {
    ASSERT_EQ(DllRegisterServer(), S_OK);
    const std::u16string key = u"TypeLib\\" + ClsidText(LIBID_ScrivixLib) + u"\\1.0";
    EXPECT_EQ(Value(key), u"Scrivix 1.0 Text Processing Library");
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadRegTypeLib(LIBID_ScrivixLib, 1, 0, 0, library.Put()), S_OK);
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, LIBID_ScrivixLib);
    EXPECT_EQ(attributes->lcid, 1033u);
    library->ReleaseTLibAttr(attributes);
}

// Creation by class name -------------------------------------------------------------------------------

TEST(ClassNames, ProgIdsAndBracedClassIds) {
    ComPtr<IScrivixLib> library;
    Bstr by_name(u"Scrivix.ScrivixSvr");
    ASSERT_EQ(CreateFromClassName(by_name.Get(), library), S_OK);
    Bstr by_id(ClsidText(CLSID_ScrivixSvr));
    ComPtr<IScrivixLib> again;
    ASSERT_EQ(CreateFromClassName(by_id.Get(), again), S_OK);
    EXPECT_NE(library.Get(), again.Get()) << "each creation makes a new object";
}

TEST(ClassNames, FailuresPassThroughUnchanged) {
    ComPtr<IScrivixLib> library;
    EXPECT_EQ(CreateFromClassName(nullptr, library), E_INVALIDARG);
    Bstr empty(u"");
    EXPECT_EQ(CreateFromClassName(empty.Get(), library), CO_E_CLASSSTRING);
    Bstr unknown(u"Scrivix.NoSuchClass");
    EXPECT_EQ(CreateFromClassName(unknown.Get(), library), CO_E_CLASSSTRING);
    Bstr malformed(u"{not a class id}");
    EXPECT_EQ(CreateFromClassName(malformed.Get(), library), CO_E_CLASSSTRING);
    Bstr unregistered(u"{00000000-0000-0000-0000-0000000000AB}");
    EXPECT_EQ(CreateFromClassName(unregistered.Get(), library), REGDB_E_CLASSNOTREG);
    ComPtr<IEditBuffer> wrong;
    Bstr svr(u"Scrivix.ScrivixSvr");
    EXPECT_EQ(CreateFromClassName(svr.Get(), wrong), E_NOINTERFACE);
    EXPECT_FALSE(library);
    EXPECT_FALSE(wrong);
}

TEST(ClassNames, ABracedProgIdIsAlwaysReadAsAClassId) {
    // Register a ProgID that looks like a class id; the braced form must never be looked up as a name.
    const std::u16string name = u"{Scrivix.Braced}";
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, (name + u"\\CLSID").c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                              nullptr),
              ERROR_SUCCESS);
    const std::u16string target = ClsidText(CLSID_ScrivixSvr);
    RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(target.c_str()),
                   static_cast<DWORD>((target.size() + 1) * 2));
    RegCloseKey(key);
    ComPtr<IScrivixLib> library;
    Bstr braced(name);
    EXPECT_EQ(CreateFromClassName(braced.Get(), library), CO_E_CLASSSTRING);
    platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, name);
}

TEST(ClassNames, AClassOfAnotherModuleStandsIn) {
    const std::u16string clsid = u"{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9012}";
    const std::string module_path = SCRIVIX_TEST_MODULE_PATH;
    const std::u16string path(module_path.begin(), module_path.end());
    auto write = [](const std::u16string& key, const std::u16string& value) {
        HKEY handle = nullptr;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr),
                  ERROR_SUCCESS);
        RegSetValueExW(handle, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>((value.size() + 1) * 2));
        RegCloseKey(handle);
    };
    write(u"Scrivix.Test.Widget\\CLSID", clsid);
    write(u"CLSID\\" + clsid + u"\\InprocServer32", path);

    ComPtr<IPattern> widget;
    Bstr name(u"Scrivix.Test.Widget");
    ASSERT_EQ(CreateFromClassName(name.Get(), widget), S_OK);
    LONG distance = 0;
    EXPECT_EQ(widget->get_LookAhead(&distance), S_OK);
    EXPECT_EQ(distance, 4242) << "the object comes from the test module";
    EXPECT_EQ(test::LiveObjects(), 0) << "the library's count knows nothing of another module's objects";

    ComPtr<IPattern> missing;
    write(u"CLSID\\{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9013}\\InprocServer32", u"/no/such/module.so");
    Bstr other(u"{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9013}");
    EXPECT_EQ(CreateFromClassName(other.Get(), missing), CO_E_DLLNOTFOUND);

    platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"Scrivix.Test.Widget");
    platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"CLSID\\" + clsid);
    platform::DeleteRegistryTree(HKEY_CLASSES_ROOT, u"CLSID\\{7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9013}");
}

TEST(ClassNames, ClassesNotInThisBuildSaySo) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(CLSID_ScrivixCtl, nullptr, CLSCTX_ALL, IID_IUnknown, object.PutVoid()), E_NOTIMPL);
}

}  // namespace
}  // namespace scrivix

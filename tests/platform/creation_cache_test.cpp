// Class look-ups are remembered between creations, and forgotten whenever the registry changes: a ProgID
// that is given another class id, or loses it, and a class whose server entry goes, are read afresh.
#include "platform/com_ptr.h"
#include "platform/guid.h"
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <string>

namespace scrivix::platform {
namespace {

void SetClassId(const std::u16string& prog_id, REFCLSID clsid) {
    RegistryKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, (prog_id + u"\\CLSID").c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, key.receive(), nullptr),
              ERROR_SUCCESS);
    const std::u16string text = GuidToString(clsid);
    ASSERT_EQ(RegSetValueExW(key.get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                             static_cast<DWORD>((text.size() + 1) * sizeof(char16_t))),
              ERROR_SUCCESS);
}

TEST(CreationCache, AProgIDIsReadAgainAfterTheRegistryChanged) {
    const std::u16string name = u"Scrivix.Test.CacheProbe";
    SetClassId(name, CLSID_PatternA);
    CLSID found{};
    ASSERT_EQ(CLSIDFromProgID(name.c_str(), &found), S_OK);
    EXPECT_EQ(found, CLSID_PatternA);
    ASSERT_EQ(CLSIDFromProgID(name.c_str(), &found), S_OK) << "remembered";
    EXPECT_EQ(found, CLSID_PatternA);
    SetClassId(name, CLSID_PatternU);
    ASSERT_EQ(CLSIDFromProgID(name.c_str(), &found), S_OK);
    EXPECT_EQ(found, CLSID_PatternU);
    ASSERT_EQ(DeleteRegistryTree(HKEY_CLASSES_ROOT, name), ERROR_SUCCESS);
    EXPECT_EQ(CLSIDFromProgID(name.c_str(), &found), CO_E_CLASSSTRING);
}

TEST(CreationCache, AClassWhoseServerEntryWentIsNotCreated) {
    ASSERT_EQ(DllRegisterServer(), S_OK) << "other suites of this program may have emptied the registry";
    ComPtr<IUnknown> made;
    ASSERT_EQ(CoCreateInstance(CLSID_PatternA, nullptr, CLSCTX_ALL, IID_IUnknown, made.PutVoid()), S_OK);
    made = nullptr;
    const std::u16string server = u"CLSID\\" + GuidToString(CLSID_PatternA) + u"\\InprocServer32";
    const auto path = ReadRegistryString(server);
    ASSERT_TRUE(path);
    {
        RegistryKey key;
        ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, server.c_str(), 0, KEY_ALL_ACCESS, key.receive()), ERROR_SUCCESS);
        ASSERT_EQ(DeleteRegistryValue(key.get(), u""), ERROR_SUCCESS);
    }
    EXPECT_EQ(CoCreateInstance(CLSID_PatternA, nullptr, CLSCTX_ALL, IID_IUnknown, made.PutVoid()),
              REGDB_E_CLASSNOTREG);
    RegistryKey key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, server.c_str(), 0, KEY_ALL_ACCESS, key.receive()), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key.get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(path->c_str()),
                             static_cast<DWORD>((path->size() + 1) * sizeof(char16_t))),
              ERROR_SUCCESS);
    EXPECT_EQ(CoCreateInstance(CLSID_PatternA, nullptr, CLSCTX_ALL, IID_IUnknown, made.PutVoid()), S_OK);
}

}  // namespace
}  // namespace scrivix::platform

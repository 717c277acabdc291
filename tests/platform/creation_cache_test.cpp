// Class look-ups are remembered between creations, and forgotten whenever the registry changes: a ProgID
// that is given another class id, or loses it, and a class whose server entry goes, are read afresh.
#include "platform/com_ptr.h"
#include "platform/guid.h"
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <string>

namespace scrivix::platform {
namespace {

// Sets the default value of HKCR\`path`, creating the key if need be.
void WriteDefault(const std::u16string& path, const std::u16string& text) {
    RegistryKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              key.receive(), nullptr), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key.get(), nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                             static_cast<DWORD>((text.size() + 1) * sizeof(char16_t))), ERROR_SUCCESS);
}

TEST(CreationCache, AProgIDIsReadAgainAfterTheRegistryChanged) {
    const std::u16string name = u"Scrivix.Test.CacheProbe";
    CLSID found{};
    WriteDefault(name + u"\\CLSID", GuidToString(CLSID_PatternA));
    for (int time = 0; time < 2; ++time) {  // the second look-up is remembered
        ASSERT_EQ(CLSIDFromProgID(name.c_str(), &found), S_OK);
        EXPECT_EQ(found, CLSID_PatternA);
    }
    WriteDefault(name + u"\\CLSID", GuidToString(CLSID_PatternU));
    ASSERT_EQ(CLSIDFromProgID(name.c_str(), &found), S_OK);
    EXPECT_EQ(found, CLSID_PatternU);
    ASSERT_EQ(DeleteRegistryTree(HKEY_CLASSES_ROOT, name), ERROR_SUCCESS);
    EXPECT_EQ(CLSIDFromProgID(name.c_str(), &found), CO_E_CLASSSTRING);
}

TEST(CreationCache, AClassWhoseServerEntryWentIsNotCreated) {
    ASSERT_EQ(DllRegisterServer(), S_OK) << "other suites of this program may have emptied the registry";
    const auto create = [] {
        ComPtr<IUnknown> made;
        return CoCreateInstance(CLSID_PatternA, nullptr, CLSCTX_ALL, IID_IUnknown, made.PutVoid());
    };
    ASSERT_EQ(create(), S_OK);
    const std::u16string server = u"CLSID\\" + GuidToString(CLSID_PatternA) + u"\\InprocServer32";
    const auto path = ReadRegistryString(server);
    ASSERT_TRUE(path);
    {
        RegistryKey key;
        ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, server.c_str(), 0, KEY_ALL_ACCESS, key.receive()), ERROR_SUCCESS);
        ASSERT_EQ(DeleteRegistryValue(key.get(), u""), ERROR_SUCCESS);
    }
    EXPECT_EQ(create(), REGDB_E_CLASSNOTREG);
    WriteDefault(server, *path);
    EXPECT_EQ(create(), S_OK);
}

}  // namespace
}  // namespace scrivix::platform

// Tests of the registrar: scripts with every keyword in both modes, the effects of NoRemove and
// ForceRemove, replacements, and malformed scripts, which must fail without writing anything.
#include "platform/registrar.h"

#include "platform/registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>
#include <vector>

namespace scrivix::platform {
namespace {

// The registration of one class, in the form a module keeps it.
constexpr char16_t kClassScript[] = uR"(HKCR
{
    Scrivix.Thing.1 = s 'Thing Class'
    {
        CLSID = s '{11111111-2222-3333-4444-555555555555}'
    }
    'Scrivix.Thing' = s 'Thing Class'
    {
        CLSID = s '{11111111-2222-3333-4444-555555555555}'
        CurVer = s 'Scrivix.Thing.1'
    }
    NoRemove CLSID
    {
        ForceRemove {11111111-2222-3333-4444-555555555555} = s 'Thing Class'
        {
            ProgID = s 'Scrivix.Thing.1'
            VersionIndependentProgID = s 'Scrivix.Thing'
            ForceRemove 'Programmable'
            InprocServer32 = s '%MODULE%'
            {
                val ThreadingModel = s 'Both'
            }
            ToolboxBitmap32 = s '%MODULE%, 112'
        }
    }
})";

constexpr char16_t kClassKey[] = u"CLSID\\{11111111-2222-3333-4444-555555555555}";

class Registrar : public ::testing::Test {
protected:
    void SetUp() override {
        ::unsetenv("SCRIVIX_REGISTRY");
        ReloadRegistry();
    }
    void TearDown() override { ReloadRegistry(); }

    static HRESULT Run(std::u16string_view script, bool registering, std::string* diagnostic = nullptr) {
        return RunRegistryScript(script, {{u"Module", u"/opt/it''s/libscrivix.so"}}, registering, diagnostic);
    }
    static bool Exists(const std::u16string& path) {
        RegistryKey key;
        return RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, key.receive()) == ERROR_SUCCESS;
    }
    static bool HiveIsEmpty() {
        char16_t name[256];
        DWORD length = 256;
        return RegEnumKeyExW(HKEY_CLASSES_ROOT, 0, name, &length, nullptr, nullptr, nullptr, nullptr) ==
               ERROR_NO_MORE_ITEMS;
    }
    static void CreateKey(const std::u16string& path) {
        RegistryKey key;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, 0, nullptr, key.receive(), nullptr),
                  ERROR_SUCCESS);
    }
};

// Registering.

TEST_F(Registrar, RegisteringWritesEveryKeyAndValue) {
    ASSERT_EQ(Run(kClassScript, true), S_OK);
    ASSERT_EQ(Run(kClassScript, true), S_OK) << "running a script again is harmless";
    const std::u16string clsid = kClassKey, server = clsid + u"\\InprocServer32";
    const std::tuple<std::u16string, const char16_t*, std::optional<std::u16string>> values[] = {
        {u"Scrivix.Thing.1", u"", u"Thing Class"},
        {u"Scrivix.Thing.1\\CLSID", u"", u"{11111111-2222-3333-4444-555555555555}"},
        {u"Scrivix.Thing\\CurVer", u"", u"Scrivix.Thing.1"},
        {clsid, u"", u"Thing Class"},
        {clsid + u"\\ProgID", u"", u"Scrivix.Thing.1"},
        {clsid + u"\\VersionIndependentProgID", u"", u"Scrivix.Thing"},
        {clsid + u"\\Programmable", u"", std::nullopt},  // an empty key
        {server, u"", u"/opt/it's/libscrivix.so"},
        {server, u"ThreadingModel", u"Both"},
        {clsid + u"\\ToolboxBitmap32", u"", u"/opt/it's/libscrivix.so, 112"},
    };
    for (const auto& [path, name, value] : values) EXPECT_EQ(ReadRegistryString(path, name), value);
    EXPECT_TRUE(Exists(clsid + u"\\Programmable"));
}

TEST_F(Registrar, ForceRemoveClearsTheKeyBeforeWritingIt) {
    const std::u16string clsid = kClassKey;
    CreateKey(clsid + u"\\Stale");
    CreateKey(u"Scrivix.Thing\\Stale");
    ASSERT_EQ(Run(kClassScript, true), S_OK);
    EXPECT_FALSE(Exists(clsid + u"\\Stale"));
    EXPECT_TRUE(Exists(u"Scrivix.Thing\\Stale"));  // not marked ForceRemove
}

TEST_F(Registrar, OtherValueTypesAndNameForms) {
    ASSERT_EQ(RunRegistryScript(uR"(HKEY_CLASSES_ROOT {
                  'No''Remove' {
                      VAL 'val' = S 'x'
                      val Number = d 4294967295
                      val Hex = D '0x2A'
                      val Blob = b 00fF10
                      val Empty = b ''
                      Percent = s '100%% %Who%'
                  }
              }
              hkcr { Second {} })",
                                {{u"WHO", u"sure"}}, true),
              S_OK);
    EXPECT_EQ(ReadRegistryString(u"No'Remove", u"val"), u"x");
    EXPECT_EQ(ReadRegistryString(u"No'Remove\\Percent"), u"100% sure");
    EXPECT_TRUE(Exists(u"Second"));
    RegistryKey key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"No'Remove", 0, KEY_READ, key.receive()), ERROR_SUCCESS);
    const std::tuple<const char16_t*, DWORD, std::vector<BYTE>> values[] = {
        {u"Number", REG_DWORD, {0xFF, 0xFF, 0xFF, 0xFF}}, {u"Hex", REG_DWORD, {42, 0, 0, 0}},
        {u"Blob", REG_BINARY, {0x00, 0xFF, 0x10}},        {u"Empty", REG_BINARY, {}},
    };
    for (const auto& [name, type, bytes] : values) {
        BYTE data[8];
        DWORD stored_type = 0, size = sizeof data;
        ASSERT_EQ(RegQueryValueExW(key.get(), name, nullptr, &stored_type, data, &size), ERROR_SUCCESS);
        EXPECT_EQ(stored_type, type);
        EXPECT_EQ(std::vector<BYTE>(data, data + size), bytes);
    }
}

// Unregistering.

TEST_F(Registrar, UnregisteringRemovesTheKeysButKeepsNoRemoveKeys) {
    CreateKey(u"CLSID\\{Someone Else}");
    ASSERT_EQ(Run(kClassScript, true), S_OK);
    CreateKey(u"Scrivix.Thing\\Added\\Later");  // a key goes with everything below it
    ASSERT_EQ(Run(kClassScript, false), S_OK);
    EXPECT_FALSE(Exists(u"Scrivix.Thing.1"));
    EXPECT_FALSE(Exists(u"Scrivix.Thing"));
    EXPECT_FALSE(Exists(kClassKey));
    EXPECT_TRUE(Exists(u"CLSID"));
    EXPECT_TRUE(Exists(u"CLSID\\{Someone Else}"));
    // Unregistering what is not there is not an error.
    EXPECT_EQ(Run(kClassScript, false), S_OK);
}

TEST_F(Registrar, UnregisteringANoRemoveKeyDeletesItsNamedValuesOnly) {
    const char16_t script[] = u"HKCR { NoRemove Shared = s 'kept' { val Mine = s 'x' Sub } }";
    ASSERT_EQ(Run(script, true), S_OK);
    RegistryKey key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"Shared", 0, 0, key.receive()), ERROR_SUCCESS);
    const char16_t theirs[] = u"y";
    ASSERT_EQ(RegSetValueExW(key.get(), u"Theirs", 0, REG_SZ, reinterpret_cast<const BYTE*>(theirs), 4),
              ERROR_SUCCESS);
    ASSERT_EQ(Run(script, false), S_OK);
    EXPECT_EQ(ReadRegistryString(u"Shared"), u"kept");
    EXPECT_EQ(ReadRegistryString(u"Shared", u"Mine"), std::nullopt);
    EXPECT_EQ(ReadRegistryString(u"Shared", u"Theirs"), u"y");
    EXPECT_FALSE(Exists(u"Shared\\Sub"));
}

// Failures.

TEST_F(Registrar, MalformedScriptsFailAndWriteNothing) {
    struct Case {
        const char16_t* script;
        const char* diagnostic;
    };
    const Case cases[] = {
        {u"HKCR { Key = s 'x' ", "line 1: missing '}'"},
        {u"HKCR { Key = s 'x }", "line 1: quoted text without its closing quote"},
        {u"HKLM { Key }", "line 1: expected HKCR"},
        {u"HKCR Key", "line 1: expected '{' after the root"},
        {u"HKCR { Key = 'x' }", "line 1: expected a value type: s, d or b"},
        {u"HKCR { Key = q 'x' }", "line 1: expected a value type: s, d or b"},
        {u"HKCR { Key = s x }", "line 1: expected a quoted text after s"},
        {u"HKCR {\n Key {\n val = s 'x' } }", "line 3: expected a value name after val"},
        {u"HKCR { Key { val V s 'x' } }", "line 1: expected '=' after the value name"},
        {u"HKCR { Key = d 4294967296 }", "line 1: number too large for d"},
        {u"HKCR { Key = d 12a }", "line 1: expected a number after d"},
        {u"HKCR { Key = b 123 }", "line 1: binary data needs two hexadecimal digits a byte"},
        {u"HKCR { Key = b zz }", "line 1: expected hexadecimal digits after b"},
        {u"HKCR { Key = s '%Missing%' }", "line 1: no replacement for %Missing%"},
        {u"HKCR {\n Key = s '50%' }", "line 2: '%' without a closing '%'"},
        {u"HKCR { A } }", "line 1: expected HKCR"},
        {u"HKCR { NoRemove }", "line 1: expected a key name"},
    };
    for (const auto& c : cases) {
        std::string diagnostic;
        // Each script writes a key before the point where it goes wrong.
        EXPECT_EQ(Run(u"HKCR { Written } " + std::u16string(c.script), true, &diagnostic), E_FAIL);
        EXPECT_EQ(diagnostic, c.diagnostic);
        EXPECT_TRUE(HiveIsEmpty()) << c.diagnostic;
        EXPECT_EQ(Run(c.script, false), E_FAIL);
    }
}

TEST_F(Registrar, AnEmptyScriptDoesNothingAndNestingIsBounded) {
    EXPECT_EQ(Run(u"  \n ", true), S_OK);
    EXPECT_TRUE(HiveIsEmpty());
    std::u16string deep = u"HKCR ";
    for (size_t i = 0; i < 100000; ++i) deep += u"{ K ";
    std::string diagnostic;
    EXPECT_EQ(Run(deep, true, &diagnostic), E_FAIL);
    EXPECT_EQ(diagnostic, "line 1: keys nested too deeply");
    EXPECT_TRUE(HiveIsEmpty());
}

TEST_F(Registrar, ARegistryFailureStopsTheRunWithItsStatus) {
    const std::u16string script = u"HKCR { First Second = s 'x' { '" + std::u16string(300, u'n') + u"' } Third }";
    EXPECT_EQ(Run(script, true), static_cast<HRESULT>(0x80070000u | ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(Exists(u"First"));
    EXPECT_TRUE(Exists(u"Second"));
    EXPECT_FALSE(Exists(u"Third"));
}

}  // namespace
}  // namespace scrivix::platform

// Tests of the registry: the Win32 semantics of each function, the safety of handles whose keys are
// deleted, the internal operations, concurrent use and the persistent hive file.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <tuple>

#include <unistd.h>

namespace scrivix::platform {
namespace {

using Bytes = std::vector<BYTE>;
using Names = std::vector<std::u16string>;

// Every test starts from an empty hive that is not persisted.
class Registry : public ::testing::Test {
protected:
    void SetUp() override {
        ::unsetenv("SCRIVIX_REGISTRY");
        ReloadRegistry();
    }
    void TearDown() override { SetUp(); }

    static LONG Create(const std::u16string& path, RegistryKey& key, HKEY parent = HKEY_CLASSES_ROOT,
                       DWORD* disposition = nullptr) {
        return RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.receive(),
                               disposition);
    }
    static RegistryKey Create(const std::u16string& path, HKEY parent = HKEY_CLASSES_ROOT) {
        RegistryKey key;
        EXPECT_EQ(Create(path, key, parent), ERROR_SUCCESS);
        return key;
    }
    static LONG Open(const std::u16string& path, RegistryKey& key, HKEY parent = HKEY_CLASSES_ROOT) {
        return RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, key.receive());
    }
    static bool Exists(const std::u16string& path) {
        RegistryKey key;
        return Open(path, key) == ERROR_SUCCESS;
    }
    static LONG Set(HKEY key, const char16_t* name, DWORD type, const void* data, DWORD size) {
        return RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size);
    }
    static LONG SetString(HKEY key, const char16_t* name, std::u16string_view text) {
        return Set(key, name, REG_SZ, text.data(), static_cast<DWORD>(text.size() * 2));
    }
    // The type and bytes of a value.
    static std::pair<DWORD, Bytes> Value(HKEY key, const char16_t* name) {
        BYTE data[64];
        DWORD type = 0, size = sizeof data;
        EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &type, data, &size), ERROR_SUCCESS);
        return {type, Bytes(data, data + size)};
    }
    static Names Subkeys(HKEY key) {
        Names names;
        char16_t name[256];
        for (DWORD index = 0, length = 256;
             RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++index, length = 256)
            names.emplace_back(name, length);
        return names;
    }
};

// Opening and creating keys.

TEST_F(Registry, CreateMakesThePathAndTellsWhetherTheKeyIsNew) {
    RegistryKey key;
    DWORD disposition = 0;
    ASSERT_EQ(Create(u"A\\B\\C", key, HKEY_CLASSES_ROOT, &disposition), ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    ASSERT_EQ(Create(u"a\\b\\c", key, HKEY_CLASSES_ROOT, &disposition), ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    EXPECT_TRUE(Exists(u"A\\B"));
    EXPECT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, nullptr, 0, nullptr, 0, 0, nullptr, key.receive(), nullptr),
              ERROR_INVALID_PARAMETER);
    // Names match without regard to case and stay as written.
    Create(u"Caf\u00c9");
    EXPECT_TRUE(Exists(u"caf\u00e9"));
    EXPECT_EQ(Subkeys(HKEY_CLASSES_ROOT), (Names{u"A", u"Caf\u00c9"}));
}

TEST_F(Registry, OpenGivesANewHandleOrNull) {
    HKEY raw = reinterpret_cast<HKEY>(1);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"Missing", 0, KEY_READ, &raw), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, u"Missing", 0, KEY_READ, nullptr), ERROR_INVALID_PARAMETER);
    // A null or empty subkey opens a new handle to the same key.
    RegistryKey key = Create(u"Same"), again, once_more;
    ASSERT_EQ(RegOpenKeyExW(key.get(), nullptr, 0, KEY_READ, again.receive()), ERROR_SUCCESS);
    ASSERT_EQ(Open(u"", once_more, key.get()), ERROR_SUCCESS);
    EXPECT_NE(again.get(), key.get());
    ASSERT_EQ(SetString(again.get(), nullptr, u"shared"), ERROR_SUCCESS);
    EXPECT_EQ(ReadRegistryString(u"Same"), u"shared");
}

TEST_F(Registry, KeyNamesAndPathsAreChecked) {
    const std::u16string longest(kMaxKeyNameLength, u'n');
    const char16_t lone_surrogate[] = {u'a', 0xD800, 0}, pair[] = {u'a', 0xD83D, 0xDE00, 0};
    std::u16string deepest = u"k";
    for (size_t depth = 1; depth < kMaxKeyDepth; ++depth) deepest += u"\\k";
    const std::pair<std::u16string, LONG> cases[] = {
        {longest, ERROR_SUCCESS},          {longest + u"n", ERROR_INVALID_PARAMETER},
        {u"Trailing\\", ERROR_SUCCESS},    {u"\\Leading", ERROR_INVALID_PARAMETER},
        {u"Empty\\\\Name", ERROR_INVALID_PARAMETER}, {u"Tab\tInside", ERROR_INVALID_PARAMETER},
        {lone_surrogate, ERROR_INVALID_PARAMETER},   {pair, ERROR_SUCCESS},
        {deepest, ERROR_SUCCESS},
    };
    for (const auto& [path, expected] : cases) {
        RegistryKey key;
        EXPECT_EQ(Create(path, key), expected) << path.size();
        EXPECT_EQ(bool(key), expected == ERROR_SUCCESS);
    }
    EXPECT_TRUE(Exists(u"Trailing"));
    RegistryKey below;
    EXPECT_EQ(Create(u"one-too-many", below, Create(deepest).get()), ERROR_INVALID_PARAMETER);
}

// Values.

TEST_F(Registry, QueryOfAStringFollowsTheSizeProtocol) {
    RegistryKey key = Create(u"Values");
    ASSERT_EQ(SetString(key.get(), u"Name", u"Both"), ERROR_SUCCESS);
    DWORD type = 0, size = 0;
    ASSERT_EQ(RegQueryValueExW(key.get(), u"Name", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 10u);  // four characters and the terminator, in bytes
    char16_t text[5] = {};
    size = 8;
    EXPECT_EQ(RegQueryValueExW(key.get(), u"NAME", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, 10u);
    ASSERT_EQ(RegQueryValueExW(key.get(), u"Name", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size),
              ERROR_SUCCESS);
    EXPECT_EQ(std::u16string(text), u"Both");
    EXPECT_EQ(RegQueryValueExW(key.get(), u"Other", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
    // The default value has a null or empty name.
    EXPECT_EQ(RegQueryValueExW(key.get(), nullptr, nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(SetString(key.get(), u"", u"text"), ERROR_SUCCESS);
    EXPECT_EQ(Value(key.get(), nullptr).second.size(), 10u);
    EXPECT_EQ(ReadRegistryString(u"values"), u"text");
    EXPECT_EQ(ReadRegistryString(u"values", u"named"), std::nullopt);
    EXPECT_EQ(ReadRegistryString(u"missing"), std::nullopt);
}

TEST_F(Registry, StringsAreWholeUnitsWithOneTerminatorAndOtherTypesTheirBytes) {
    RegistryKey key = Create(u"Types");
    const DWORD number = 0x01020304;
    const BYTE blob[] = {0, 0xFF, 7};
    const std::tuple<const char16_t*, DWORD, const void*, DWORD, Bytes> values[] = {
        {u"t", REG_SZ, u"ab", 6, {'a', 0, 'b', 0, 0, 0}},
        {u"odd", REG_SZ, u"ab", 3, {'a', 0, 0, 0}},
        {u"empty", REG_EXPAND_SZ, nullptr, 0, {0, 0}},
        {u"n", REG_DWORD, &number, 4, {4, 3, 2, 1}},
        {u"b", REG_BINARY, blob, 3, {0, 0xFF, 7}},
    };
    for (const auto& [name, type, data, size, stored] : values) {
        ASSERT_EQ(Set(key.get(), name, type, data, size), ERROR_SUCCESS);
        EXPECT_EQ(Value(key.get(), name), std::make_pair(type, stored));
    }
    EXPECT_EQ(ReadRegistryString(u"Types", u"n"), std::nullopt);  // not a string
    // Bad arguments.
    DWORD reserved = 0, size = 0;
    BYTE data[4];
    EXPECT_EQ(RegQueryValueExW(key.get(), nullptr, &reserved, nullptr, nullptr, &size), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExW(key.get(), nullptr, nullptr, nullptr, data, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Set(key.get(), nullptr, REG_BINARY, nullptr, 4), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Set(reinterpret_cast<HKEY>(0x4242), nullptr, REG_BINARY, data, 4), ERROR_INVALID_HANDLE);
}

// Enumeration.

TEST_F(Registry, EnumerationFollowsTheWin32Protocol) {
    RegistryKey parent = Create(u"Parent");
    for (const char16_t* name : {u"beta", u"Alpha", u"GAMMA"}) Create(name, parent.get());
    EXPECT_EQ(Subkeys(parent.get()), (Names{u"Alpha", u"beta", u"GAMMA"}));
    char16_t name[8], class_name[4] = u"xyz";
    DWORD length = 5, class_length = 4;  // "Alpha" needs 6 with its terminator
    FILETIME time{1, 1};
    EXPECT_EQ(RegEnumKeyExW(parent.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    length = 6;
    ASSERT_EQ(RegEnumKeyExW(parent.get(), 0, name, &length, nullptr, class_name, &class_length, &time), ERROR_SUCCESS);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(std::u16string(name), u"Alpha");
    EXPECT_EQ(class_length, 0u);
    EXPECT_EQ(class_name[0], u'\0');
    EXPECT_EQ(RegEnumKeyExW(parent.get(), 3, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(RegEnumKeyExW(parent.get(), 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
}

// Deletion.

TEST_F(Registry, DeleteKeyTakesOnlyAKeyWithoutSubkeysAndTreesGoWhole) {
    Create(u"Tree\\Leaf");
    EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, u"Tree"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, u"TREE\\leaf"), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, u"Tree\\Leaf"), ERROR_FILE_NOT_FOUND);
    // An empty subkey deletes the key of the handle; the root stays.
    EXPECT_EQ(RegDeleteKeyW(Create(u"Tree").get(), u""), ERROR_SUCCESS);
    EXPECT_FALSE(Exists(u"Tree"));
    EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, u""), ERROR_ACCESS_DENIED);
    EXPECT_EQ(DeleteRegistryTree(HKEY_CLASSES_ROOT, u""), ERROR_ACCESS_DENIED);
    // A whole tree, and single values.
    RegistryKey leaf = Create(u"Whole\\Middle\\Leaf");
    Create(u"Wholesome");
    ASSERT_EQ(SetString(leaf.get(), u"v", u"x"), ERROR_SUCCESS);
    EXPECT_EQ(DeleteRegistryValue(leaf.get(), u"V"), ERROR_SUCCESS);
    EXPECT_EQ(DeleteRegistryValue(leaf.get(), u"v"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(DeleteRegistryTree(HKEY_CLASSES_ROOT, u"whole"), ERROR_SUCCESS);
    EXPECT_FALSE(Exists(u"Whole"));
    EXPECT_TRUE(Exists(u"Wholesome"));
    EXPECT_EQ(DeleteRegistryTree(HKEY_CLASSES_ROOT, u"Whole"), ERROR_FILE_NOT_FOUND);
}

// Handles.

TEST_F(Registry, HandlesOfDeletedKeysAndClosedHandlesFailSafely) {
    RegistryKey key = Create(u"Doomed\\Child"), other;
    Create(u"Grandchild", key.get());
    ASSERT_EQ(DeleteRegistryTree(HKEY_CLASSES_ROOT, u"Doomed"), ERROR_SUCCESS);
    char16_t name[16];
    DWORD length = 16;
    EXPECT_EQ(Open(u"Grandchild", other, key.get()), ERROR_KEY_DELETED);
    EXPECT_EQ(Create(u"New", other, key.get()), ERROR_KEY_DELETED);
    EXPECT_EQ(SetString(key.get(), nullptr, u"x"), ERROR_KEY_DELETED);
    EXPECT_EQ(RegQueryValueExW(key.get(), nullptr, nullptr, nullptr, nullptr, &length), ERROR_KEY_DELETED);
    EXPECT_EQ(RegEnumKeyExW(key.get(), 0, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
    EXPECT_EQ(RegDeleteKeyW(key.get(), u""), ERROR_KEY_DELETED);
    // A new key of the same name is a different key, and a reload deletes every key.
    RegistryKey recreated = Create(u"Doomed\\Child");
    EXPECT_EQ(SetString(key.get(), nullptr, u"x"), ERROR_KEY_DELETED);
    ReloadRegistry();
    EXPECT_EQ(SetString(recreated.get(), nullptr, u"x"), ERROR_KEY_DELETED);
    EXPECT_EQ(RegCloseKey(key.release()), ERROR_SUCCESS);
    // Closed and unknown handles are invalid.
    HKEY raw = Create(u"Closed").get();  // closed by its owner at the end of the statement
    EXPECT_EQ(RegCloseKey(raw), ERROR_INVALID_HANDLE);
    EXPECT_EQ(SetString(raw, nullptr, u"x"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(HKEY_CLASSES_ROOT), ERROR_SUCCESS);
}

TEST_F(Registry, ThreadsWorkOnTheHiveTogether) {
    constexpr int kThreads = 4;
    std::vector<std::thread> threads;
    for (char16_t t = u'0'; t < u'0' + kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                const std::u16string path = u"Shared\\T" + std::u16string{t, u'\\', char16_t(u'A' + i % 26),
                                                                          char16_t(u'0' + i / 26)};
                RegistryKey key = Create(path);
                SetString(key.get(), nullptr, path);
                if (i % 3 == 0) DeleteRegistryTree(key.get(), u"");
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(Subkeys(Create(u"Shared").get()).size(), size_t(kThreads));
    EXPECT_EQ(ReadRegistryString(u"Shared\\T2\\B0"), u"Shared\\T2\\B0");
    EXPECT_FALSE(Exists(u"Shared\\T2\\A0"));
}

// The registry file.

class RegistryFile : public Registry {
protected:
    void SetUp() override {
        file_ = std::filesystem::path(::testing::TempDir()) /
                ("scrivix_registry_" + std::to_string(::getpid()) + "_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove(file_);
        ::setenv("SCRIVIX_REGISTRY", file_.c_str(), 1);
        ReloadRegistry();
    }
    void TearDown() override {
        std::filesystem::remove(file_);
        Registry::TearDown();
    }
    std::string FileText() const {
        std::stringstream text;
        text << std::ifstream(file_).rdbuf();
        return text.str();
    }
    void WriteFile(std::string_view text) const { std::ofstream(file_) << text; }

    std::filesystem::path file_;
};

TEST_F(RegistryFile, AHiveRoundTripsThroughItsFile) {
    EXPECT_FALSE(RegistryLoadedFromFile());
    const char16_t awkward[] = {u'"', u'\\', u'\n', u'\t', 0x01, u'\u00e9', 0xD83D, 0xDE00, 0xDC00, 0, u'z'};
    const std::u16string text(awkward, std::size(awkward));
    const DWORD number = 42;
    const BYTE blob[] = {1, 2, 0xFF};
    const std::u16string path = u"CLSID\\{Id}\\InprocServer32";
    {
        RegistryKey key = Create(path);
        SetString(key.get(), nullptr, u"/usr/lib/lib scrivix.so");
        SetString(key.get(), u"Awk\"ward", text);
        Set(key.get(), u"n", REG_DWORD, &number, 4);
        Set(key.get(), u"b", REG_BINARY, blob, 3);
        Set(key.get(), u"x", REG_EXPAND_SZ, u"%P%", 8);
        Set(key.get(), u"none", REG_NONE, nullptr, 0);
        Create(u"Empty Key]");
        SetString(HKEY_CLASSES_ROOT, nullptr, u"root value");
    }
    const std::string saved = FileText();

    ReloadRegistry();
    EXPECT_TRUE(RegistryLoadedFromFile());
    EXPECT_EQ(ReadRegistryString(u"clsid\\{id}\\inprocserver32"), u"/usr/lib/lib scrivix.so");
    EXPECT_EQ(ReadRegistryString(path, u"Awk\"ward"), text);
    EXPECT_EQ(ReadRegistryString(path, u"x"), u"%P%");
    EXPECT_EQ(ReadRegistryString(u""), u"root value");
    EXPECT_TRUE(Exists(u"Empty Key]"));
    RegistryKey key;
    ASSERT_EQ(Open(path, key), ERROR_SUCCESS);
    EXPECT_EQ(Value(key.get(), u"n"), std::make_pair(DWORD(REG_DWORD), Bytes{42, 0, 0, 0}));
    EXPECT_EQ(Value(key.get(), u"b"), std::make_pair(DWORD(REG_BINARY), Bytes{1, 2, 0xFF}));
    EXPECT_EQ(Value(key.get(), u"none"), std::make_pair(DWORD(REG_NONE), Bytes{}));

    // Written again from the loaded hive, the file is the same, and no temporary file is left.
    SetString(HKEY_CLASSES_ROOT, nullptr, u"root value");
    EXPECT_EQ(FileText(), saved);
    EXPECT_FALSE(std::filesystem::exists(file_.string() + ".tmp" + std::to_string(::getpid())));
}

TEST_F(RegistryFile, AHandWrittenFileLoads) {
    WriteFile("; a comment\n# another\n\n"
              "[Scrivix.PatternA\\CLSID]\r\n"
              "@=sz:\"{P}\"\n"
              "  \"Text\" = sz:\"caf\xc3\xa9 \\u20ac\"\n"
              "[Scrivix.PatternA]\n"
              "\"Flags\"=dword:ff\n"
              "\"Raw\"=hex(3):\n");
    ReloadRegistry();
    EXPECT_TRUE(RegistryLoadedFromFile());
    EXPECT_EQ(ReadRegistryString(u"Scrivix.PatternA\\CLSID"), u"{P}");
    EXPECT_EQ(ReadRegistryString(u"Scrivix.PatternA\\CLSID", u"text"), u"caf\u00e9 \u20ac");
    EXPECT_EQ(Value(Create(u"Scrivix.PatternA").get(), u"Flags"), std::make_pair(DWORD(REG_DWORD), Bytes{0xFF, 0, 0, 0}));
}

TEST_F(RegistryFile, AFileThatCannotBeParsedIsReportedOnceAndIgnored) {
    for (const char* bad : {"[Unclosed\n", "[A]\n@=sz:\"no end\n", "[A]\n@=word:1\n", "[A]\n@=dword:123456789\n",
                            "[A]\n\"v\"=sz:\"x\" trailing\n", "[A\\\\B]\n", "[A]\n@=sz:\"\\q\"\n",
                            "[A]\n@=hex(3):1g\n", "garbage\n"}) {
        WriteFile(std::string("[Good]\n") + bad);
        ::testing::internal::CaptureStderr();
        ReloadRegistry();
        const std::string report = ::testing::internal::GetCapturedStderr();
        EXPECT_FALSE(RegistryLoadedFromFile()) << bad;
        EXPECT_FALSE(Exists(u"Good")) << bad;
        EXPECT_NE(report.find(": line "), std::string::npos) << report;
        EXPECT_EQ(report.find('\n'), report.size() - 1) << "one line: " << report;
    }
}

TEST_F(RegistryFile, ChangesInABatchAreWrittenOnceAtItsEndAndOnlyWithTheVariable) {
    {
        RegistryBatch batch;
        Create(u"Batched");
        {
            RegistryBatch inner;
            Create(u"Inner");
        }
        EXPECT_FALSE(std::filesystem::exists(file_));
    }
    EXPECT_NE(FileText().find("[Inner]"), std::string::npos);
    // Without the variable nothing is written.
    std::filesystem::remove(file_);
    ::unsetenv("SCRIVIX_REGISTRY");
    ReloadRegistry();
    Create(u"InMemory");
    EXPECT_FALSE(std::filesystem::exists(file_));
}

}  // namespace
}  // namespace scrivix::platform

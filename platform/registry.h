// The registry of the platform: one in-memory hive, HKEY_CLASSES_ROOT, behind the Win32 functions of the
// public header (RegOpenKeyExW ... RegCloseKey), plus the few operations the platform itself needs.
//
// Keys are found case-insensitively (ASCII and Latin-1 letters fold) and keep their names as written;
// they enumerate in case-insensitive order. A key name is 1 to 255 characters without "\", control
// characters or unpaired surrogates; paths join names with "\" (one trailing "\" is allowed) and reach at
// most kMaxKeyDepth levels. Values hold a type and bytes; REG_SZ and REG_EXPAND_SZ data are kept as whole
// 16-bit units ending in exactly one terminator (one is added when the caller's data has none). Access
// rights are not checked.
//
// A handle owns its key: deleting the key (or reloading the hive) leaves the handle valid, and every
// operation on it except RegCloseKey then fails with ERROR_KEY_DELETED. Handle values are never reused.
// One mutex guards the hive and the handle table.
//
// Persistence: when the environment variable SCRIVIX_REGISTRY names a file at first use, the hive is
// loaded from it if it exists, and every change is written back (a temporary file beside it, then a
// rename). A file that cannot be read or parsed is reported once on stderr and ignored: the hive starts
// empty, and the next change replaces the file. The format, UTF-8 text, one item a line:
//
//   ; comment (also "#"); blank lines are ignored
//   [CLSID\{8A5C0001-0000-0000-0000-000000000000}\InprocServer32]    a key by its path, created if missing;
//                                                                    "[]" is the root
//   @=sz:"/usr/lib/libscrivix.so"                  the default value of the key above, REG_SZ
//   "ThreadingModel"=sz:"Both"                     a named value, REG_SZ
//   "Path"=expand_sz:"..."                         REG_EXPAND_SZ
//   "Count"=dword:0000002a                         REG_DWORD of 4 bytes, hexadecimal
//   "Blob"=hex(3):01,02,ff                         any type (decimal number) as raw bytes
//
// Blanks may stand before a line and around "=". Quoted texts are UTF-8 with the escapes \\ \" \n \r \t
// and \uXXXX (one 16-bit unit: how control characters and unpaired surrogates are written). A string
// value is written without its terminator. Keys are written depth-first in enumeration order, each under
// its own header, so that empty keys survive. Values before the first header belong to the root.
#pragma once

#include <scrivix/scrivix.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace scrivix::platform {

// The Win32 status of an operation on a handle whose key was deleted.
constexpr LONG ERROR_KEY_DELETED = 1018;

constexpr size_t kMaxKeyNameLength = 255;
constexpr size_t kMaxKeyDepth = 512;

// Owns an open registry key handle and closes it.
class RegistryKey {
public:
    RegistryKey() = default;
    explicit RegistryKey(HKEY handle) : handle_(handle) {}
    RegistryKey(RegistryKey&& other) noexcept : handle_(other.release()) {}
    RegistryKey& operator=(RegistryKey&& other) noexcept;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() { reset(); }

    HKEY get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    // Closes the handle held, then lends the slot to a function that returns a new handle through it.
    HKEY* receive() {
        reset();
        return &handle_;
    }
    HKEY release() {
        HKEY handle = handle_;
        handle_ = nullptr;
        return handle;
    }
    void reset();

private:
    HKEY handle_ = nullptr;
};

// Deletes the key sub_key of key with everything below it; an empty sub_key deletes the key of the handle
// itself. The root cannot be deleted (ERROR_ACCESS_DENIED). Win32 status.
LONG DeleteRegistryTree(HKEY key, std::u16string_view sub_key);

// Deletes the value value_name (empty: the default value) of key. Win32 status.
LONG DeleteRegistryValue(HKEY key, std::u16string_view value_name);

// The string value (REG_SZ or REG_EXPAND_SZ, without its terminator) named value_name (empty: the
// default value) of the key at key_path under HKEY_CLASSES_ROOT; nothing if either is missing or the
// value is not a string.
std::optional<std::u16string> ReadRegistryString(std::u16string_view key_path, std::u16string_view value_name = {});

// A number that changes with every change of the hive (and its reload), for those who remember what they
// read from it.
uint64_t RegistryGeneration();

// Whether the hive was loaded from the file SCRIVIX_REGISTRY names (rather than started empty).
bool RegistryLoadedFromFile();

// Drops the hive and starts it again as at first use, from the file SCRIVIX_REGISTRY names now, if any.
// Handles opened before keep working as handles to deleted keys. Meant for tests.
void ReloadRegistry();

// While one or more batches are alive, changes are not written to the registry file; the outermost batch
// writes them, once, when it ends. A registry script runs in one batch.
class RegistryBatch {
public:
    RegistryBatch();
    ~RegistryBatch();
    RegistryBatch(const RegistryBatch&) = delete;
    RegistryBatch& operator=(const RegistryBatch&) = delete;
};

}  // namespace scrivix::platform

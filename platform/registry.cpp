// The in-memory HKEY_CLASSES_ROOT hive: a tree of keys owned through shared pointers, so that a handle
// can keep a deleted key alive and see it marked deleted instead of dangling; a table from handle values
// to keys; the file format of the persistent hive (see registry.h); and the Win32 entry points.
#include "platform/registry.h"

#include "platform/code_page.h"
#include "platform/sync.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace scrivix::platform {
namespace {

// Upper case of ASCII and Latin-1 letters: the folding by which key and value names compare.
char16_t FoldCase(char16_t c) {
    if ((c >= u'a' && c <= u'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return static_cast<char16_t>(c - 0x20);
    if (c == 0xFF) return 0x178;
    return c;
}

struct NameLess {
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const {
        const size_t common = std::min(a.size(), b.size());
        for (size_t i = 0; i < common; ++i) {
            const char16_t x = FoldCase(a[i]), y = FoldCase(b[i]);
            if (x != y) return x < y;
        }
        return a.size() < b.size();
    }
};

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

struct Value {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

bool IsStringType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

Value MakeValue(DWORD type, const BYTE* data, size_t size) {
    Value value{type, std::vector<BYTE>(data, data + size)};
    if (IsStringType(type)) {
        auto& bytes = value.data;
        bytes.resize(bytes.size() & ~size_t{1});
        if (bytes.size() < 2 || bytes[bytes.size() - 2] != 0 || bytes.back() != 0) bytes.insert(bytes.end(), 2, 0);
    }
    return value;
}

// The characters of a normalised string value, without its terminator.
std::u16string StringOf(const Value& value) {
    std::u16string text(value.data.size() / 2 - 1, u'\0');
    std::memcpy(text.data(), value.data.data(), text.size() * 2);
    return text;
}

struct Key;
using KeyPtr = std::shared_ptr<Key>;

struct Key {
    Key* parent = nullptr;  // null for the root and for deleted keys
    size_t depth = 0;
    bool deleted = false;
    std::map<std::u16string, KeyPtr, NameLess> subkeys;
    std::map<std::u16string, Value, NameLess> values;
};

bool IsValidKeyName(std::u16string_view name) {
    if (name.empty() || name.size() > kMaxKeyNameLength) return false;
    for (size_t i = 0; i < name.size(); ++i) {
        const char16_t c = name[i];
        if (c < 0x20 || c == 0x7F || c == u'\\' || IsLowSurrogate(c)) return false;
        if (IsHighSurrogate(c) && !(i + 1 < name.size() && IsLowSurrogate(name[++i]))) return false;
    }
    return true;
}

// Splits a path into its key names; one trailing "\" is allowed, an empty path names the key itself.
bool SplitPath(std::u16string_view path, std::vector<std::u16string_view>& names) {
    if (!path.empty() && path.back() == u'\\') path.remove_suffix(1);
    if (path.empty()) return true;
    for (size_t start = 0;;) {
        const size_t end = path.find(u'\\', start);
        const auto name = path.substr(start, end - start);
        if (!IsValidKeyName(name)) return false;
        names.push_back(name);
        if (end == std::u16string_view::npos) return true;
        start = end + 1;
    }
}

LONG FindPath(const KeyPtr& from, std::u16string_view path, KeyPtr& result) {
    std::vector<std::u16string_view> names;
    if (!SplitPath(path, names)) return ERROR_INVALID_PARAMETER;
    KeyPtr key = from;
    for (const auto name : names) {
        const auto found = key->subkeys.find(name);
        if (found == key->subkeys.end()) return ERROR_FILE_NOT_FOUND;
        key = found->second;
    }
    result = std::move(key);
    return ERROR_SUCCESS;
}

// Finds or creates every key along path; created tells whether the last one is new.
LONG CreatePath(const KeyPtr& from, std::u16string_view path, KeyPtr& result, bool& created) {
    std::vector<std::u16string_view> names;
    if (!SplitPath(path, names) || from->depth + names.size() > kMaxKeyDepth) return ERROR_INVALID_PARAMETER;
    KeyPtr key = from;
    created = false;
    for (const auto name : names) {
        auto found = key->subkeys.find(name);
        created = found == key->subkeys.end();
        if (created) {
            auto subkey = std::make_shared<Key>();
            subkey->parent = key.get();
            subkey->depth = key->depth + 1;
            found = key->subkeys.emplace(name, std::move(subkey)).first;
        }
        key = found->second;
    }
    result = std::move(key);
    return ERROR_SUCCESS;
}

// Marks a detached key and everything below it deleted, and frees what it held.
void MarkDeleted(Key& key) {
    key.deleted = true;
    key.parent = nullptr;
    for (auto& entry : key.subkeys) MarkDeleted(*entry.second);
    key.subkeys.clear();
    key.values.clear();
}

void Detach(Key& key) {
    auto& siblings = key.parent->subkeys;
    for (auto entry = siblings.begin(); entry != siblings.end(); ++entry) {
        if (entry->second.get() == &key) {
            siblings.erase(entry);
            return;
        }
    }
}

// ---------------------------------------------------------------------------------------------------------
// The hive file.

constexpr char kHexDigits[] = "0123456789abcdef";

void AppendQuoted(std::string& out, std::u16string_view text) {
    out += '"';
    size_t run = 0;  // start of the units not yet written
    auto flush = [&](size_t end) { out += Utf16ToUtf8(text.substr(run, end - run)); };
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            ++i;
            continue;
        }
        const bool plain = c >= 0x20 && c != 0x7F && c != u'"' && c != u'\\' && !IsHighSurrogate(c) &&
                           !IsLowSurrogate(c);
        if (plain) continue;
        flush(i);
        run = i + 1;
        switch (c) {
            case u'"': out += "\\\""; break;
            case u'\\': out += "\\\\"; break;
            case u'\n': out += "\\n"; break;
            case u'\r': out += "\\r"; break;
            case u'\t': out += "\\t"; break;
            default:
                out += "\\u";
                for (int shift = 12; shift >= 0; shift -= 4) out += kHexDigits[(c >> shift) & 0xF];
        }
    }
    flush(text.size());
    out += '"';
}

void AppendValue(std::string& out, std::u16string_view name, const Value& value) {
    if (name.empty())
        out += '@';
    else
        AppendQuoted(out, name);
    out += '=';
    if (IsStringType(value.type)) {
        out += value.type == REG_SZ ? "sz:" : "expand_sz:";
        AppendQuoted(out, StringOf(value));
    } else if (value.type == REG_DWORD && value.data.size() == 4) {
        out += "dword:";
        for (int i = 3; i >= 0; --i) {
            out += kHexDigits[value.data[i] >> 4];
            out += kHexDigits[value.data[i] & 0xF];
        }
    } else {
        out += "hex(" + std::to_string(value.type) + "):";
        for (size_t i = 0; i < value.data.size(); ++i) {
            if (i != 0) out += ',';
            out += kHexDigits[value.data[i] >> 4];
            out += kHexDigits[value.data[i] & 0xF];
        }
    }
    out += '\n';
}

void AppendKey(std::string& out, const Key& key, const std::string& path) {
    if (!path.empty() || !key.values.empty()) out += '[' + path + "]\n";
    for (const auto& [name, value] : key.values) AppendValue(out, name, value);
    for (const auto& [name, subkey] : key.subkeys)
        AppendKey(out, *subkey, path.empty() ? Utf16ToUtf8(name) : path + '\\' + Utf16ToUtf8(name));
}

std::string SerializeHive(const Key& root) {
    std::string out =
        "; Scrivix registry hive: HKEY_CLASSES_ROOT. [key path], then its values: @ is the default value,\n"
        "; \"name\"=sz:\"text\" | expand_sz:\"text\" | dword:hex | hex(type):bytes\n";
    AppendKey(out, root, {});
    return out;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Reads one line of the hive file at a time into a tree; any error stops it with a message.
class HiveFileParser {
public:
    explicit HiveFileParser(const KeyPtr& root) : root_(root), current_(root) {}

    bool ParseLine(std::string_view line, std::string& error) {
        line_ = line;
        pos_ = 0;
        if (!line_.empty() && line_.back() == '\r') line_.remove_suffix(1);
        SkipBlanks();
        if (pos_ == line_.size() || line_[pos_] == ';' || line_[pos_] == '#') return true;
        if (line_[pos_] == '[') return ParseKeyHeader(error);
        return ParseValue(error);
    }

private:
    bool ParseKeyHeader(std::string& error) {
        if (line_.back() != ']') return Fail(error, "a key path must end with ']'");
        const auto path = Utf8ToUtf16(line_.substr(pos_ + 1, line_.size() - pos_ - 2));
        bool created = false;
        if (CreatePath(root_, path, current_, created) != ERROR_SUCCESS) return Fail(error, "invalid key path");
        return true;
    }

    bool ParseValue(std::string& error) {
        std::u16string name;
        if (line_[pos_] == '@')
            ++pos_;
        else if (!ParseQuoted(name))
            return Fail(error, "expected @ or a quoted value name");
        SkipBlanks();
        if (!Take("=")) return Fail(error, "expected '='");
        SkipBlanks();
        Value value;
        const bool expandable = Take("expand_sz:");
        if (expandable || Take("sz:")) {
            std::u16string text;
            if (!ParseQuoted(text)) return Fail(error, "expected a quoted text");
            value = MakeValue(expandable ? REG_EXPAND_SZ : REG_SZ, reinterpret_cast<const BYTE*>(text.data()),
                              text.size() * 2);
        } else if (Take("dword:")) {
            uint64_t number = 0;
            if (!ParseHexNumber(number, 8)) return Fail(error, "expected up to 8 hexadecimal digits");
            value.type = REG_DWORD;
            for (int i = 0; i < 4; ++i) value.data.push_back(static_cast<BYTE>(number >> (8 * i)));
        } else if (Take("hex(")) {
            uint64_t type = 0;
            while (pos_ < line_.size() && line_[pos_] >= '0' && line_[pos_] <= '9' && type <= 0xFFFFFFFF)
                type = type * 10 + (line_[pos_++] - '0');
            if (type > 0xFFFFFFFF || !Take("):")) return Fail(error, "expected hex(type):");
            value.type = static_cast<DWORD>(type);
            while (pos_ < line_.size() && HexValue(line_[pos_]) >= 0) {
                uint64_t byte = 0;
                if (!ParseHexNumber(byte, 2)) return Fail(error, "expected a byte");
                value.data.push_back(static_cast<BYTE>(byte));
                if (!Take(",")) break;
            }
        } else {
            return Fail(error, "unknown value type");
        }
        SkipBlanks();
        if (pos_ != line_.size()) return Fail(error, "unexpected text after the value");
        current_->values[name] = std::move(value);
        return true;
    }

    bool ParseQuoted(std::u16string& text) {
        if (pos_ == line_.size() || line_[pos_] != '"') return false;
        size_t run = ++pos_;
        auto flush = [&] { text += Utf8ToUtf16(line_.substr(run, pos_ - run)); };
        while (pos_ < line_.size()) {
            const char c = line_[pos_];
            if (c == '"') {
                flush();
                ++pos_;
                return true;
            }
            if (c != '\\') {
                ++pos_;
                continue;
            }
            flush();
            if (++pos_ == line_.size()) return false;
            const char escape = line_[pos_++];
            switch (escape) {
                case '"': text += u'"'; break;
                case '\\': text += u'\\'; break;
                case 'n': text += u'\n'; break;
                case 'r': text += u'\r'; break;
                case 't': text += u'\t'; break;
                case 'u': {
                    uint64_t unit = 0;
                    const size_t start = pos_;
                    if (!ParseHexNumber(unit, 4) || pos_ - start != 4) return false;
                    text += static_cast<char16_t>(unit);
                    break;
                }
                default: return false;
            }
            run = pos_;
        }
        return false;
    }

    // Reads 1 to max_digits hexadecimal digits.
    bool ParseHexNumber(uint64_t& number, size_t max_digits) {
        const size_t start = pos_;
        while (pos_ < line_.size() && pos_ - start < max_digits && HexValue(line_[pos_]) >= 0)
            number = number * 16 + static_cast<uint64_t>(HexValue(line_[pos_++]));
        return pos_ != start;
    }

    bool Take(std::string_view expected) {
        if (line_.substr(pos_, expected.size()) != expected) return false;
        pos_ += expected.size();
        return true;
    }

    void SkipBlanks() {
        while (pos_ < line_.size() && (line_[pos_] == ' ' || line_[pos_] == '\t')) ++pos_;
    }

    static bool Fail(std::string& error, const char* message) {
        error = message;
        return false;
    }

    KeyPtr root_;
    KeyPtr current_;
    std::string_view line_;
    size_t pos_ = 0;
};

bool ParseHive(std::string_view text, const KeyPtr& root, std::string& error) {
    HiveFileParser parser(root);
    size_t line_number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        ++line_number;
        if (!parser.ParseLine(text.substr(start, end - start), error)) {
            error = "line " + std::to_string(line_number) + ": " + error;
            return false;
        }
        start = end + 1;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------------------
// The hive and its handles.

class Hive {
public:
    static Hive& Instance() {
        static Hive hive;
        return hive;
    }

    LONG Open(HKEY handle, std::u16string_view path, HKEY* result) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        LONG status = Resolve(handle, key);
        if (status == ERROR_SUCCESS) status = FindPath(key, path, key);
        if (status == ERROR_SUCCESS) *result = NewHandle(std::move(key));
        return status;
    }

    LONG Create(HKEY handle, std::u16string_view path, HKEY* result, DWORD* disposition) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        bool created = false;
        LONG status = Resolve(handle, key);
        if (status == ERROR_SUCCESS) status = CreatePath(key, path, key, created);
        if (status != ERROR_SUCCESS) return status;
        *result = NewHandle(std::move(key));
        if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
        if (created) Changed();
        return ERROR_SUCCESS;
    }

    LONG Query(HKEY handle, std::u16string_view name, DWORD* type, BYTE* data, DWORD* size) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        if (const LONG status = Resolve(handle, key); status != ERROR_SUCCESS) return status;
        const auto found = key->values.find(name);
        if (found == key->values.end()) return ERROR_FILE_NOT_FOUND;
        const Value& value = found->second;
        const auto needed = static_cast<DWORD>(value.data.size());
        if (type) *type = value.type;
        if (data && *size < needed) {
            *size = needed;
            return ERROR_MORE_DATA;
        }
        if (data) std::copy(value.data.begin(), value.data.end(), data);
        if (size) *size = needed;
        return ERROR_SUCCESS;
    }

    LONG Set(HKEY handle, std::u16string_view name, DWORD type, const BYTE* data, DWORD size) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        if (const LONG status = Resolve(handle, key); status != ERROR_SUCCESS) return status;
        key->values[std::u16string(name)] = MakeValue(type, data, size);
        Changed();
        return ERROR_SUCCESS;
    }

    LONG DeleteValue(HKEY handle, std::u16string_view name) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        if (const LONG status = Resolve(handle, key); status != ERROR_SUCCESS) return status;
        const auto found = key->values.find(name);
        if (found == key->values.end()) return ERROR_FILE_NOT_FOUND;
        key->values.erase(found);
        Changed();
        return ERROR_SUCCESS;
    }

    LONG EnumKey(HKEY handle, DWORD index, WCHAR* name, DWORD* length) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        if (const LONG status = Resolve(handle, key); status != ERROR_SUCCESS) return status;
        if (index >= key->subkeys.size()) return ERROR_NO_MORE_ITEMS;
        const std::u16string& subkey = std::next(key->subkeys.begin(), index)->first;
        if (*length <= subkey.size()) return ERROR_MORE_DATA;
        std::copy(subkey.begin(), subkey.end(), name);
        name[subkey.size()] = u'\0';
        *length = static_cast<DWORD>(subkey.size());
        return ERROR_SUCCESS;
    }

    LONG Delete(HKEY handle, std::u16string_view path, bool with_subkeys) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        LONG status = Resolve(handle, key);
        if (status == ERROR_SUCCESS) status = FindPath(key, path, key);
        if (status != ERROR_SUCCESS) return status;
        if (key == root_ || (!with_subkeys && !key->subkeys.empty())) return ERROR_ACCESS_DENIED;
        Detach(*key);
        MarkDeleted(*key);
        Changed();
        return ERROR_SUCCESS;
    }

    LONG Close(HKEY handle) {
        if (handle == HKEY_CLASSES_ROOT) return ERROR_SUCCESS;
        std::lock_guard guard(mutex_);
        return handles_.erase(reinterpret_cast<uintptr_t>(handle)) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    }

    std::optional<std::u16string> ReadString(std::u16string_view path, std::u16string_view name) {
        std::lock_guard guard(mutex_);
        KeyPtr key;
        if (FindPath(root_, path, key) != ERROR_SUCCESS) return std::nullopt;
        const auto found = key->values.find(name);
        if (found == key->values.end() || !IsStringType(found->second.type)) return std::nullopt;
        return StringOf(found->second);
    }

    bool LoadedFromFile() {
        std::lock_guard guard(mutex_);
        return loaded_from_file_;
    }

    void Reload() {
        std::lock_guard guard(mutex_);
        MarkDeleted(*root_);
        Load();
        generation_.fetch_add(1, std::memory_order_release);
    }

    uint64_t Generation() const { return generation_.load(std::memory_order_acquire); }

    void BeginBatch() {
        std::lock_guard guard(mutex_);
        ++batch_depth_;
    }

    void EndBatch() {
        std::lock_guard guard(mutex_);
        if (--batch_depth_ == 0 && unsaved_) Save();
    }

private:
    Hive() { Load(); }

    // The members below run with mutex_ held.

    void Load() {
        root_ = std::make_shared<Key>();
        loaded_from_file_ = false;
        const char* file = std::getenv("SCRIVIX_REGISTRY");
        file_ = file ? file : "";
        if (file_.empty()) return;
        std::error_code error;
        const auto status = std::filesystem::status(file_, error);
        if (status.type() == std::filesystem::file_type::not_found) return;
        std::ifstream in;
        if (std::filesystem::is_regular_file(status)) in.open(file_, std::ios::binary);
        if (!in.is_open()) {
            Report("cannot be read");
            return;
        }
        const std::string text(std::istreambuf_iterator<char>(in), {});
        auto root = std::make_shared<Key>();
        std::string message;
        if (!ParseHive(text, root, message)) {
            Report(message.c_str());
            return;
        }
        root_ = std::move(root);
        loaded_from_file_ = true;
    }

    void Report(const char* problem) const {
        std::fprintf(stderr, "scrivix: registry file %s: %s; the registry starts empty\n", file_.c_str(), problem);
    }

    LONG Resolve(HKEY handle, KeyPtr& key) const {
        if (handle == HKEY_CLASSES_ROOT) {
            key = root_;
            return ERROR_SUCCESS;
        }
        const auto found = handles_.find(reinterpret_cast<uintptr_t>(handle));
        if (found == handles_.end()) return ERROR_INVALID_HANDLE;
        key = found->second;
        return key->deleted ? ERROR_KEY_DELETED : ERROR_SUCCESS;
    }

    HKEY NewHandle(KeyPtr key) {
        const uintptr_t value = next_handle_;
        next_handle_ += 4;
        handles_.emplace(value, std::move(key));
        return reinterpret_cast<HKEY>(value);
    }

    void Changed() {
        generation_.fetch_add(1, std::memory_order_release);
        if (batch_depth_ > 0)
            unsaved_ = true;
        else
            Save();
    }

    // Writes the whole hive to a temporary file beside the registry file, then renames it over it, so
    // that a reader never sees half a hive. A failure is reported once and leaves the file as it was.
    void Save() {
        unsaved_ = false;
        if (file_.empty()) return;
        std::error_code error;
        const std::string temporary = file_ + ".tmp" + std::to_string(CurrentProcessId());
        try {
            const std::string text = SerializeHive(*root_);
            std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
            out.write(text.data(), static_cast<std::streamsize>(text.size()));
            out.close();
            if (out.good()) std::filesystem::rename(temporary, file_, error);
            if (out.good() && !error) return;
        } catch (...) {
        }
        std::filesystem::remove(temporary, error);
        if (!save_failure_reported_)
            std::fprintf(stderr, "scrivix: registry file %s cannot be written; changes stay in memory\n",
                         file_.c_str());
        save_failure_reported_ = true;
    }

    std::mutex mutex_;
    KeyPtr root_;
    std::unordered_map<uintptr_t, KeyPtr> handles_;
    uintptr_t next_handle_ = 0x1000;
    std::string file_;  // empty: the hive is not persisted
    bool loaded_from_file_ = false;
    bool save_failure_reported_ = false;
    int batch_depth_ = 0;
    bool unsaved_ = false;
    std::atomic<uint64_t> generation_{0};
};

// Nothing below throws but allocation.
template <class Operation>
LONG Guarded(Operation operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return ERROR_OUTOFMEMORY;
    }
}

std::u16string_view ViewOf(LPCWSTR text) { return text ? std::u16string_view(text) : std::u16string_view(); }

}  // namespace

RegistryKey& RegistryKey::operator=(RegistryKey&& other) noexcept {
    if (this != &other) {
        reset();
        handle_ = other.release();
    }
    return *this;
}

void RegistryKey::reset() {
    if (handle_) RegCloseKey(handle_);
    handle_ = nullptr;
}

LONG DeleteRegistryTree(HKEY key, std::u16string_view sub_key) {
    return Guarded([&] { return Hive::Instance().Delete(key, sub_key, true); });
}

LONG DeleteRegistryValue(HKEY key, std::u16string_view value_name) {
    return Guarded([&] { return Hive::Instance().DeleteValue(key, value_name); });
}

std::optional<std::u16string> ReadRegistryString(std::u16string_view key_path, std::u16string_view value_name) {
    try {
        return Hive::Instance().ReadString(key_path, value_name);
    } catch (...) {
        return std::nullopt;
    }
}

bool RegistryLoadedFromFile() { return Hive::Instance().LoadedFromFile(); }

void ReloadRegistry() { Hive::Instance().Reload(); }

uint64_t RegistryGeneration() { return Hive::Instance().Generation(); }

RegistryBatch::RegistryBatch() { Hive::Instance().BeginBatch(); }

RegistryBatch::~RegistryBatch() { Hive::Instance().EndBatch(); }

}  // namespace scrivix::platform

using scrivix::platform::Guarded;
using scrivix::platform::Hive;
using scrivix::platform::ViewOf;

LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM, PHKEY phkResult) {
    if (!phkResult) return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    return Guarded([&] { return Hive::Instance().Open(hKey, ViewOf(lpSubKey), phkResult); });
}

LONG RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, LPWSTR, DWORD, REGSAM, const SECURITY_ATTRIBUTES*,
                     PHKEY phkResult, LPDWORD lpdwDisposition) {
    if (!phkResult) return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    if (!lpSubKey) return ERROR_INVALID_PARAMETER;
    return Guarded([&] { return Hive::Instance().Create(hKey, lpSubKey, phkResult, lpdwDisposition); });
}

LONG RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                      LPDWORD lpcbData) {
    if (lpReserved || (lpData && !lpcbData)) return ERROR_INVALID_PARAMETER;
    return Guarded([&] { return Hive::Instance().Query(hKey, ViewOf(lpValueName), lpType, lpData, lpcbData); });
}

LONG RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, const BYTE* lpData, DWORD cbData) {
    if (!lpData && cbData != 0) return ERROR_INVALID_PARAMETER;
    return Guarded([&] { return Hive::Instance().Set(hKey, ViewOf(lpValueName), dwType, lpData, cbData); });
}

LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPWSTR lpClass,
                   LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
    if (!lpName || !lpcchName || lpReserved || (lpClass && !lpcchClass)) return ERROR_INVALID_PARAMETER;
    const LONG status = Guarded([&] { return Hive::Instance().EnumKey(hKey, dwIndex, lpName, lpcchName); });
    // Keys have no class and no recorded write time here.
    if (status == ERROR_SUCCESS && lpClass && *lpcchClass > 0) {
        lpClass[0] = u'\0';
        *lpcchClass = 0;
    }
    if (status == ERROR_SUCCESS && lpftLastWriteTime) *lpftLastWriteTime = FILETIME{0, 0};
    return status;
}

LONG RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) {
    if (!lpSubKey) return ERROR_INVALID_PARAMETER;
    return Guarded([&] { return Hive::Instance().Delete(hKey, lpSubKey, false); });
}

LONG RegCloseKey(HKEY hKey) {
    return Guarded([&] { return Hive::Instance().Close(hKey); });
}

// The registrar: a script is expanded (replacements), cut into tokens, parsed into a tree of keys and
// values, and only then run against the hive, so that a malformed script writes nothing.
#include "platform/registrar.h"

#include "platform/code_page.h"
#include "platform/registry.h"

#include <algorithm>

namespace scrivix::platform {
namespace {

enum class TokenKind { Word, Quoted, Open, Close, Equals, End };

struct Token {
    TokenKind kind;
    std::u16string text;
    size_t line;
};

struct ScriptValue {
    std::u16string name;  // empty: the key's default value
    DWORD type = REG_SZ;
    std::vector<BYTE> data;
};

struct ScriptKey {
    std::u16string name;  // empty for a root: the root key itself
    bool no_remove = false;
    bool force_remove = false;
    std::vector<ScriptValue> values;
    std::vector<ScriptKey> subkeys;
};

bool SameText(std::u16string_view a, std::u16string_view b) {
    auto fold = [](char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 0x20) : c; };
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (fold(a[i]) != fold(b[i])) return false;
    return true;
}

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n' || c == u'\f' || c == u'\v'; }

std::string Located(size_t line, const std::string& message) { return "line " + std::to_string(line) + ": " + message; }

bool ExpandReplacements(std::u16string_view script, const RegistryReplacements& replacements, std::u16string& out,
                        std::string& error) {
    out.reserve(script.size());
    size_t line = 1;
    for (size_t i = 0; i < script.size();) {
        const char16_t c = script[i];
        if (c != u'%') {
            line += c == u'\n';
            out += c;
            ++i;
            continue;
        }
        const size_t close = script.find(u'%', i + 1);
        if (close == std::u16string_view::npos) {
            error = Located(line, "'%' without a closing '%'");
            return false;
        }
        const auto name = script.substr(i + 1, close - i - 1);
        if (name.empty()) {
            out += u'%';
        } else {
            const auto found = std::find_if(replacements.begin(), replacements.end(),
                                            [&](const auto& entry) { return SameText(entry.first, name); });
            if (found == replacements.end()) {
                error = Located(line, "no replacement for %" + Utf16ToUtf8(name) + "%");
                return false;
            }
            out += found->second;
        }
        i = close + 1;
    }
    return true;
}

bool Tokenize(std::u16string_view text, std::vector<Token>& tokens, std::string& error) {
    size_t line = 1;
    for (size_t i = 0; i < text.size();) {
        if (IsBlank(text[i])) {
            line += text[i++] == u'\n';
            continue;
        }
        if (text[i] == u'\'') {
            const size_t first_line = line;
            std::u16string quoted;
            for (++i;; ++i) {
                if (i == text.size()) {
                    error = Located(first_line, "quoted text without its closing quote");
                    return false;
                }
                if (text[i] == u'\'') {
                    if (i + 1 < text.size() && text[i + 1] == u'\'') {
                        quoted += text[++i];
                        continue;
                    }
                    ++i;
                    break;
                }
                line += text[i] == u'\n';
                quoted += text[i];
            }
            tokens.push_back({TokenKind::Quoted, std::move(quoted), first_line});
            continue;
        }
        const size_t start = i;
        while (i < text.size() && !IsBlank(text[i]) && text[i] != u'\'') ++i;
        const auto word = text.substr(start, i - start);
        if (word.find_first_not_of(u"{}") == std::u16string_view::npos) {
            for (const char16_t brace : word)
                tokens.push_back({brace == u'{' ? TokenKind::Open : TokenKind::Close, {}, line});
        } else {
            tokens.push_back({word == u"=" ? TokenKind::Equals : TokenKind::Word, std::u16string(word), line});
        }
    }
    tokens.push_back({TokenKind::End, {}, line});
    return true;
}

// Recursive descent over the tokens; nesting is bounded by kMaxScriptDepth.
class ScriptParser {
public:
    ScriptParser(const std::vector<Token>& tokens, std::string& error) : tokens_(tokens), error_(error) {}

    bool ParseScript(std::vector<ScriptKey>& roots) {
        while (Peek().kind != TokenKind::End) {
            if (!IsWord(u"HKCR") && !IsWord(u"HKEY_CLASSES_ROOT")) return Fail("expected HKCR");
            ++next_;
            ScriptKey& root = roots.emplace_back();
            root.no_remove = true;
            if (!Take(TokenKind::Open)) return Fail("expected '{' after the root");
            if (!ParseEntries(root, 1)) return false;
        }
        return true;
    }

private:
    // The entries of key up to and including the closing brace.
    bool ParseEntries(ScriptKey& key, size_t depth) {
        if (depth > kMaxScriptDepth) return Fail("keys nested too deeply");
        while (!Take(TokenKind::Close)) {
            if (IsWord(u"val")) {
                ++next_;
                ScriptValue& value = key.values.emplace_back();
                if (!TakeName(value.name)) return Fail("expected a value name after val");
                if (!Take(TokenKind::Equals)) return Fail("expected '=' after the value name");
                if (!ParseData(value)) return false;
            } else if (!ParseKey(key.subkeys.emplace_back(), depth)) {
                return false;
            }
        }
        return true;
    }

    bool ParseKey(ScriptKey& key, size_t depth) {
        for (;; ++next_) {
            if (IsWord(u"NoRemove"))
                key.no_remove = true;
            else if (IsWord(u"ForceRemove"))
                key.force_remove = true;
            else
                break;
        }
        if (!TakeName(key.name)) return Fail(Peek().kind == TokenKind::End ? "missing '}'" : "expected a key name");
        if (Take(TokenKind::Equals) && !ParseData(key.values.emplace_back())) return false;
        return !Take(TokenKind::Open) || ParseEntries(key, depth + 1);
    }

    bool ParseData(ScriptValue& value) {
        const Token& type = Peek();
        const char16_t letter =
            type.kind == TokenKind::Word && type.text.size() == 1 ? static_cast<char16_t>(type.text[0] | 0x20) : 0;
        if (letter != u's' && letter != u'd' && letter != u'b') return Fail("expected a value type: s, d or b");
        ++next_;
        const Token& data = Peek();
        if (letter == u's' && data.kind != TokenKind::Quoted) return Fail("expected a quoted text after s");
        if (data.kind != TokenKind::Word && data.kind != TokenKind::Quoted) return Fail("expected the value's data");
        ++next_;
        switch (letter) {
            case u's': {
                value.type = REG_SZ;
                const auto* bytes = reinterpret_cast<const BYTE*>(data.text.c_str());
                value.data.assign(bytes, bytes + (data.text.size() + 1) * sizeof(char16_t));
                return true;
            }
            case u'd': value.type = REG_DWORD; return ParseNumber(data, value.data);
            default: value.type = REG_BINARY; return ParseBinary(data, value.data);
        }
    }

    // A DWORD, decimal or with 0x hexadecimal, as 4 bytes least significant first.
    bool ParseNumber(const Token& token, std::vector<BYTE>& bytes) {
        std::u16string_view digits = token.text;
        const bool hex = digits.size() > 2 && digits[0] == u'0' && (digits[1] | 0x20) == u'x';
        if (hex) digits.remove_prefix(2);
        const unsigned base = hex ? 16 : 10;
        uint64_t number = 0;
        for (const char16_t c : digits) {
            const unsigned digit = DigitValue(c);
            if (digit >= base) return FailAt(token, "expected a number after d");
            number = number * base + digit;
            if (number > 0xFFFFFFFF) return FailAt(token, "number too large for d");
        }
        if (digits.empty()) return FailAt(token, "expected a number after d");
        for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<BYTE>(number >> (8 * i)));
        return true;
    }

    bool ParseBinary(const Token& token, std::vector<BYTE>& bytes) {
        const std::u16string& digits = token.text;
        if (digits.size() % 2 != 0) return FailAt(token, "binary data needs two hexadecimal digits a byte");
        for (size_t i = 0; i < digits.size(); i += 2) {
            const unsigned high = DigitValue(digits[i]), low = DigitValue(digits[i + 1]);
            if (high > 15 || low > 15) return FailAt(token, "expected hexadecimal digits after b");
            bytes.push_back(static_cast<BYTE>(high * 16 + low));
        }
        return true;
    }

    // The value of a digit in bases up to 36; anything else gives a value no base accepts.
    static unsigned DigitValue(char16_t c) {
        if (c >= u'0' && c <= u'9') return c - u'0';
        c |= 0x20;
        if (c >= u'a' && c <= u'z') return c - u'a' + 10;
        return 36;
    }

    bool TakeName(std::u16string& name) {
        const Token& token = Peek();
        if (token.kind != TokenKind::Word && token.kind != TokenKind::Quoted) return false;
        name = token.text;
        ++next_;
        return true;
    }

    const Token& Peek() const { return tokens_[next_]; }
    bool IsWord(std::u16string_view word) const {
        return Peek().kind == TokenKind::Word && SameText(Peek().text, word);
    }
    bool Take(TokenKind kind) {
        if (Peek().kind != kind) return false;
        ++next_;
        return true;
    }
    bool Fail(const char* message) { return FailAt(Peek(), message); }
    bool FailAt(const Token& token, const char* message) {
        error_ = Located(token.line, message);
        return false;
    }

    const std::vector<Token>& tokens_;
    std::string& error_;
    size_t next_ = 0;  // never past the End token
};

LONG Register(HKEY parent, const ScriptKey& key) {
    if (key.force_remove) {
        const LONG status = DeleteRegistryTree(parent, key.name);
        if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) return status;
    }
    RegistryKey handle;
    LONG status = RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                                  nullptr, handle.receive(), nullptr);
    for (auto value = key.values.begin(); status == ERROR_SUCCESS && value != key.values.end(); ++value)
        status = RegSetValueExW(handle.get(), value->name.c_str(), 0, value->type, value->data.data(),
                                static_cast<DWORD>(value->data.size()));
    for (auto subkey = key.subkeys.begin(); status == ERROR_SUCCESS && subkey != key.subkeys.end(); ++subkey)
        status = Register(handle.get(), *subkey);
    return status;
}

LONG Unregister(HKEY parent, const ScriptKey& key) {
    auto missing_is_done = [](LONG status) { return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status; };
    if (!key.no_remove) return missing_is_done(DeleteRegistryTree(parent, key.name));
    RegistryKey handle;
    LONG status = RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_ALL_ACCESS, handle.receive());
    if (status != ERROR_SUCCESS) return missing_is_done(status);
    for (auto value = key.values.begin(); status == ERROR_SUCCESS && value != key.values.end(); ++value)
        if (!value->name.empty()) status = missing_is_done(DeleteRegistryValue(handle.get(), value->name));
    for (auto subkey = key.subkeys.begin(); status == ERROR_SUCCESS && subkey != key.subkeys.end(); ++subkey)
        status = Unregister(handle.get(), *subkey);
    return status;
}

HRESULT HResultFromWin32(LONG status) {
    return status == ERROR_SUCCESS ? S_OK : static_cast<HRESULT>(0x80070000u | (static_cast<ULONG>(status) & 0xFFFF));
}

}  // namespace

HRESULT RunRegistryScript(std::u16string_view script, const RegistryReplacements& replacements, bool registering,
                          std::string* diagnostic) {
    try {
        std::string error;
        std::u16string expanded;
        std::vector<Token> tokens;
        std::vector<ScriptKey> roots;
        if (!ExpandReplacements(script, replacements, expanded, error) || !Tokenize(expanded, tokens, error) ||
            !ScriptParser(tokens, error).ParseScript(roots)) {
            if (diagnostic) *diagnostic = error;
            return E_FAIL;
        }
        RegistryBatch batch;
        for (const ScriptKey& root : roots) {
            const LONG status = registering ? Register(HKEY_CLASSES_ROOT, root) : Unregister(HKEY_CLASSES_ROOT, root);
            if (status != ERROR_SUCCESS) return HResultFromWin32(status);
        }
        return S_OK;
    } catch (...) {
        // Only allocation throws here.
        return E_OUTOFMEMORY;
    }
}

}  // namespace scrivix::platform

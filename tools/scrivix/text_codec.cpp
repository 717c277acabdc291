// UTF-8 and UTF-16 codecs, the Windows-1252 widening of bytes, and JSON string escaping.
#include "text_codec.h"

#include <cstdint>
#include <cstdio>

namespace scrivix_tool {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence at text[at]; returns its length, or 0 when the byte there starts none.
size_t DecodeUtf8(std::string_view text, size_t at, char32_t& code) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) {
        code = lead;
        return 1;
    }
    size_t length = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 && lead < 0xE0 ? 2 : 0;
    if (length == 0 || at + length > text.size()) return 0;
    code = lead & (0x7F >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return 0;
        code = code << 6 | (byte(at + i) & 0x3F);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    if (overlong || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return length;
}

void AppendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | code >> 6);
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | code >> 12);
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | code >> 18);
        out += static_cast<char>(0x80 | (code >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// The characters of bytes 0x80..0x9F in Windows-1252; its five holes stand for the C1 control of the
// same value, as the library's code page does, so that every byte comes back unchanged.
constexpr char16_t kAnsiHighBlock[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

}  // namespace

std::u16string Utf8ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        char32_t code = kReplacement;
        const size_t length = DecodeUtf8(text, at, code);
        at += length ? length : 1;
        if (!length) code = kReplacement;
        if (code >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return out;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        char32_t code = text[at];
        if (code >= 0xD800 && code <= 0xDBFF && at + 1 < text.size() && text[at + 1] >= 0xDC00 &&
            text[at + 1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++at] - 0xDC00);
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            code = kReplacement;
        }
        AppendUtf8(out, code);
    }
    return out;
}

std::u16string BytesAsUnits(std::string_view bytes) {
    std::u16string out(bytes.size(), u'\0');
    for (size_t i = 0; i < bytes.size(); ++i) out[i] = static_cast<unsigned char>(bytes[i]);
    return out;
}

std::u16string BytesAsAnsi(std::string_view bytes) {
    std::u16string out = BytesAsUnits(bytes);
    for (char16_t& unit : out)
        if (unit >= 0x80 && unit < 0xA0) unit = kAnsiHighBlock[unit - 0x80];
    return out;
}

void AppendJsonString(std::string& out, std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        char32_t code = 0;
        size_t length = DecodeUtf8(text, at, code);
        if (length == 0) {
            code = static_cast<unsigned char>(text[at]);
            length = 1;
        }
        switch (code) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (code < 0x20 || (length == 1 && code >= 0x80)) {
                    char escape[16];
                    std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(code));
                    out += escape;
                } else {
                    out.append(text.substr(at, length));
                }
        }
        at += length;
    }
}

}  // namespace scrivix_tool

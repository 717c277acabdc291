// The Windows-1252 tables and the UTF-8 codec of the platform. Narrowing looks each unit up in a
// two-level table built at compile time (a page per high byte, all pages without a character of the code
// page sharing one page of "?"), after a fast path that copies runs of ASCII eight units at a time.
#include "platform/code_page.h"

#include <array>
#include <cstddef>

namespace scrivix::platform {
namespace {

// The characters of bytes 0x80..0x9F. The five bytes the code page leaves undefined (0x81, 0x8D, 0x8F,
// 0x90, 0x9D) stand for the C1 control of the same value, so that any byte survives a round trip.
constexpr char16_t kHighBlock[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr std::array<char16_t, 256> kWiden = [] {
    std::array<char16_t, 256> table{};
    for (unsigned byte = 0; byte < 256; ++byte)
        table[byte] = byte >= 0x80 && byte < 0xA0 ? kHighBlock[byte - 0x80] : static_cast<char16_t>(byte);
    return table;
}();

struct NarrowTable {
    static constexpr size_t kMaxPages = 8;
    // pages[0] is all "?"; page_of[high byte] selects the page of a unit.
    std::array<std::array<unsigned char, 256>, kMaxPages> pages{};
    std::array<unsigned char, 256> page_of{};
};

constexpr NarrowTable kNarrow = [] {
    NarrowTable table;
    for (auto& page : table.pages) page.fill(kAnsiDefaultChar);
    size_t pages_used = 1;
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char16_t unit = kWiden[byte];
        auto& page = table.page_of[unit >> 8];
        if (page == 0) page = static_cast<unsigned char>(pages_used++);
        table.pages[page][unit & 0xFF] = static_cast<unsigned char>(byte);
    }
    // A table too small for the code page fails the build here.
    if (pages_used > NarrowTable::kMaxPages) throw "narrowing table overflow";
    return table;
}();

constexpr char16_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

unsigned char NarrowAnsiChar(char16_t unit) { return kNarrow.pages[kNarrow.page_of[unit >> 8]][unit & 0xFF]; }

char16_t WidenAnsiChar(unsigned char byte) { return kWiden[byte]; }

unsigned char* NarrowToAnsi(const char16_t* first, const char16_t* last, unsigned char* out) {
    constexpr ptrdiff_t kChunk = 8;
    while (last - first >= kChunk) {
        char16_t seen = 0;
        for (ptrdiff_t i = 0; i < kChunk; ++i) seen |= first[i];
        if (seen < 0x80) {
            for (ptrdiff_t i = 0; i < kChunk; ++i) out[i] = static_cast<unsigned char>(first[i]);
        } else {
            for (ptrdiff_t i = 0; i < kChunk; ++i) out[i] = NarrowAnsiChar(first[i]);
        }
        first += kChunk;
        out += kChunk;
    }
    while (first != last) *out++ = NarrowAnsiChar(*first++);
    return out;
}

char16_t* WidenFromAnsi(const unsigned char* first, const unsigned char* last, char16_t* out) {
    while (first != last) *out++ = kWiden[*first++];
    return out;
}

std::string NarrowToAnsi(std::u16string_view text) {
    std::string result(text.size(), '\0');
    NarrowToAnsi(text.data(), text.data() + text.size(), result.data());
    return result;
}

std::u16string WidenFromAnsi(std::string_view text) {
    std::u16string result(text.size(), u'\0');
    WidenFromAnsi(text.data(), text.data() + text.size(), result.data());
    return result;
}

std::string Utf16ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (IsHighSurrogate(code) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
        } else if (IsHighSurrogate(code) || IsLowSurrogate(code)) {
            code = kReplacement;
        }
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (code >> 18));
            out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return out;
}

std::u16string Utf8ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = p + text.size();
    while (p != end) {
        const unsigned lead = *p++;
        if (lead < 0x80) {
            out += static_cast<char16_t>(lead);
            continue;
        }
        // The continuation count and the range of the first continuation byte by lead byte; the narrowed
        // ranges exclude overlong forms, encoded surrogates and code points above U+10FFFF.
        int continuations;
        char32_t code;
        unsigned low = 0x80, high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            continuations = 1;
            code = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            continuations = 2;
            code = lead & 0x0F;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            continuations = 3;
            code = lead & 0x07;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        } else {
            out += kReplacement;
            continue;
        }
        bool complete = true;
        for (int i = 0; i < continuations; ++i) {
            if (p == end || *p < low || *p > high) {
                complete = false;
                break;
            }
            code = (code << 6) | (*p++ & 0x3F);
            low = 0x80;
            high = 0xBF;
        }
        if (!complete) {
            out += kReplacement;
        } else if (code >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(code);
        }
    }
    return out;
}

}  // namespace scrivix::platform

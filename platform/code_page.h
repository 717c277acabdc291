// Text conversions of the platform. The ANSI code page (CP_ACP) is Windows-1252: narrowing turns 16-bit
// units into bytes, with "?" for any character the code page cannot represent, and widening turns bytes
// back into 16-bit units. Both run over raw pointer ranges into storage the caller provides, so that edit
// buffers can convert large texts without allocating per character. UTF-8 <-> UTF-16 conversion serves
// file names, which go to the operating system as UTF-8; malformed input on either side becomes U+FFFD.
#pragma once

#include <scrivix/scrivix.h>

#include <string>
#include <string_view>

namespace scrivix::platform {

// The byte that stands for a character the code page cannot represent.
constexpr unsigned char kAnsiDefaultChar = '?';

// Narrows [first, last) into out, which has room for last - first bytes; returns the end of the output.
unsigned char* NarrowToAnsi(const char16_t* first, const char16_t* last, unsigned char* out);
// Widens [first, last) into out, which has room for last - first units; returns the end of the output.
char16_t* WidenFromAnsi(const unsigned char* first, const unsigned char* last, char16_t* out);

unsigned char NarrowAnsiChar(char16_t unit);
char16_t WidenAnsiChar(unsigned char byte);

inline char* NarrowToAnsi(const char16_t* first, const char16_t* last, char* out) {
    return reinterpret_cast<char*>(NarrowToAnsi(first, last, reinterpret_cast<unsigned char*>(out)));
}
inline char16_t* WidenFromAnsi(const char* first, const char* last, char16_t* out) {
    return WidenFromAnsi(reinterpret_cast<const unsigned char*>(first), reinterpret_cast<const unsigned char*>(last),
                         out);
}

// Whole-string forms, for texts that are not on a hot path (messages, names).
std::string NarrowToAnsi(std::u16string_view text);
std::u16string WidenFromAnsi(std::string_view text);

// Unpaired surrogates become U+FFFD, so the result is always valid UTF-8.
std::string Utf16ToUtf8(std::u16string_view text);
// Each malformed sequence (its maximal valid prefix, or a stray byte) becomes one U+FFFD.
std::u16string Utf8ToUtf16(std::string_view text);

}  // namespace scrivix::platform

// Conversions between the tool's UTF-8 world (arguments, terminal, JSON) and what the library takes:
// 16-bit automation strings, 8-bit buffers whose patterns keep the low byte of each unit, and 8-bit
// buffers that narrow replacement text through the Windows-1252 code page.
#pragma once

#include <string>
#include <string_view>

namespace scrivix_tool {

// Malformed sequences become U+FFFD.
std::u16string Utf8ToUtf16(std::string_view text);
// Unpaired surrogates become U+FFFD.
std::string Utf16ToUtf8(std::u16string_view text);

// Each byte as one unit of the same value: an 8-bit pattern keeps exactly these bytes.
std::u16string BytesAsUnits(std::string_view bytes);
// Each byte as the Windows-1252 character it stands for: an 8-bit buffer narrows this back to the bytes.
std::u16string BytesAsAnsi(std::string_view bytes);

// Appends text to out as the body of a JSON string. Valid UTF-8 passes through; a byte that is not part of
// a valid sequence is written as the character of the same code (\u00XX), so nothing is lost silently.
void AppendJsonString(std::string& out, std::string_view text);

}  // namespace scrivix_tool

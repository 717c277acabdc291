// The two widths of edit buffer as test types: typed tests run each case for EditBufferA and
// EditBufferU, with the buffer's contents given and compared as 16-bit units and its stream bytes
// computed by the rule of the width (8-bit: one byte each; 16-bit: FF FE, then little-endian units).
#pragma once

#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <gtest/gtest.h>

#include <string>

namespace scrivix::test {

struct NarrowBuffer {
    using Char = unsigned char;
    static const CLSID& Clsid() { return CLSID_EditBufferA; }
    static const CLSID& Segment() { return CLSID_BufferSegmentA; }
    static constexpr const char16_t* kSource = u"Scrivix.EditBufferA.1";
    static constexpr const char16_t* kFileSource = u"Scrivix.FileStreamA.1";
    static constexpr char16_t kSuffix = u'A';  // of the default class names
    // A text with a zero and a byte above 0x7F; 8-bit buffers keep the low 8 bits of each unit.
    static std::u16string Sample() { return std::u16string(u"h\u00E9llo\0!", 7); }
};

struct WideBuffer {
    using Char = char16_t;
    static const CLSID& Clsid() { return CLSID_EditBufferU; }
    static const CLSID& Segment() { return CLSID_BufferSegmentU; }
    static constexpr const char16_t* kSource = u"Scrivix.EditBufferU.1";
    static constexpr const char16_t* kFileSource = u"Scrivix.FileStreamU.1";
    static constexpr char16_t kSuffix = u'U';
    // Starts with a mark of its own, which must survive as a character.
    static std::u16string Sample() { return std::u16string(u"\uFEFFh\u0141llo\0\U0001F600", 9); }
};

using BufferWidths = ::testing::Types<NarrowBuffer, WideBuffer>;

template <class Width>
ComPtr<IEditBuffer> NewBuffer(std::u16string_view text = {}) {
    ComPtr<IEditBuffer> buffer;
    EXPECT_EQ(CoCreateInstance(Width::Clsid(), nullptr, CLSCTX_ALL, IID_IEditBuffer, buffer.PutVoid()), S_OK);
    if (buffer && !text.empty()) {
        Bstr content(text);
        EXPECT_EQ(buffer->Text(content.Get()), S_OK);
    }
    return buffer;
}

// The buffer's characters as 16-bit units (8-bit characters taken as unsigned).
template <class Width>
std::u16string Contents(IEditBuffer* buffer) {
    void *begin = nullptr, *end = nullptr;
    buffer->get_Begin(&begin);
    buffer->get_End(&end);
    using Char = typename Width::Char;
    return std::u16string(static_cast<const Char*>(begin), static_cast<const Char*>(end));
}

// The bytes of `text` in a stream.
template <class Width>
std::string StreamBytes(std::u16string_view text) {
    std::string bytes;
    if (sizeof(typename Width::Char) == 2) bytes = "\xFF\xFE";
    for (char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        if (sizeof(typename Width::Char) == 2) bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

}  // namespace scrivix::test

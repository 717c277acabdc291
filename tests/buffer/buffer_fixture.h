// What the buffer tests share: the two character widths as typed-test parameters, and the steps most
// tests take (making a buffer with a text, reading its characters back, checking the thread's error
// record).
#pragma once

#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

namespace scrivix::test {

struct NarrowWidth {
    using Char = char;
    static const CLSID& Buffer() { return CLSID_EditBufferA; }
    static const CLSID& Segment() { return CLSID_BufferSegmentA; }
    static constexpr std::u16string_view kSource = u"Scrivix.EditBufferA.1";
    static constexpr std::u16string_view kSuffix = u"A";
};

struct WideWidth {
    using Char = char16_t;
    static const CLSID& Buffer() { return CLSID_EditBufferU; }
    static const CLSID& Segment() { return CLSID_BufferSegmentU; }
    static constexpr std::u16string_view kSource = u"Scrivix.EditBufferU.1";
    static constexpr std::u16string_view kSuffix = u"U";
};

using Widths = ::testing::Types<NarrowWidth, WideWidth>;

struct WidthNames {
    template <class W>
    static std::string GetName(int) {
        return std::is_same_v<W, NarrowWidth> ? "A" : "U";
    }
};

template <class W>
ComPtr<IEditBuffer> NewBuffer(std::u16string_view text = {}) {
    ComPtr<IEditBuffer> buffer;
    EXPECT_EQ(CoCreateInstance(W::Buffer(), nullptr, CLSCTX_INPROC_SERVER, IID_IEditBuffer, buffer.PutVoid()), S_OK);
    if (buffer && !text.empty()) {
        EXPECT_EQ(buffer->Text(Bstr(text).Get()), S_OK);
    }
    return buffer;
}

template <class W>
ComPtr<IBufferSegment> NewSegment() {
    ComPtr<IBufferSegment> segment;
    EXPECT_EQ(CoCreateInstance(W::Segment(), nullptr, CLSCTX_INPROC_SERVER, IID_IBufferSegment, segment.PutVoid()),
              S_OK);
    return segment;
}

// The characters as the buffer stores them, read in place between Begin and End.
template <class W>
std::basic_string<typename W::Char> Stored(IEditBuffer* buffer) {
    using Char = typename W::Char;
    void* begin = nullptr;
    void* end = nullptr;
    EXPECT_EQ(buffer->get_Begin(&begin), S_OK);
    EXPECT_EQ(buffer->get_End(&end), S_OK);
    return std::basic_string<Char>(static_cast<Char*>(begin), static_cast<Char*>(end));
}

// A text of 16-bit units as a buffer of width W stores it when every unit fits its character.
template <class W>
std::basic_string<typename W::Char> Chars(std::u16string_view text) {
    return std::basic_string<typename W::Char>(text.begin(), text.end());
}

inline LONG LengthOf(IEditBuffer* buffer) {
    LONG length = -1;
    EXPECT_EQ(buffer->Length(&length), S_OK);
    return length;
}

// Checks that a buffer operation of width W failed with `status` and left the record of that message.
template <class W>
void ExpectReported(HRESULT result, HRESULT status, std::u16string_view description, DWORD help_context) {
    EXPECT_EQ(result, status);
    const ErrorRecord record = TakeErrorRecord();
    EXPECT_EQ(record.guid, IID_IEditBuffer);
    EXPECT_EQ(record.source, W::kSource);
    EXPECT_EQ(record.description, description);
    EXPECT_EQ(record.help_context, help_context);
    EXPECT_EQ(record.help_file, u"Scrivix.chm");
}

}  // namespace scrivix::test

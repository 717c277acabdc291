// The edit buffer's operations through IEditBuffer, for both character widths: replacing, setting the
// whole text from 16-bit and 8-bit texts, reading sub-sections and raw positions, the class-name
// properties, and the error records of refused calls.
#include "buffer_fixture.h"
#include "recording_sink.h"
#include "platform/code_page.h"
#include "support/test_support.h"

#include <limits>
#include <unistd.h>

namespace scrivix::test {
namespace {

using namespace std::string_view_literals;

constexpr LONG kLongMax = std::numeric_limits<LONG>::max();
constexpr LONG kLongMin = std::numeric_limits<LONG>::min();

constexpr HRESULT kInvalidExtentStatus = static_cast<HRESULT>(0x80042710u);
constexpr HRESULT kInvalidStartStatus = static_cast<HRESULT>(0x80042712u);
constexpr HRESULT kInvalidEndStatus = static_cast<HRESULT>(0x80042713u);

template <class W>
class EditBufferTest : public ::testing::Test {
protected:
    using Char = typename W::Char;
    static constexpr bool kNarrow = sizeof(Char) == 1;

    // The text of a buffer as SubSection reads it whole.
    static std::u16string Whole(IEditBuffer* buffer) {
        Bstr text;
        EXPECT_EQ(buffer->SubSection(0, LengthOf(buffer), text.Put()), S_OK);
        return std::u16string(text.View());
    }
};
TYPED_TEST_SUITE(EditBufferTest, Widths, WidthNames);

// Replace.

TYPED_TEST(EditBufferTest, ReplaceOnAnEmptyBuffer) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>();
    Connect(buffer.Get(), &sink);
    EXPECT_EQ(buffer->Replace(0, 0, Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(this->Whole(buffer.Get()), u"abc");
    ExpectReported<TypeParam>(buffer->Replace(4, 0, Bstr(u"abc").Get()), kInvalidExtentStatus, u"Invalid Extent.", 76);
    EXPECT_EQ(sink.Calls(), (std::vector<Modification>{{0, 0, 3}}));
}

TYPED_TEST(EditBufferTest, ReplaceInATextOfTen) {
    struct Row {
        LONG origin, extent;
        std::u16string_view text;
        const char16_t* result;  // null: refused with "Invalid Extent."
    };
    const Row rows[] = {
        // Insertions, removals and both; the new text ends at its first zero unit.
        {10, 0, u"x", u"0123456789x"},
        {0, 0, u"ab", u"ab0123456789"},
        {2, 5, u"", u"01789"},
        {3, 2, u"xyz", u"012xyz56789"},
        {0, 10, u"ab", u"ab"},
        {10, 0, u"", u"0123456789"},
        {4, 1, u"ab\0cd"sv, u"0123ab56789"},
        {4, 1, u"\0cd"sv, u"012356789"},
        // Ranges outside the text.
        {8, 3, u"", nullptr},
        {-1, 0, u"", nullptr},
        {0, -1, u"", nullptr},
        {11, 0, u"x", nullptr},
        {1, kLongMax, u"", nullptr},
        {kLongMax, 0, u"", nullptr},
        {kLongMin, 0, u"", nullptr},
        {5, kLongMin, u"", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "Replace(" << row.origin << ", " << row.extent << ")");
        RecordingSink sink;
        auto buffer = NewBuffer<TypeParam>(u"0123456789");
        Connect(buffer.Get(), &sink);
        const HRESULT result = buffer->Replace(row.origin, row.extent, Bstr(row.text).Get());
        if (!row.result) {
            ExpectReported<TypeParam>(result, kInvalidExtentStatus, u"Invalid Extent.", 76);
            EXPECT_EQ(this->Whole(buffer.Get()), u"0123456789");
            EXPECT_TRUE(sink.Calls().empty());
            continue;
        }
        EXPECT_EQ(result, S_OK);
        const LONG inserted = static_cast<LONG>(row.text.substr(0, row.text.find(u'\0')).size());
        EXPECT_EQ(this->Whole(buffer.Get()), row.result);
        EXPECT_EQ(sink.Calls(), (std::vector<Modification>{{row.origin, row.extent, inserted}}));
    }
}

TYPED_TEST(EditBufferTest, ANullTextRemoves) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    Connect(buffer.Get(), &sink);
    EXPECT_EQ(buffer->Replace(2, 5, nullptr), S_OK);
    EXPECT_EQ(this->Whole(buffer.Get()), u"01789");
    EXPECT_EQ(sink.Calls(), (std::vector<Modification>{{2, 5, 0}}));
}

// Characters beyond 8 bits: Text keeps the low 8 bits, Replace narrows by the default code page (where
// U+0141 has no byte and U+20AC is 0x80), and 16-bit buffers keep every unit.
TYPED_TEST(EditBufferTest, CharactersBeyondEightBits) {
    const Bstr wide(u"\u0141\u20AC");
    auto buffer = NewBuffer<TypeParam>();
    ASSERT_EQ(buffer->Text(wide.Get()), S_OK);
    const auto after_text = Stored<TypeParam>(buffer.Get());
    ASSERT_EQ(buffer->Replace(0, 2, wide.Get()), S_OK);
    const auto after_replace = Stored<TypeParam>(buffer.Get());
    if constexpr (TestFixture::kNarrow) {
        EXPECT_EQ(after_text, "\x41\xAC");
        EXPECT_EQ(after_replace, (std::string{static_cast<char>(platform::NarrowAnsiChar(u'\u0141')), '\x80'}));
    } else {
        EXPECT_EQ(after_text, wide.View());
        EXPECT_EQ(after_replace, wide.View());
    }
}

// Text.

TYPED_TEST(EditBufferTest, TextReplacesTheWholeContent) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    Connect(buffer.Get(), &sink);
    EXPECT_EQ(buffer->Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(this->Whole(buffer.Get()), u"abc");
    EXPECT_EQ(buffer->Text(Bstr(u"ab\0cd"sv).Get()), S_OK) << "a zero unit is stored like any other";
    EXPECT_EQ(Stored<TypeParam>(buffer.Get()), Chars<TypeParam>(u"ab\0cd"sv));
    EXPECT_EQ(buffer->Text(nullptr), S_OK);
    EXPECT_EQ(LengthOf(buffer.Get()), 0);
    EXPECT_EQ(sink.Calls(), (std::vector<Modification>{{0, 10, 3}, {0, 3, 5}, {0, 5, 0}}));
}

// ASCIIText.

TYPED_TEST(EditBufferTest, ASCIITextTakesBytes) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    Connect(buffer.Get(), &sink);
    unsigned char hello[] = "hello";
    EXPECT_EQ(buffer->ASCIIText(hello, -1), S_OK) << "-1 measures up to the zero byte";
    EXPECT_EQ(this->Whole(buffer.Get()), u"hello");
    unsigned char with_zero[] = {'a', 0, 'b', 'c'};
    EXPECT_EQ(buffer->ASCIIText(with_zero, 3), S_OK) << "a given length takes zero bytes too";
    EXPECT_EQ(Stored<TypeParam>(buffer.Get()), Chars<TypeParam>(u"a\0b"sv));
    EXPECT_EQ(buffer->ASCIIText(nullptr, -1), S_OK);
    EXPECT_EQ(LengthOf(buffer.Get()), 0);
    EXPECT_EQ(sink.Calls(), (std::vector<Modification>{{0, 10, 5}, {0, 5, 3}, {0, 3, 0}}));
}

// Bytes above 0x7F stay the same value: as they are in 8 bits, taken as unsigned in 16 bits.
TYPED_TEST(EditBufferTest, ASCIITextBytesAboveSeventyF) {
    auto buffer = NewBuffer<TypeParam>();
    unsigned char bytes[] = {0x41, 0xE9};
    ASSERT_EQ(buffer->ASCIIText(bytes, 2), S_OK);
    const auto stored = Stored<TypeParam>(buffer.Get());
    if constexpr (TestFixture::kNarrow) {
        EXPECT_EQ(stored, "\x41\xE9");
    } else {
        EXPECT_EQ(stored, u"\x0041\x00E9");
    }
}

TYPED_TEST(EditBufferTest, ASCIITextRefusesAnImpossibleLength) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>(u"keep");
    Connect(buffer.Get(), &sink);
    unsigned char bytes[] = "xy";
    EXPECT_EQ(buffer->ASCIIText(bytes, -2), E_INVALIDARG);
    EXPECT_EQ(buffer->ASCIIText(nullptr, 4), E_POINTER);
    EXPECT_EQ(this->Whole(buffer.Get()), u"keep");
    EXPECT_TRUE(sink.Calls().empty());
}

// SubSection.

TYPED_TEST(EditBufferTest, SubSectionRanges) {
    struct Row {
        LONG start, end;
        const char16_t* result;  // null: refused with the status below
        HRESULT status;
    };
    const Row rows[] = {
        {3, 3, u"", S_OK},
        {0, 10, u"0123456789", S_OK},
        {2, 5, u"234", S_OK},
        {10, 10, u"", S_OK},
        {4, 3, nullptr, kInvalidEndStatus},
        {0, 11, nullptr, kInvalidEndStatus},
        {11, 11, nullptr, kInvalidStartStatus},
        {-1, 2, nullptr, kInvalidStartStatus},
        {11, 3, nullptr, kInvalidStartStatus},
    };
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "SubSection(" << row.start << ", " << row.end << ")");
        Bstr section;
        const HRESULT result = buffer->SubSection(row.start, row.end, section.Put());
        if (row.result) {
            EXPECT_EQ(result, S_OK);
            EXPECT_EQ(section.View(), row.result);
        } else if (row.status == kInvalidStartStatus) {
            ExpectReported<TypeParam>(result, row.status, u"Invalid Start parameter.", 78);
        } else {
            ExpectReported<TypeParam>(result, row.status, u"Invalid End parameter.", 79);
        }
    }
    EXPECT_EQ(buffer->SubSection(0, 1, nullptr), E_POINTER);
}

// 8-bit characters widen by sign extension, 16-bit ones come out as they are.
TYPED_TEST(EditBufferTest, SubSectionWidening) {
    auto buffer = NewBuffer<TypeParam>();
    unsigned char bytes[] = {0x41, 0xE9, 0x7F, 0x80};
    ASSERT_EQ(buffer->ASCIIText(bytes, 4), S_OK);
    EXPECT_EQ(this->Whole(buffer.Get()), this->kNarrow ? u"\x41\xFFE9\x7F\xFF80" : u"\x41\xE9\x7F\x80");
}

TYPED_TEST(EditBufferTest, SubSectionFreesTheStringItIsGiven) {
    auto buffer = NewBuffer<TypeParam>(u"0123");
    BSTR section = Bstr(u"given up by the caller").Detach();
    ASSERT_EQ(buffer->SubSection(1, 3, &section), S_OK);
    EXPECT_EQ(Bstr::Adopt(section).View(), u"12");
}

// Raw positions, sizes and the process.

TYPED_TEST(EditBufferTest, NewBufferHasNoBlock) {
    auto buffer = NewBuffer<TypeParam>();
    void* begin = &begin;
    void* end = &end;
    EXPECT_EQ(buffer->get_Begin(&begin), S_OK);
    EXPECT_EQ(buffer->get_End(&end), S_OK);
    EXPECT_EQ(begin, nullptr);
    EXPECT_EQ(end, nullptr);
    EXPECT_EQ(LengthOf(buffer.Get()), 0);
}

TYPED_TEST(EditBufferTest, PositionsAndSizes) {
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    void* begin = nullptr;
    void* end = nullptr;
    SHORT size = 0;
    LONG id = 0;
    ASSERT_EQ(buffer->get_Begin(&begin), S_OK);
    ASSERT_EQ(buffer->get_End(&end), S_OK);
    ASSERT_EQ(buffer->CharSize(&size), S_OK);
    EXPECT_EQ(size, static_cast<SHORT>(sizeof(typename TestFixture::Char)));
    EXPECT_EQ(static_cast<char*>(end) - static_cast<char*>(begin), LengthOf(buffer.Get()) * size);
    EXPECT_EQ(Stored<TypeParam>(buffer.Get()), Chars<TypeParam>(u"0123456789"));
    ASSERT_EQ(buffer->ProcessID(&id), S_OK);
    EXPECT_EQ(id, static_cast<LONG>(getpid()));

    EXPECT_EQ(buffer->get_Begin(nullptr), E_POINTER);
    EXPECT_EQ(buffer->get_End(nullptr), E_POINTER);
    EXPECT_EQ(buffer->CharSize(nullptr), E_POINTER);
    EXPECT_EQ(buffer->Length(nullptr), E_POINTER);
    EXPECT_EQ(buffer->ProcessID(nullptr), E_POINTER);
}

// Class-name properties.

TYPED_TEST(EditBufferTest, ClassNames) {
    using Property = std::pair<HRESULT (STDMETHODCALLTYPE IEditBuffer::*)(BSTR*),
                               HRESULT (STDMETHODCALLTYPE IEditBuffer::*)(BSTR)>;
    struct Row {
        Property property;
        std::u16string_view stem;
    };
    const Row rows[] = {
        {{&IEditBuffer::get_FileClass, &IEditBuffer::put_FileClass}, u"Scrivix.FileStream"},
        {{&IEditBuffer::get_SegmentClass, &IEditBuffer::put_SegmentClass}, u"Scrivix.BufferSegment"},
        {{&IEditBuffer::get_PatternClass, &IEditBuffer::put_PatternClass}, u"Scrivix.Pattern"},
    };
    auto buffer = NewBuffer<TypeParam>();
    for (const Row& row : rows) {
        auto [get, put] = row.property;
        Bstr name;
        ASSERT_EQ((buffer.Get()->*get)(name.Put()), S_OK);
        EXPECT_EQ(name.View(), std::u16string(row.stem) + std::u16string(TypeParam::kSuffix)) << "the default";
        EXPECT_EQ((buffer.Get()->*put)(Bstr(u"{00000000-0000-0000-0000-000000000001}").Get()), S_OK);
        ASSERT_EQ((buffer.Get()->*get)(name.Put()), S_OK);
        EXPECT_EQ(name.View(), u"{00000000-0000-0000-0000-000000000001}");
        EXPECT_EQ((buffer.Get()->*put)(nullptr), S_OK);
        ASSERT_EQ((buffer.Get()->*get)(name.Put()), S_OK);
        EXPECT_TRUE(name.IsNull()) << "a null put reads back as null";
        EXPECT_EQ((buffer.Get()->*get)(nullptr), E_POINTER);
    }
}

// Lifetime.

TYPED_TEST(EditBufferTest, ObjectsGoWithTheirLastReference) {
    const long before = LiveObjects();
    {
        auto buffer = NewBuffer<TypeParam>(u"text");
        auto segment = NewSegment<TypeParam>();
        ASSERT_EQ(segment->put_Source(0, 4, buffer.Get()), S_OK);
        buffer = nullptr;
        EXPECT_EQ(LiveObjects(), before + 2) << "a bound segment holds its buffer";
    }
    EXPECT_EQ(LiveObjects(), before);
}

// Error support.

TYPED_TEST(EditBufferTest, ErrorInfoOnlyForIEditBuffer) {
    auto buffer = NewBuffer<TypeParam>();
    auto support = buffer.template As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IEditBuffer), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
}

}  // namespace
}  // namespace scrivix::test

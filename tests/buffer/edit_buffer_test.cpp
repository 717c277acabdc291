// The edit buffer's operations through IEditBuffer, for both widths: replacing, setting the whole text
// from 16-bit and 8-bit texts, reading sub-sections and raw positions, the class-name properties, the
// error records of refused calls, and the Modified event as client sinks see it.
#include "buffer_fixture.h"
#include "platform/code_page.h"

#include <limits>
#include <stdexcept>
#include <unistd.h>

namespace scrivix::test {
namespace {

using namespace std::string_view_literals;

constexpr LONG kLongMax = std::numeric_limits<LONG>::max();
constexpr LONG kLongMin = std::numeric_limits<LONG>::min();
constexpr HRESULT kInvalidExtent = static_cast<HRESULT>(0x80042710u);
constexpr HRESULT kInvalidStart = static_cast<HRESULT>(0x80042712u);
constexpr HRESULT kInvalidEnd = static_cast<HRESULT>(0x80042713u);

template <class W>
class EditBufferTest : public ::testing::Test {
protected:
    static constexpr bool kNarrow = sizeof(typename W::Char) == 1;

    // A buffer holding `text` with `sink_` connected.
    ComPtr<IEditBuffer> Watched(std::u16string_view text = {}) {
        auto buffer = NewBuffer<W>(text);
        Connect(buffer.Get(), &sink_);
        return buffer;
    }
    // The text as SubSection reads it whole.
    static std::u16string Whole(IEditBuffer* buffer) {
        Bstr text;
        EXPECT_EQ(buffer->SubSection(0, LengthOf(buffer), text.Put()), S_OK);
        return std::u16string(text.View());
    }
    RecordingSink sink_;
};
TYPED_TEST_SUITE(EditBufferTest, BufferWidths);

// Replace.

TYPED_TEST(EditBufferTest, ReplaceInATextOfTen) {
    struct Row {
        LONG origin, extent;
        std::u16string_view text;  // no data: a null string
        const char16_t* result;    // null: refused with "Invalid Extent."
    };
    const Row rows[] = {
        // Insertions, removals and both; the new text ends at its first zero unit.
        {10, 0, u"x", u"0123456789x"},
        {0, 0, u"ab", u"ab0123456789"},
        {2, 5, u"", u"01789"},
        {2, 5, {}, u"01789"},
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
        Bstr text(row.text);
        const HRESULT result = buffer->Replace(row.origin, row.extent, row.text.data() ? text.Get() : nullptr);
        if (!row.result) {
            ExpectReported<TypeParam>(result, kInvalidExtent, u"Invalid Extent.", 76);
            EXPECT_EQ(this->Whole(buffer.Get()), u"0123456789");
            EXPECT_TRUE(sink.Calls().empty());
            continue;
        }
        EXPECT_EQ(result, S_OK);
        const LONG inserted = static_cast<LONG>(row.text.substr(0, row.text.find(u'\0')).size());
        EXPECT_EQ(this->Whole(buffer.Get()), row.result);
        EXPECT_EQ(sink.Calls(), (Modifications{{row.origin, row.extent, inserted}}));
    }
}

TYPED_TEST(EditBufferTest, ReplaceOnAnEmptyBuffer) {
    auto buffer = this->Watched();
    EXPECT_EQ(buffer->Replace(0, 0, Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(this->Whole(buffer.Get()), u"abc");
    ExpectReported<TypeParam>(buffer->Replace(4, 0, Bstr(u"abc").Get()), kInvalidExtent, u"Invalid Extent.", 76);
    EXPECT_EQ(this->sink_.Calls(), (Modifications{{0, 0, 3}}));
}

// Characters beyond 8 bits: Text keeps the low 8 bits, Replace narrows by the default code page (where
// U+0141 has no byte and U+20AC is 0x80), and 16-bit buffers keep every unit.
TYPED_TEST(EditBufferTest, CharactersBeyondEightBits) {
    const Bstr wide(u"\u0141\u20AC");
    auto buffer = NewBuffer<TypeParam>();
    ASSERT_EQ(buffer->Text(wide.Get()), S_OK);
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), this->kNarrow ? u"\x41\xAC" : wide.View());
    ASSERT_EQ(buffer->Replace(0, 2, wide.Get()), S_OK);
    const char16_t narrowed[] = {static_cast<unsigned char>(platform::NarrowAnsiChar(u'\u0141')), 0x80, 0};
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), this->kNarrow ? narrowed : wide.View());
}

// Text and ASCIIText.

TYPED_TEST(EditBufferTest, TextReplacesTheWholeContent) {
    auto buffer = this->Watched(u"0123456789");
    EXPECT_EQ(buffer->Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(this->Whole(buffer.Get()), u"abc");
    EXPECT_EQ(buffer->Text(Bstr(u"ab\0cd"sv).Get()), S_OK) << "a zero unit is stored like any other";
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), u"ab\0cd"sv);
    EXPECT_EQ(buffer->Text(nullptr), S_OK);
    EXPECT_EQ(LengthOf(buffer.Get()), 0);
    EXPECT_EQ(this->sink_.Calls(), (Modifications{{0, 10, 3}, {0, 3, 5}, {0, 5, 0}}));
}

TYPED_TEST(EditBufferTest, ASCIITextTakesBytes) {
    auto buffer = this->Watched(u"0123456789");
    unsigned char hello[] = "hello";
    EXPECT_EQ(buffer->ASCIIText(hello, -1), S_OK) << "-1 measures up to the zero byte";
    EXPECT_EQ(this->Whole(buffer.Get()), u"hello");
    unsigned char with_zero[] = {'a', 0, 0xE9, 'c'};
    EXPECT_EQ(buffer->ASCIIText(with_zero, 3), S_OK) << "a given length takes zero bytes too";
    EXPECT_EQ(buffer->ASCIIText(hello, -2), E_INVALIDARG) << "impossible lengths change nothing";
    EXPECT_EQ(buffer->ASCIIText(nullptr, 4), E_POINTER);
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), u"a\0\xE9"sv) << "bytes above 0x7F keep their value";
    EXPECT_EQ(buffer->ASCIIText(nullptr, -1), S_OK);
    EXPECT_EQ(LengthOf(buffer.Get()), 0);
    EXPECT_EQ(this->sink_.Calls(), (Modifications{{0, 10, 5}, {0, 5, 3}, {0, 3, 0}}));
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
        {4, 3, nullptr, kInvalidEnd},
        {0, 11, nullptr, kInvalidEnd},
        {11, 11, nullptr, kInvalidStart},
        {-1, 2, nullptr, kInvalidStart},
        {11, 3, nullptr, kInvalidStart},
    };
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "SubSection(" << row.start << ", " << row.end << ")");
        Bstr section(u"given up by the caller");  // SubSection frees what it is given
        const HRESULT result = buffer->SubSection(row.start, row.end, section.Put());
        if (row.result) {
            EXPECT_EQ(result, S_OK);
            EXPECT_EQ(section.View(), row.result);
        } else if (row.status == kInvalidStart) {
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

// Raw positions, sizes, the process and error support.

TYPED_TEST(EditBufferTest, PositionsAndSizes) {
    auto buffer = NewBuffer<TypeParam>();
    void* begin = &begin;
    void* end = &end;
    EXPECT_EQ(buffer->get_Begin(&begin), S_OK);
    EXPECT_EQ(buffer->get_End(&end), S_OK);
    EXPECT_EQ(begin, nullptr) << "a new buffer has no block";
    EXPECT_EQ(end, nullptr);

    ASSERT_EQ(buffer->Text(Bstr(u"0123456789").Get()), S_OK);
    SHORT size = 0;
    LONG id = 0;
    ASSERT_EQ(buffer->get_Begin(&begin), S_OK);
    ASSERT_EQ(buffer->get_End(&end), S_OK);
    ASSERT_EQ(buffer->CharSize(&size), S_OK);
    EXPECT_EQ(size, static_cast<SHORT>(sizeof(typename TypeParam::Char)));
    EXPECT_EQ(static_cast<char*>(end) - static_cast<char*>(begin), LengthOf(buffer.Get()) * size);
    ASSERT_EQ(buffer->ProcessID(&id), S_OK);
    EXPECT_EQ(id, static_cast<LONG>(getpid()));
    EXPECT_EQ(buffer->get_Begin(nullptr), E_POINTER);
    EXPECT_EQ(buffer->get_End(nullptr), E_POINTER);
    EXPECT_EQ(buffer->CharSize(nullptr), E_POINTER);
    EXPECT_EQ(buffer->Length(nullptr), E_POINTER);
    EXPECT_EQ(buffer->ProcessID(nullptr), E_POINTER);

    auto support = buffer.template As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IEditBuffer), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
}

TYPED_TEST(EditBufferTest, ClassNames) {
    using Get = HRESULT (STDMETHODCALLTYPE IEditBuffer::*)(BSTR*);
    using Put = HRESULT (STDMETHODCALLTYPE IEditBuffer::*)(BSTR);
    const std::tuple<Get, Put, std::u16string> rows[] = {
        {&IEditBuffer::get_FileClass, &IEditBuffer::put_FileClass, u"Scrivix.FileStream"},
        {&IEditBuffer::get_SegmentClass, &IEditBuffer::put_SegmentClass, u"Scrivix.BufferSegment"},
        {&IEditBuffer::get_PatternClass, &IEditBuffer::put_PatternClass, u"Scrivix.Pattern"},
    };
    auto buffer = NewBuffer<TypeParam>();
    IEditBuffer* b = buffer.Get();
    for (const auto& [get, put, stem] : rows) {
        Bstr name;
        ASSERT_EQ((b->*get)(name.Put()), S_OK);
        EXPECT_EQ(name.View(), stem + TypeParam::kSuffix) << "the default";
        EXPECT_EQ((b->*put)(Bstr(u"{00000000-0000-0000-0000-000000000001}").Get()), S_OK);
        ASSERT_EQ((b->*get)(name.Put()), S_OK);
        EXPECT_EQ(name.View(), u"{00000000-0000-0000-0000-000000000001}");
        EXPECT_EQ((b->*put)(nullptr), S_OK);
        ASSERT_EQ((b->*get)(name.Put()), S_OK);
        EXPECT_TRUE(name.IsNull()) << "a null put reads back as null";
        EXPECT_EQ((b->*get)(nullptr), E_POINTER);
    }
}

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

// Events. Sinks are called once each, in connection order, after the text has changed; a sink that
// throws does not stop the next, and one may disconnect itself while called.

TYPED_TEST(EditBufferTest, SinksInConnectionOrderSeeingTheNewText) {
    auto buffer = NewBuffer<TypeParam>(u"0123");
    std::vector<int> order;
    std::u16string seen;
    DWORD cookie = 0;
    RecordingSink leaving([&] {
        order.push_back(1);
        EXPECT_EQ(Disconnect(buffer.Get(), cookie), S_OK);
        throw std::runtime_error("sink failure");
    });
    RecordingSink staying([&] {
        order.push_back(2);
        seen = this->Whole(buffer.Get());
    });
    cookie = Connect(buffer.Get(), &leaving);
    Connect(buffer.Get(), &staying);
    ASSERT_EQ(buffer->Replace(1, 2, Bstr(u"xyz").Get()), S_OK);
    EXPECT_EQ(seen, u"0xyz3");
    ASSERT_EQ(buffer->Replace(0, 0, Bstr(u"b").Get()), S_OK);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 2}));
    EXPECT_EQ(leaving.Calls(), (Modifications{{1, 2, 3}}));
    EXPECT_EQ(staying.Calls(), (Modifications{{1, 2, 3}, {0, 0, 1}}));
    buffer = nullptr;
}

TYPED_TEST(EditBufferTest, DisconnectedSinksAreReleasedAndNotCalled) {
    RecordingSink kept, dropped;
    auto buffer = NewBuffer<TypeParam>();
    Connect(buffer.Get(), &kept);
    const DWORD cookie = Connect(buffer.Get(), &dropped);
    EXPECT_EQ(dropped.References(), 1u) << "the connection holds one reference";
    EXPECT_EQ(Disconnect(buffer.Get(), cookie), S_OK);
    EXPECT_EQ(dropped.References(), 0u);
    ASSERT_EQ(buffer->Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_TRUE(dropped.Calls().empty());
    EXPECT_EQ(kept.Calls().size(), 1u);
    buffer = nullptr;
    EXPECT_EQ(kept.References(), 0u) << "a buffer releases its sinks when it goes";
}

TYPED_TEST(EditBufferTest, RefusedConnections) {
    auto buffer = NewBuffer<TypeParam>();
    auto point = EventPoint(buffer.Get());
    ASSERT_TRUE(point);
    const DWORD cookie = Connect(buffer.Get(), &this->sink_);
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    for (DWORD bad : {DWORD{0}, cookie, cookie + 1, DWORD{0xFFFFFFFF}})
        EXPECT_EQ(point->Unadvise(bad), CONNECT_E_NOCONNECTION) << "cookie " << bad;

    auto not_a_sink = NewSegment<TypeParam>();
    DWORD none = 1;
    EXPECT_EQ(point->Advise(not_a_sink.Get(), &none), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(none, 0u);

    IID iid{};
    EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
    EXPECT_EQ(iid, IID__IEditBufferEvents);
    ComPtr<IConnectionPoint> other;
    EXPECT_EQ(buffer.template As<IConnectionPointContainer>()->FindConnectionPoint(IID_IEditBuffer, other.Put()),
              CONNECT_E_NOCONNECTION);
}

}  // namespace
}  // namespace scrivix::test

// The edit buffer's operations through IEditBuffer, for both widths: replacing, setting the whole text,
// sub-sections, raw positions, the class names, refusals and the Modified event as client sinks see it.
#include "buffer_fixture.h"
#include "platform/code_page.h"

#include <stdexcept>
#include <unistd.h>

namespace scrivix::test {
namespace {

using namespace std::string_view_literals;

template <class W>
class EditBufferTest : public ::testing::Test {};
TYPED_TEST_SUITE(EditBufferTest, BufferWidths);

// Replace: the new text ends at its first zero unit; a range outside the text is refused, changing nothing.
TYPED_TEST(EditBufferTest, Replace) {
    const struct {
        LONG origin, extent;
        std::u16string_view text;  // no data: a null string
        const char16_t* result;    // null: refused
        std::u16string_view before = u"0123456789";
    } rows[] = {
        {10, 0, u"x", u"0123456789x"}, {0, 0, u"ab", u"ab0123456789"}, {2, 5, u"", u"01789"},
        {2, 5, {}, u"01789"}, {3, 2, u"xyz", u"012xyz56789"}, {0, 10, u"ab", u"ab"}, {10, 0, u"", u"0123456789"},
        {4, 1, u"ab\0cd"sv, u"0123ab56789"}, {4, 1, u"\0cd"sv, u"012356789"},
        {0, 0, u"abc", u"abc", u""}, {1, 0, u"abc", nullptr, u""}, {4, 0, u"abc", nullptr, u"abc"},
        {8, 3, u"", nullptr}, {-1, 0, u"", nullptr}, {0, -1, u"", nullptr}, {11, 0, u"x", nullptr},
        {1, INT32_MAX, u"", nullptr}, {INT32_MAX, 0, u"", nullptr}, {INT32_MIN, 0, u"", nullptr},
        {5, INT32_MIN, u"", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "Replace(" << row.origin << ", " << row.extent << ") of " << row.before.size());
        RecordingSink sink;
        auto buffer = NewBuffer<TypeParam>(row.before);
        Connect(buffer.Get(), &sink);
        Bstr text(row.text);
        const HRESULT result = buffer->Replace(row.origin, row.extent, row.text.data() ? text.Get() : nullptr);
        if (row.result) EXPECT_EQ(result, S_OK);
        else ExpectReported<TypeParam>(result, 10000);
        EXPECT_EQ(Contents<TypeParam>(buffer.Get()), row.result ? row.result : row.before);
        const LONG inserted = static_cast<LONG>(row.text.substr(0, row.text.find(u'\0')).size());
        EXPECT_EQ(sink.Calls(), (row.result ? Modifications{{row.origin, row.extent, inserted}} : Modifications{}));
    }
}

// Characters beyond 8 bits: Text keeps the low 8 bits, Replace narrows by the default code page (where
// U+0141 has no byte and U+20AC is 0x80), and 16-bit buffers keep every unit.
TYPED_TEST(EditBufferTest, CharactersBeyondEightBits) {
    const bool narrow = sizeof(typename TypeParam::Char) == 1;
    const Bstr wide(u"\u0141\u20AC");
    auto buffer = NewBuffer<TypeParam>();
    ASSERT_EQ(buffer->Text(wide.Get()), S_OK);
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), narrow ? u"\x41\xAC" : wide.View());
    ASSERT_EQ(buffer->Replace(0, 2, wide.Get()), S_OK);
    const char16_t narrowed[] = {static_cast<unsigned char>(platform::NarrowAnsiChar(u'\u0141')), 0x80, 0};
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), narrow ? narrowed : wide.View());
    // SubSection widens 8-bit characters by sign extension.
    unsigned char bytes[] = {0x41, 0xE9, 0x7F, 0x80};
    ASSERT_EQ(buffer->ASCIIText(bytes, 4), S_OK);
    Bstr text;
    ASSERT_EQ(buffer->SubSection(0, 4, text.Put()), S_OK);
    EXPECT_EQ(text.View(), narrow ? u"\x41\xFFE9\x7F\xFF80" : u"\x41\xE9\x7F\x80");
}

// Text and ASCIIText replace the whole content; impossible arguments change nothing.
TYPED_TEST(EditBufferTest, TextAndASCIIText) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    Connect(buffer.Get(), &sink);
    unsigned char hello[] = "hello", with_zero[] = {'a', 0, 0xE9, 'c'};
    const struct {
        const char* what;
        std::function<HRESULT()> set;
        HRESULT status;
        std::u16string_view contents;
    } steps[] = {
        {"Text", [&] { return buffer->Text(Bstr(u"abc").Get()); }, S_OK, u"abc"},
        {"with a zero unit", [&] { return buffer->Text(Bstr(u"ab\0cd"sv).Get()); }, S_OK, u"ab\0cd"sv},
        {"null Text", [&] { return buffer->Text(nullptr); }, S_OK, u""},
        {"-1 measures to the zero byte", [&] { return buffer->ASCIIText(hello, -1); }, S_OK, u"hello"},
        {"a length takes zero bytes too", [&] { return buffer->ASCIIText(with_zero, 3); }, S_OK, u"a\0\xE9"sv},
        {"an impossible length", [&] { return buffer->ASCIIText(hello, -2); }, E_INVALIDARG, u"a\0\xE9"sv},
        {"no bytes for a length", [&] { return buffer->ASCIIText(nullptr, 4); }, E_POINTER, u"a\0\xE9"sv},
        {"no bytes and -1", [&] { return buffer->ASCIIText(nullptr, -1); }, S_OK, u""},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(step.set(), step.status) << step.what;
        EXPECT_EQ(Contents<TypeParam>(buffer.Get()), step.contents) << step.what;
        EXPECT_EQ(LengthOf(buffer.Get()), static_cast<LONG>(step.contents.size())) << step.what;
    }
    EXPECT_EQ(sink.Calls(), (Modifications{{0, 10, 3}, {0, 3, 5}, {0, 5, 0}, {0, 0, 5}, {0, 5, 3}, {0, 3, 0}}));
}

TYPED_TEST(EditBufferTest, SubSection) {
    const struct {
        LONG start, end;
        const char16_t* result;  // null: refused with message `number`
        UINT number;
    } rows[] = {
        {3, 3, u"", 0}, {0, 10, u"0123456789", 0}, {2, 5, u"234", 0}, {10, 10, u"", 0},
        {4, 3, nullptr, 10003}, {0, 11, nullptr, 10003},
        {11, 11, nullptr, 10002}, {-1, 2, nullptr, 10002}, {11, 3, nullptr, 10002},
    };
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "SubSection(" << row.start << ", " << row.end << ")");
        Bstr section(u"given up by the caller");  // SubSection frees what it is given
        const HRESULT result = buffer->SubSection(row.start, row.end, section.Put());
        if (!row.result) {
            ExpectReported<TypeParam>(result, row.number);
            continue;
        }
        EXPECT_EQ(result, S_OK);
        EXPECT_EQ(section.View(), row.result);
    }
    EXPECT_EQ(buffer->SubSection(0, 1, nullptr), E_POINTER);
}

// Raw positions, sizes, the process, error support, and the lifetime a bound segment gives its buffer.
TYPED_TEST(EditBufferTest, PositionsAndSizes) {
    const long before = LiveObjects();
    auto buffer = NewBuffer<TypeParam>();
    void *begin = &begin, *end = &end;
    EXPECT_EQ(buffer->get_Begin(&begin), S_OK);
    EXPECT_EQ(buffer->get_End(&end), S_OK);
    EXPECT_EQ(begin, nullptr) << "a new buffer has no block";
    EXPECT_EQ(end, nullptr);

    ASSERT_EQ(buffer->Text(Bstr(u"0123456789").Get()), S_OK);
    IEditBuffer* b = buffer.Get();
    const SHORT size = Out(b, &IEditBuffer::CharSize);
    EXPECT_EQ(size, static_cast<SHORT>(sizeof(typename TypeParam::Char)));
    EXPECT_EQ(static_cast<char*>(Out(b, &IEditBuffer::get_End)) - static_cast<char*>(Out(b, &IEditBuffer::get_Begin)),
              10 * size);
    EXPECT_EQ(Out(b, &IEditBuffer::ProcessID), static_cast<LONG>(getpid()));
    for (HRESULT refused : {buffer->get_Begin(nullptr), buffer->get_End(nullptr), buffer->CharSize(nullptr),
                            buffer->Length(nullptr), buffer->ProcessID(nullptr)})
        EXPECT_EQ(refused, E_POINTER);
    auto support = buffer.template As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IEditBuffer), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    support = nullptr;

    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(0, 4, buffer.Get()), S_OK);
    buffer = nullptr;
    EXPECT_EQ(LiveObjects(), before + 2) << "a bound segment holds its buffer";
    segment = nullptr;
    EXPECT_EQ(LiveObjects(), before);
}

// The class names: a default per width, and a null put reads back as null.
TYPED_TEST(EditBufferTest, ClassNames) {
    using Get = HRESULT (STDMETHODCALLTYPE IEditBuffer::*)(BSTR*);
    using Put = HRESULT (STDMETHODCALLTYPE IEditBuffer::*)(BSTR);
    const std::tuple<Get, Put, std::u16string> rows[] = {
        {&IEditBuffer::get_FileClass, &IEditBuffer::put_FileClass, u"Scrivix.FileStream"},
        {&IEditBuffer::get_SegmentClass, &IEditBuffer::put_SegmentClass, u"Scrivix.BufferSegment"},
        {&IEditBuffer::get_PatternClass, &IEditBuffer::put_PatternClass, u"Scrivix.Pattern"},
    };
    auto buffer = NewBuffer<TypeParam>();
    for (const auto& [get, put, stem] : rows) {
        Bstr name;
        EXPECT_EQ((buffer.Get()->*get)(name.Put()), S_OK);
        EXPECT_EQ(name.View(), stem + TypeParam::kSuffix);
        EXPECT_EQ((buffer.Get()->*put)(nullptr), S_OK);
        EXPECT_EQ((buffer.Get()->*get)(name.Put()), S_OK);
        EXPECT_TRUE(name.IsNull());
        EXPECT_EQ((buffer.Get()->*get)(nullptr), E_POINTER);
    }
}

// Sinks are called once each, in connection order, after the text has changed; a sink that throws does
// not stop the next, and one may disconnect itself while called. A connection holds one reference, given
// back at the disconnection or when the buffer goes.
TYPED_TEST(EditBufferTest, Sinks) {
    auto buffer = NewBuffer<TypeParam>(u"0123");
    std::vector<int> order;
    std::u16string seen;
    DWORD cookie = 0;
    RecordingSink leaving([&] {
        order.push_back(1);
        EXPECT_EQ(EventPoint(buffer.Get())->Unadvise(cookie), S_OK);
        throw std::runtime_error("sink failure");
    });
    RecordingSink staying([&] {
        order.push_back(2);
        seen = Contents<TypeParam>(buffer.Get());
    });
    cookie = Connect(buffer.Get(), &leaving);
    Connect(buffer.Get(), &staying);
    EXPECT_EQ(leaving.References(), 1u);
    ASSERT_EQ(buffer->Replace(1, 2, Bstr(u"xyz").Get()), S_OK);
    EXPECT_EQ(seen, u"0xyz3");
    EXPECT_EQ(leaving.References(), 0u);
    ASSERT_EQ(buffer->Replace(0, 0, Bstr(u"b").Get()), S_OK);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 2}));
    EXPECT_EQ(leaving.Calls(), (Modifications{{1, 2, 3}}));
    EXPECT_EQ(staying.Calls(), (Modifications{{1, 2, 3}, {0, 0, 1}}));
    buffer = nullptr;
    EXPECT_EQ(staying.References(), 0u);
}

TYPED_TEST(EditBufferTest, RefusedConnections) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>();
    auto point = EventPoint(buffer.Get());
    ASSERT_TRUE(point);
    const DWORD cookie = Connect(buffer.Get(), &sink);
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    for (DWORD bad : {DWORD{0}, cookie, cookie + 1, DWORD{0xFFFFFFFF}})
        EXPECT_EQ(point->Unadvise(bad), CONNECT_E_NOCONNECTION) << "cookie " << bad;
    ASSERT_EQ(buffer->Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_TRUE(sink.Calls().empty()) << "a disconnected sink is not called";

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

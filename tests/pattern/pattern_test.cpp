// The pattern object through IPattern in both character widths: properties, the search contract over a real
// buffer segment, compile failures with their records, the empty pattern, and a client's own buffer segment.
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"
#include "support/test_support.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace scrivix {
namespace {

constexpr HRESULT kIllegalExpression = static_cast<HRESULT>(0x80042906u);

struct Width {
    const CLSID *buffer, *segment, *pattern;
    const char16_t* source;  // the ProgID error records name
};

template <class I>
ComPtr<I> Make(const CLSID& clsid) {
    ComPtr<I> object;
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, uuidof<I>(), object.PutVoid()), S_OK);
    return object;
}

using SearchResult = std::tuple<bool, LONG, LONG>;  // whether found, then Start and End as the search left them

class PatternTest : public ::testing::TestWithParam<Width> {
protected:
    // A segment over a new buffer holding `text`.
    ComPtr<IBufferSegment> Segment(std::u16string_view text) {
        auto buffer = Make<IEditBuffer>(*GetParam().buffer);
        EXPECT_EQ(buffer->Text(Bstr(text).Get()), S_OK);
        auto segment = Make<IBufferSegment>(*GetParam().segment);
        EXPECT_EQ(segment->put_Source(0, 0, buffer.Get()), S_OK);
        return segment;
    }
    SearchResult Search(IBufferSegment* segment, LONG start, LONG end, bool reverse = false) {
        VARIANT_BOOL found = 7;
        EXPECT_EQ(reverse ? pattern_->FindReverse(segment, &start, &end, &found)
                          : pattern_->Find(segment, &start, &end, &found),
                  S_OK);
        EXPECT_TRUE(found == VARIANT_TRUE || found == VARIANT_FALSE);
        return {found == VARIANT_TRUE, start, end};
    }
    void Put(const char16_t* text, LONG options = 0, LONG look_ahead = 2048) {
        ASSERT_EQ(pattern_->put_Text(Bstr(text).Get()), S_OK);
        ASSERT_EQ(pattern_->put_Options(options), S_OK);
        ASSERT_EQ(pattern_->put_LookAhead(look_ahead), S_OK);
    }

    ComPtr<IPattern> pattern_ = Make<IPattern>(*GetParam().pattern);
};

TEST_P(PatternTest, ANewPatternAndItsText) {
    LONG look_ahead = -1, options = -1;
    Bstr text;
    EXPECT_EQ(pattern_->get_LookAhead(&look_ahead), S_OK);
    EXPECT_EQ(pattern_->get_Options(&options), S_OK);
    EXPECT_EQ(pattern_->get_Text(text.Put()), S_OK);
    EXPECT_EQ(std::tuple(look_ahead, options, text.IsNull(), text.View()), std::tuple(2048, 0, false, u""));
    EXPECT_EQ(pattern_.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_IPattern), S_OK);
    EXPECT_FALSE(pattern_.As<IConnectionPointContainer>());
    // 8-bit text keeps the low byte of each character and gives it back widened by sign extension.
    pattern_->put_Text(Bstr(u"\u00E9\u0141").Get());
    pattern_->get_Text(text.Put());
    EXPECT_EQ(text.View(), GetParam().pattern == &CLSID_PatternA ? u"\uFFE9A" : u"\u00E9\u0141");
}

// The search contract, with each option and the look-ahead passed on to the searches. Each expected
// occurrence is marked in its text; a miss leaves Start and End as they were.
TEST_P(PatternTest, Searches) {
    const struct {
        const char16_t* pattern;
        LONG options;
        const char* text;
        LONG end = -1;  // -1: the text's length
        bool reverse = false;
        LONG look_ahead = 2048;
    } rows[] = {
        {u"abc", 0, "xx<abc>xx"}, {u"abc", 0, "xx<abc>xx", 3},  // an occurrence may run past the limit
        {u"abc", 0, "xxabcxx", 2}, {u"abc", 0, "xxabcxx", -1, false, 2},
        {u"abc", 0, "abc", -1, false, 0},  // look-ahead 0 finds nothing
        {u"cat", poWholeWord, "a <cat> sat"}, {u"ABC", poIgnoreCase, "x<aBc>"}, {u"a b", poSkipSpaces, "<axb>"},
        {u"ab", 0, "ab-<ab>", -1, true}, {u"ab", 0, "<ab>-ab", 4, true},
        {u"a+", poRegExpression, "x<aaa>y"}, {u"a+", poRegExpression, "xaa<a>y", -1, true},
    };
    for (const auto& row : rows) {
        Put(row.pattern, row.options, row.look_ahead);
        const auto [text, found] = test::Unmark(row.text);
        const LONG end = row.end < 0 ? LONG(text.size()) : row.end;
        const SearchResult expected{found != test::kNone, found == test::kNone ? 0 : found.start,
                                    found == test::kNone ? end : found.end};
        const auto segment = Segment(std::u16string(text.begin(), text.end()));
        EXPECT_EQ(Search(segment.Get(), 0, end, row.reverse), expected) << row.text;
    }
    ASSERT_EQ(pattern_->put_Text(Bstr(u"y").Get()), S_OK);
    EXPECT_EQ(Search(Segment(u"xaaay").Get(), 0, 5), (SearchResult{true, 1, 4}))
        << "the program stays until Options is put";
}

TEST_P(PatternTest, CompileFailuresReportTheirMessage) {
    const std::tuple<const char16_t*, HRESULT, DWORD> rows[] = {
        {u"*a", kIllegalExpression, 85},
        {u"a**", static_cast<HRESULT>(0x80042909u), 88},
        {u"[abc", static_cast<HRESULT>(0x80042908u), 87},
    };
    for (const auto& [text, status, help_context] : rows) {
        SCOPED_TRACE(help_context);
        ASSERT_EQ(pattern_->put_Text(Bstr(text).Get()), S_OK);
        EXPECT_EQ(pattern_->put_Options(poRegExpression), status);
        const test::ErrorRecord record = test::TakeErrorRecord();
        EXPECT_EQ(std::tie(record.help_context, record.source, record.guid),
                  std::tuple(help_context, GetParam().source, IID_IPattern));
        LONG options = 0, start = 0, end = 1;
        pattern_->get_Options(&options);
        EXPECT_EQ(options, poRegExpression) << "the options stay as put";
        VARIANT_BOOL found = 7;
        EXPECT_EQ(pattern_->Find(Segment(u"x").Get(), &start, &end, &found), kIllegalExpression)
            << "no program: the search reports an illegal expression";
        EXPECT_EQ(found, 7) << "and writes nothing";
    }
}

TEST_P(PatternTest, AnEmptyPatternOrNoBufferSegmentReportsAndWritesNothing) {
    auto segment = Make<IBufferSegment>(*GetParam().segment);
    LONG start = 0, end = 0;
    VARIANT_BOOL found = 7;
    EXPECT_EQ(pattern_->Find(segment.Get(), &start, &end, &found), static_cast<HRESULT>(0x8004290Eu));
    EXPECT_EQ(pattern_->FindReverse(segment.Get(), &start, &end, &found), static_cast<HRESULT>(0x8004290Eu));
    EXPECT_EQ(test::TakeErrorRecord().description, u"Attempt to search using an empty Pattern.");
    ASSERT_EQ(pattern_->put_Text(Bstr(u"a").Get()), S_OK);
    auto buffer = Make<IEditBuffer>(*GetParam().buffer);
    EXPECT_EQ(pattern_->Find(nullptr, &start, &end, &found), E_POINTER);
    EXPECT_EQ(pattern_->Find(reinterpret_cast<IBufferSegment*>(buffer.Get()), &start, &end, &found), E_POINTER);
    EXPECT_EQ(found, 7);
}

// A buffer segment of the client's own that shows the library's segment through itself: a search must ask
// it for the interface, and give back every reference it took.
struct ClientSegment final : IBufferSegment {
    explicit ClientSegment(ComPtr<IBufferSegment> segment) : inner(std::move(segment)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        *ppv = iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IBufferSegment ? this : nullptr;
        if (!*ppv) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE get_MaxSize(LONG* size) override { return inner->get_MaxSize(size); }
    HRESULT STDMETHODCALLTYPE put_MaxSize(LONG size) override { return inner->put_MaxSize(size); }
    HRESULT STDMETHODCALLTYPE Begin(void** at) override { return inner->Begin(at); }
    HRESULT STDMETHODCALLTYPE End(void** at) override { return inner->End(at); }
    HRESULT STDMETHODCALLTYPE CharacterSize(SHORT* size) override { return inner->CharacterSize(size); }
    HRESULT STDMETHODCALLTYPE SegBegin(void** at) override { return inner->SegBegin(at); }
    HRESULT STDMETHODCALLTYPE SegEnd(void** at) override { return inner->SegEnd(at); }
    HRESULT STDMETHODCALLTYPE NextSegment(void** at) override { return inner->NextSegment(at); }
    HRESULT STDMETHODCALLTYPE PrevSegment(void** at) override { return inner->PrevSegment(at); }
    HRESULT STDMETHODCALLTYPE get_Source(LONG o, LONG l, IUnknown** b) override { return inner->get_Source(o, l, b); }
    HRESULT STDMETHODCALLTYPE put_Source(LONG o, LONG l, IUnknown* b) override { return inner->put_Source(o, l, b); }
    HRESULT STDMETHODCALLTYPE Length(LONG* length) override { return inner->Length(length); }

    ComPtr<IBufferSegment> inner;
    ULONG refs = 1;
};

TEST_P(PatternTest, SearchesABufferSegmentOfTheClientsOwn) {
    Put(u"abc");
    ClientSegment client(Segment(u"xxabcxxabc"));
    for (const bool reverse : {false, true}) {
        EXPECT_EQ(Search(&client, 0, 10, reverse), (SearchResult{true, reverse ? 7 : 2, reverse ? 10 : 5}));
        EXPECT_EQ(client.refs, 1u) << "every reference taken is given back";
    }
}

INSTANTIATE_TEST_SUITE_P(
    BothWidths, PatternTest,
    ::testing::Values(Width{&CLSID_EditBufferA, &CLSID_BufferSegmentA, &CLSID_PatternA, u"Scrivix.PatternA.1"},
                      Width{&CLSID_EditBufferU, &CLSID_BufferSegmentU, &CLSID_PatternU, u"Scrivix.PatternU.1"}),
    [](const auto& info) { return info.param.pattern == &CLSID_PatternA ? "Ansi" : "Unicode"; });

}  // namespace
}  // namespace scrivix

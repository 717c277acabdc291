// The pattern object through IPattern: properties, the search contract over a real buffer segment for both
// character widths, compile failures with their messages, and the empty pattern.
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

namespace scrivix {
namespace {

struct Width {
    const CLSID* buffer;
    const CLSID* segment;
    const CLSID* pattern;
    const char16_t* source;  // the ProgID error records name
};
const Width kAnsi{&CLSID_EditBufferA, &CLSID_BufferSegmentA, &CLSID_PatternA, u"Scrivix.PatternA.1"};
const Width kUnicode{&CLSID_EditBufferU, &CLSID_BufferSegmentU, &CLSID_PatternU, u"Scrivix.PatternU.1"};

template <class I>
ComPtr<I> Make(const CLSID& clsid) {
    ComPtr<I> object;
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, uuidof<I>(), object.PutVoid()), S_OK);
    return object;
}

// Whether found, then Start and End as the search left them.
using SearchResult = std::tuple<bool, LONG, LONG>;

class PatternTest : public ::testing::TestWithParam<Width> {
protected:
    void SetUp() override { pattern_ = Make<IPattern>(*GetParam().pattern); }

    // A segment over a new buffer holding `text`.
    ComPtr<IBufferSegment> Segment(std::u16string_view text) {
        auto buffer = Make<IEditBuffer>(*GetParam().buffer);
        EXPECT_EQ(buffer->Text(Bstr(text).Get()), S_OK);
        auto segment = Make<IBufferSegment>(*GetParam().segment);
        EXPECT_EQ(segment->put_Source(0, 0, buffer.Get()), S_OK);
        return segment;
    }

    // Searches `buffer_text` from [start, end) in the given direction.
    SearchResult Search(std::u16string_view buffer_text, LONG start, LONG end, bool reverse = false) {
        auto segment = Segment(buffer_text);
        VARIANT_BOOL found = 7;
        const HRESULT hr = reverse ? pattern_->FindReverse(segment.Get(), &start, &end, &found)
                                   : pattern_->Find(segment.Get(), &start, &end, &found);
        EXPECT_EQ(hr, S_OK);
        EXPECT_TRUE(found == VARIANT_TRUE || found == VARIANT_FALSE);
        return {found == VARIANT_TRUE, start, end};
    }

    ComPtr<IPattern> pattern_;
};

TEST_P(PatternTest, ANewPattern) {
    LONG value = -1;
    EXPECT_EQ(pattern_->get_LookAhead(&value), S_OK);
    EXPECT_EQ(value, 2048);
    EXPECT_EQ(pattern_->get_Options(&value), S_OK);
    EXPECT_EQ(value, 0);
    Bstr text;
    EXPECT_EQ(pattern_->get_Text(text.Put()), S_OK);
    EXPECT_FALSE(text.IsNull());
    EXPECT_EQ(text.View(), u"");
    EXPECT_EQ(pattern_.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_IPattern), S_OK);
    EXPECT_FALSE(pattern_.As<IConnectionPointContainer>());
}

// The search contract, with each option and the look-ahead passed on to the searches.
TEST_P(PatternTest, Searches) {
    struct Row {
        const char16_t* pattern;
        LONG options;
        const char16_t* text;
        LONG start, end;
        SearchResult expected;
        bool reverse = false;
        LONG look_ahead = 2048;
    };
    const Row rows[] = {
        {u"abc", 0, u"xxabcxx", 0, 7, {true, 2, 5}},
        {u"abc", 0, u"xxabcxx", 0, 3, {true, 2, 5}},   // an occurrence may run past the limit
        {u"abc", 0, u"xxabcxx", 0, 2, {false, 0, 2}},  // a miss leaves Start and End
        {u"abc", 0, u"xxabcxx", 0, 7, {false, 0, 7}, false, 2},
        {u"abc", 0, u"abc", 0, 3, {false, 0, 3}, false, 0},  // look-ahead 0 finds nothing
        {u"cat", poWholeWord, u"a cat sat", 0, 9, {true, 2, 5}},
        {u"ABC", poIgnoreCase, u"xaBc", 0, 4, {true, 1, 4}},
        {u"a b", poSkipSpaces, u"axb", 0, 3, {true, 0, 3}},
        {u"ab", 0, u"ab-ab", 0, 5, {true, 3, 5}, true},
        {u"ab", 0, u"ab-ab", 0, 4, {true, 0, 2}, true},
        {u"a+", poRegExpression, u"xaaay", 0, 5, {true, 1, 4}},
        {u"a+", poRegExpression, u"xaaay", 0, 5, {true, 3, 4}, true},
    };
    for (const Row& row : rows) {
        ASSERT_EQ(pattern_->put_Text(Bstr(row.pattern).Get()), S_OK);
        ASSERT_EQ(pattern_->put_Options(row.options), S_OK);
        ASSERT_EQ(pattern_->put_LookAhead(row.look_ahead), S_OK);
        EXPECT_EQ(Search(row.text, row.start, row.end, row.reverse), row.expected) << "row " << (&row - rows);
    }
    ASSERT_EQ(pattern_->put_Text(Bstr(u"y").Get()), S_OK);
    EXPECT_EQ(Search(u"xaaay", 0, 5), (SearchResult{true, 1, 4})) << "the program stays until Options is put";
}

// Failures and their records.
TEST_P(PatternTest, CompileFailuresReportTheirMessage) {
    const std::tuple<const char16_t*, HRESULT, DWORD> rows[] = {
        {u"*a", static_cast<HRESULT>(0x80042906u), 85},
        {u"a**", static_cast<HRESULT>(0x80042909u), 88},
        {u"[abc", static_cast<HRESULT>(0x80042908u), 87},
    };
    for (const auto& [text, status, help_context] : rows) {
        SCOPED_TRACE(help_context);
        ASSERT_EQ(pattern_->put_Text(Bstr(text).Get()), S_OK);
        EXPECT_EQ(pattern_->put_Options(poRegExpression), status);
        const test::ErrorRecord record = test::TakeErrorRecord();
        EXPECT_EQ(record.help_context, help_context);
        EXPECT_EQ(record.source, GetParam().source);
        EXPECT_EQ(record.guid, IID_IPattern);
        LONG options = 0, start = 0, end = 1;
        pattern_->get_Options(&options);
        EXPECT_EQ(options, poRegExpression) << "the options stay as put";
        VARIANT_BOOL found = 7;
        EXPECT_EQ(pattern_->Find(Segment(u"x").Get(), &start, &end, &found), static_cast<HRESULT>(0x80042906u))
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

// A buffer segment of the client's own that shows the library's segment through itself: a search must
// ask it for the interface, and give back every reference it took.
class ClientSegment final : public IBufferSegment {
public:
    explicit ClientSegment(ComPtr<IBufferSegment> inner) : inner_(std::move(inner)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
        *ppv = nullptr;
        if (iid != IID_IUnknown && iid != IID_IDispatch && iid != IID_IBufferSegment) return E_NOINTERFACE;
        *ppv = static_cast<IBufferSegment*>(this);
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
    HRESULT STDMETHODCALLTYPE get_MaxSize(LONG* size) override { return inner_->get_MaxSize(size); }
    HRESULT STDMETHODCALLTYPE put_MaxSize(LONG size) override { return inner_->put_MaxSize(size); }
    HRESULT STDMETHODCALLTYPE Begin(void** at) override { return inner_->Begin(at); }
    HRESULT STDMETHODCALLTYPE End(void** at) override { return inner_->End(at); }
    HRESULT STDMETHODCALLTYPE CharacterSize(SHORT* size) override { return inner_->CharacterSize(size); }
    HRESULT STDMETHODCALLTYPE SegBegin(void** at) override { return inner_->SegBegin(at); }
    HRESULT STDMETHODCALLTYPE SegEnd(void** at) override { return inner_->SegEnd(at); }
    HRESULT STDMETHODCALLTYPE NextSegment(void** at) override { return inner_->NextSegment(at); }
    HRESULT STDMETHODCALLTYPE PrevSegment(void** at) override { return inner_->PrevSegment(at); }
    HRESULT STDMETHODCALLTYPE get_Source(LONG origin, LONG limit, IUnknown** buffer) override {
        return inner_->get_Source(origin, limit, buffer);
    }
    HRESULT STDMETHODCALLTYPE put_Source(LONG origin, LONG limit, IUnknown* buffer) override {
        return inner_->put_Source(origin, limit, buffer);
    }
    HRESULT STDMETHODCALLTYPE Length(LONG* length) override { return inner_->Length(length); }

    ULONG refs = 1;

private:
    ComPtr<IBufferSegment> inner_;
};

TEST_P(PatternTest, SearchesABufferSegmentOfTheClientsOwn) {
    ASSERT_EQ(pattern_->put_Text(Bstr(u"abc").Get()), S_OK);
    ClientSegment client(Segment(u"xxabcxxabc"));
    for (bool reverse : {false, true}) {
        LONG start = 0, end = 10;
        VARIANT_BOOL found = VARIANT_FALSE;
        EXPECT_EQ(reverse ? pattern_->FindReverse(&client, &start, &end, &found)
                          : pattern_->Find(&client, &start, &end, &found),
                  S_OK);
        EXPECT_EQ(found, VARIANT_TRUE);
        EXPECT_EQ(start, reverse ? 7 : 2);
        EXPECT_EQ(client.refs, 1u) << "every reference taken is given back";
    }
}

INSTANTIATE_TEST_SUITE_P(BothWidths, PatternTest, ::testing::Values(kAnsi, kUnicode),
                         [](const auto& info) { return info.param.pattern == &CLSID_PatternA ? "Ansi" : "Unicode"; });

TEST(PatternText, EightBitTextWidensBySignExtension) {
    auto pattern = Make<IPattern>(CLSID_PatternA);
    pattern->put_Text(Bstr(u"\u00E9").Get());
    Bstr text;
    pattern->get_Text(text.Put());
    EXPECT_EQ(text.View(), u"\uFFE9");
}

}  // namespace
}  // namespace scrivix

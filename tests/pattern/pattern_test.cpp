// The pattern object through IPattern: properties, the search contract over a real buffer segment for both
// character widths, compile failures with their messages, and the empty pattern.
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>

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

struct SearchResult {
    bool found;
    LONG start, end;
    bool operator==(const SearchResult&) const = default;
};
std::ostream& operator<<(std::ostream& out, const SearchResult& r) {
    return out << (r.found ? "found [" : "not found [") << r.start << ", " << r.end << ")";
}

class PatternTest : public ::testing::TestWithParam<Width> {
protected:
    void SetUp() override { pattern_ = Make<IPattern>(*GetParam().pattern); }

    void SetText(std::u16string_view text) { ASSERT_EQ(pattern_->put_Text(Bstr(text).Get()), S_OK); }

    // Searches `buffer_text` from [start, end) in the given direction.
    SearchResult Search(std::u16string_view buffer_text, LONG start, LONG end, bool reverse = false) {
        auto buffer = Make<IEditBuffer>(*GetParam().buffer);
        EXPECT_EQ(buffer->Text(Bstr(buffer_text).Get()), S_OK);
        auto segment = Make<IBufferSegment>(*GetParam().segment);
        EXPECT_EQ(segment->put_Source(0, 0, buffer.Get()), S_OK);
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
    auto support = pattern_.As<ISupportErrorInfo>();
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IPattern), S_OK);
    EXPECT_FALSE(pattern_.As<IConnectionPointContainer>());
}

// The search contract.
TEST_P(PatternTest, FindsWithinTheSearchLimit) {
    SetText(u"abc");
    EXPECT_EQ(Search(u"xxabcxx", 0, 7), (SearchResult{true, 2, 5}));
    EXPECT_EQ(Search(u"xxabcxx", 0, 3), (SearchResult{true, 2, 5})) << "an occurrence may run past the limit";
    EXPECT_EQ(Search(u"xxabcxx", 0, 2), (SearchResult{false, 0, 2})) << "a miss leaves Start and End";
    pattern_->put_LookAhead(2);
    EXPECT_EQ(Search(u"xxabcxx", 0, 7), (SearchResult{false, 0, 7}));
    pattern_->put_LookAhead(0);
    EXPECT_EQ(Search(u"abc", 0, 3), (SearchResult{false, 0, 3})) << "look-ahead 0 finds nothing";
}

TEST_P(PatternTest, TheLiteralSearchNeverBacksUp) {
    SetText(u"aab");
    EXPECT_FALSE(Search(u"aaab", 0, 4).found);
    EXPECT_EQ(Search(u"xaab", 0, 4), (SearchResult{true, 1, 4}));
}

TEST_P(PatternTest, WholeWordIsBoundedByWhiteSpace) {
    SetText(u"cat");
    pattern_->put_Options(poWholeWord);
    EXPECT_EQ(Search(u"a cat sat", 0, 9), (SearchResult{true, 2, 5}));
    EXPECT_EQ(Search(u"cat sat", 0, 7), (SearchResult{true, 0, 3}));
    EXPECT_FALSE(Search(u"a cat.", 0, 6).found);
    EXPECT_FALSE(Search(u"concat x", 0, 8).found);
}

TEST_P(PatternTest, IgnoreCaseFoldsAsciiOnly) {
    SetText(u"ABC");
    pattern_->put_Options(poIgnoreCase);
    EXPECT_TRUE(Search(u"xabc", 0, 4).found);
    EXPECT_TRUE(Search(u"aBc", 0, 3).found);
    SetText(u"\u00C9");
    EXPECT_FALSE(Search(u"\u00E9", 0, 1).found);
}

TEST_P(PatternTest, FindReverse) {
    SetText(u"ab");
    EXPECT_EQ(Search(u"ab-ab", 0, 5, true), (SearchResult{true, 3, 5}));
    EXPECT_EQ(Search(u"ab-ab", 0, 4, true), (SearchResult{true, 0, 2}));
}

TEST_P(PatternTest, RegularExpressions) {
    SetText(u"a+");
    ASSERT_EQ(pattern_->put_Options(poRegExpression), S_OK);
    EXPECT_EQ(Search(u"xaaay", 0, 5), (SearchResult{true, 1, 4}));
    EXPECT_EQ(Search(u"xaaay", 0, 5, true), (SearchResult{true, 3, 4}));
    SetText(u"y");
    EXPECT_EQ(Search(u"xaaay", 0, 5), (SearchResult{true, 1, 4})) << "the program stays until Options is put";
}

// Failures and their records.
TEST_P(PatternTest, CompileFailuresReportTheirMessage) {
    struct Row {
        const char16_t* text;
        const char* label;
        HRESULT status;
        DWORD help_context;
    };
    const Row rows[] = {
        {u"*a", "*a", static_cast<HRESULT>(0x80042906u), 85},
        {u"a**", "a**", static_cast<HRESULT>(0x80042909u), 88},
        {u"[abc", "[abc", static_cast<HRESULT>(0x80042908u), 87},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        SetText(row.text);
        EXPECT_EQ(pattern_->put_Options(poRegExpression), row.status);
        const test::ErrorRecord record = test::TakeErrorRecord();
        EXPECT_EQ(record.help_context, row.help_context);
        EXPECT_EQ(record.source, GetParam().source);
        EXPECT_EQ(record.guid, IID_IPattern);
        LONG options = 0;
        pattern_->get_Options(&options);
        EXPECT_EQ(options, poRegExpression) << "the options stay as put";
        LONG start = 0, end = 1;
        VARIANT_BOOL found = 7;
        auto buffer = Make<IEditBuffer>(*GetParam().buffer);
        buffer->Text(Bstr(u"x").Get());
        auto segment = Make<IBufferSegment>(*GetParam().segment);
        segment->put_Source(0, 0, buffer.Get());
        EXPECT_EQ(pattern_->Find(segment.Get(), &start, &end, &found), static_cast<HRESULT>(0x80042906u))
            << "no program: the search reports an illegal expression";
        EXPECT_EQ(found, 7) << "and writes nothing";
    }
}

TEST_P(PatternTest, AnEmptyPatternReportsAndWritesNothing) {
    auto segment = Make<IBufferSegment>(*GetParam().segment);
    LONG start = 0, end = 0;
    VARIANT_BOOL found = 7;
    EXPECT_EQ(pattern_->Find(segment.Get(), &start, &end, &found), static_cast<HRESULT>(0x8004290Eu));
    EXPECT_EQ(pattern_->FindReverse(segment.Get(), &start, &end, &found), static_cast<HRESULT>(0x8004290Eu));
    EXPECT_EQ(found, 7);
    EXPECT_EQ(test::TakeErrorRecord().description, u"Attempt to search using an empty Pattern.");
}

TEST_P(PatternTest, ASourceThatIsNoBufferSegmentFails) {
    SetText(u"a");
    auto buffer = Make<IEditBuffer>(*GetParam().buffer);
    LONG start = 0, end = 0;
    VARIANT_BOOL found = 7;
    EXPECT_EQ(pattern_->Find(nullptr, &start, &end, &found), E_POINTER);
    EXPECT_EQ(pattern_->Find(reinterpret_cast<IBufferSegment*>(buffer.Get()), &start, &end, &found), E_POINTER);
    EXPECT_EQ(found, 7);
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

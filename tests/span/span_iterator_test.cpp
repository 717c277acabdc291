// The span iterator through ISpanIterator, for both widths: the documented walks over brackets, quotes
// and comments, targets without closing, the end of the search, the parts of a result, numbering and
// messages, Clear, replacement while iterating and edits of the source; and its reaction to an edit as the
// pure function.
#include "span/span_adjustment.h"

#include "interfaces/messages.h"
#include "support/text_segments.h"

#include <tuple>
#include <vector>

namespace scrivix::test {
namespace {

// The current result: the text of Current(What), MatchedBy, Offset and Length.
using Result = std::tuple<std::u16string, LONG, LONG, LONG>;
LONG MatchedBy(const Result& result) { return std::get<1>(result); }
using Texts = std::vector<std::u16string>;

class SpanIteratorTest : public ::testing::TestWithParam<Width> {
protected:
    void Bind(std::u16string_view text) {
        source_ = NewSegment(text, GetParam());
        iterator_ = MakeByName<ISpanIterator>(u"Scrivix.SpanIterator");
        ASSERT_EQ(iterator_->put_PatternClass(Bstr(GetParam().pattern_class).Get()), S_OK);
        ASSERT_EQ(iterator_->put_Source(source_.Get()), S_OK);
    }
    // Adds a span made by the iterator and gives its number.
    LONG Target(std::u16string_view opening, std::u16string_view closing, LONG options = 3) {
        return Add(true, opening, closing, options);
    }
    LONG Ignore(std::u16string_view opening, std::u16string_view closing, LONG options = 3) {
        return Add(false, opening, closing, options);
    }
    LONG Add(bool target, std::u16string_view opening, std::u16string_view closing, LONG options) {
        LONG id = -1;
        const Bstr open(opening), close(closing);
        EXPECT_EQ(target ? iterator_->NewTarget(open.Get(), 0, close.Get(), 0, options, &id)
                         : iterator_->NewIgnore(open.Get(), 0, close.Get(), 0, options, &id),
                  S_OK);
        return id;
    }
    Result Current(SHORT what = 4) {
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->get_Current(what, found.Put()), S_OK);
        LONG matched = -2, offset = -2, length = -2;
        iterator_->get_MatchedBy(&matched);
        iterator_->get_Offset(&offset);
        iterator_->get_Length(&length);
        return {TextOf(found.Get()), matched, offset, length};
    }
    // The texts of the segments Next (or First) hands out.
    std::u16string Next() {
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->Next(found.Put()), S_OK);
        return TextOf(found.Get());
    }
    std::u16string First() {
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->First(0, found.Put()), S_OK);
        return TextOf(found.Get());
    }
    // Every result from First(0) on, as the result segments give them.
    Texts Walk() {
        Texts texts;
        for (std::u16string text = First(); MatchedBy(Current()) != -1 && texts.size() < 100; text = Next()) {
            texts.push_back(text);
        }
        return texts;
    }

    ComPtr<ITextSegment> source_;
    ComPtr<ISpanIterator> iterator_;
};
SCRIVIX_FOR_BOTH_WIDTHS(SpanIteratorTest);

// The documented walks: brackets flat and nested, several kinds, ignore spans (quotes, comments of both
// kinds), targets without closing and unterminated openings. Each ends with End true.

struct SpanDef {
    std::u16string opening, closing;
    LONG options = 3;
};
const struct {
    const char* what;
    std::u16string text;
    std::vector<SpanDef> targets, ignores;
    Texts results;
} kWalks[] = {
    {"flat brackets close at the first closing", u"(a(b)c)", {{u"(", u")"}}, {}, {u"(a(b)", u"(b)"}},
    {"nested brackets balance", u"(a(b)c)", {{u"(", u")", 3 | soNested}}, {}, {u"(a(b)c)", u"(b)"}},
    {"several kinds, in the order of their openings", u"f(a[i], {b}) [x(y)]",
     {{u"(", u")", 3 | soNested}, {u"[", u"]", 3 | soNested}, {u"{", u"}", 3 | soNested}}, {},
     {u"(a[i], {b})", u"[i]", u"{b}", u"[x(y)]", u"(y)"}},
    {"quotes hide the brackets inside them", u"a\"(b\"c(x)d", {{u"(", u")"}}, {{u"\"", u"\""}}, {u"(x)"}},
    // Without soIncludeClosing the search resumes at the closing quote, which opens the ignore span again.
    {"a quote that leaves its closing out opens again there: (x) lies between the second and third quote",
     u"\"a\" (x) \"b\" (y)", {{u"(", u")"}}, {{u"\"", u"\"", 1}}, {u"(y)"}},
    {"a quote that includes its closing", u"\"a\" (x) \"b\" (y)", {{u"(", u")"}}, {{u"\"", u"\""}},
     {u"(x)", u"(y)"}},
    {"comments of both kinds; an unterminated ignore opening hides nothing",
     u"/* ( */ (y) // (z\n[w] \"]\" /* unterminated (q)", {{u"(", u")", 3 | soNested}, {u"[", u"]", 3 | soNested}},
     {{u"/*", u"*/"}, {u"//", u"\n"}, {u"\"", u"\""}}, {u"(y)", u"[w]", u"(q)"}},
    {"a target without closing is its opening alone", u"axbxx", {{u"x", u""}}, {}, {u"x", u"x", u"x"}},
    {"an unterminated target opening is passed over", u"((a)(b", {{u"(", u")", 3 | soNested}}, {}, {u"(a)"}},
};

TEST_P(SpanIteratorTest, Walks) {
    for (const auto& walk : kWalks) {
        SCOPED_TRACE(walk.what);
        Bind(walk.text);
        for (const SpanDef& s : walk.targets) Target(s.opening, s.closing, s.options);
        for (const SpanDef& s : walk.ignores) Ignore(s.opening, s.closing, s.options);
        EXPECT_EQ(Walk(), walk.results);
        VARIANT_BOOL at_end = VARIANT_FALSE;
        EXPECT_EQ(iterator_->End(&at_end), S_OK);
        EXPECT_EQ(at_end, VARIANT_TRUE);
    }
}

// At the end, Next hands out the empty segment at the source's end; an ignore span that ends the source
// ends the search too, and then Next leaves its result alone.
TEST_P(SpanIteratorTest, NextAtTheEnd) {
    Bind(u"(a) bc");
    Target(u"(", u")");
    First();
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(RangeOf(found.Get()), (Range{6, 6}));
    EXPECT_EQ(Current(), (Result{u"", -1, -1, 0}));

    Bind(u"(a) \"b\"");
    Target(u"(", u")");
    Ignore(u"\"", u"\"");
    EXPECT_EQ(First(), u"(a)");
    auto* untouched = reinterpret_cast<ITextSegment*>(0x1);
    EXPECT_EQ(iterator_->Next(&untouched), S_OK);
    EXPECT_EQ(untouched, reinterpret_cast<ITextSegment*>(0x1)) << "Result is not written";
}

// The parts of a result: What of Current, and the span's options for Offset, Length and what Next hands out.
TEST_P(SpanIteratorTest, ThePartsOfAResult) {
    Bind(u"x <<abc>> y");
    Target(u"<<", u">>");
    First();
    const std::pair<SHORT, std::u16string_view> parts[] = {
        {soOpeningOnly, u"<<"}, {soClosingOnly, u">>"}, {soDefault, u"<<abc>>"}, {3, u"<<abc>>"},
        {0x100 | soOpeningOnly, u"<<"}};
    for (auto [what, text] : parts) EXPECT_EQ(std::get<0>(Current(what)), text) << "What " << what;

    const struct {
        LONG options, offset, length;
        std::u16string_view handed_out;
    } cases[] = {{3, 2, 7, u"<<abc>>"}, {1, 2, 5, u"<<abc>>"}, {2, 4, 5, u"<<abc>>"}, {0, 4, 3, u"<<abc>>"},
                 {soClosingOnly, 4, 3, u">>"}};
    for (const auto& c : cases) {
        iterator_->Clear(VARIANT_TRUE);
        Target(u"<<", u">>", c.options);
        EXPECT_EQ(First(), c.handed_out) << "options " << c.options;
        const Result result = Current();
        EXPECT_EQ(std::get<2>(result), c.offset) << "options " << c.options;
        EXPECT_EQ(std::get<3>(result), c.length) << "options " << c.options;
    }
}

// Numbers, lists and messages.

TEST_P(SpanIteratorTest, NumbersAndTheLists) {
    Bind(u"abc");
    EXPECT_EQ(Target(u"a", u""), 0);
    EXPECT_EQ(Target(u"b", u"c"), 1);
    EXPECT_EQ(Ignore(u"c", u""), 0);
    ComPtr<ISpan> span;
    ComPtr<IPattern> closing;
    Bstr text;
    EXPECT_EQ(iterator_->get_Target(1, span.Put()), S_OK);
    span->get_Closing(closing.Put());
    closing->get_Text(text.Put());
    EXPECT_EQ(text.View(), u"c");
    for (LONG index : {-1, 2}) {
        EXPECT_EQ(iterator_->get_Target(index, span.Put()), MessageStatus(10507));
        EXPECT_FALSE(span);
        EXPECT_EQ(TakeErrorRecord().description, u"Invalid Pattern index.");
    }
    EXPECT_EQ(iterator_->get_Ignore(1, span.Put()), MessageStatus(10507));

    // Spans that cannot be searched are numbered all the same.
    Bind(u"(a)");
    LONG id = -1;
    EXPECT_EQ(iterator_->AddTarget(nullptr, &id), E_POINTER);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(iterator_->AddTarget(MakeByName<ISpan>(u"Scrivix.Span").Get(), &id), E_INVALIDARG) << "no opening";
    EXPECT_EQ(id, 1);
    EXPECT_EQ(iterator_->get_Target(0, span.Put()), E_POINTER);
    EXPECT_EQ(iterator_->get_Target(1, span.Put()), S_OK);
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10501)) << "the opening iterator has nothing to search for";
}

TEST_P(SpanIteratorTest, Messages) {
    iterator_ = MakeByName<ISpanIterator>(u"Scrivix.SpanIterator");
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10500));
    const ErrorRecord record = TakeErrorRecord();
    EXPECT_EQ(record.description, u"Iterator is not bound to a Source.");
    EXPECT_EQ(record.source, u"Scrivix.SpanIterator.1");
    EXPECT_EQ(record.help_context, 83u);
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get(), 4), MessageStatus(10500));
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(iterator_->get_Current(4, segment.Put()), MessageStatus(10500));

    Bind(u"(a)");
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10509));
    EXPECT_EQ(TakeErrorRecord().help_context, 92u);
    Target(u"(", u")");
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get(), 4), MessageStatus(10508));
    EXPECT_EQ(TakeErrorRecord().description, u"No current selection.");
}

TEST_P(SpanIteratorTest, ClearForgetsTheOpeningsOfRemovedSpans) {
    Bind(u"(a) [b] (c)");
    Target(u"(", u")");
    First();
    EXPECT_EQ(iterator_->Clear(VARIANT_FALSE), S_OK);
    EXPECT_EQ(MatchedBy(Current()), -1);
    Target(u"[", u"]");
    EXPECT_EQ(Next(), u"[b]");
    Next();
    EXPECT_EQ(MatchedBy(Current()), -1) << "(c) belongs to a removed span";
    EXPECT_EQ(iterator_->Clear(VARIANT_TRUE), S_OK);
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10509));
}

// Replacement and edits: an edit drops the result; the search goes on behind the new text.

TEST_P(SpanIteratorTest, ReplacingWhileIterating) {
    Bind(u"f(a) g(b(c)) h");
    Target(u"(", u")", 3 | soNested);
    int replaced = 0;
    for (First(); MatchedBy(Current()) != -1 && replaced < 10; Next(), ++replaced) {
        ASSERT_EQ(iterator_->Replace(Bstr(u"<<").Get(), soOpeningOnly), S_OK);
        EXPECT_EQ(MatchedBy(Current()), -1) << "the edit drops the result";
    }
    EXPECT_EQ(replaced, 3);
    EXPECT_EQ(TextOf(source_.Get()), u"f<<a) g<<b<<c)) h");

    Bind(u"a (b) (c) d");
    Target(u"(", u")");
    First();
    ASSERT_EQ(iterator_->Replace(Bstr(u"(xyz)").Get(), soDefault), S_OK);
    EXPECT_EQ(Next(), u"(c)");
    EXPECT_EQ(TextOf(source_.Get()), u"a (xyz) (c) d");
}

TEST_P(SpanIteratorTest, EditsOfTheSourceMoveOrDropTheResult) {
    Bind(u"0123(56)89abcdefghij");
    Target(u"(", u")");
    First();
    ASSERT_EQ(Current(), (Result{u"(56)", 0, 4, 4}));
    ASSERT_EQ(source_->Replace(12, 14, nullptr), S_OK);
    EXPECT_EQ(Current(), (Result{u"(56)", 0, 4, 4})) << "an edit behind the span";
    ASSERT_EQ(source_->Replace(1, 3, nullptr), S_OK);
    EXPECT_EQ(Current(), (Result{u"(56)", -1, -1, 0})) << "a deletion in front of it moves it and drops it";
    First();
    ASSERT_EQ(source_->Replace(3, 4, Bstr(u"x").Get()), S_OK);
    EXPECT_EQ(MatchedBy(Current()), -1) << "an edit inside the body";

    // New text resets the iterator.
    First();
    ASSERT_NE(MatchedBy(Current()), -1);
    ASSERT_EQ(source_->put_Text(Bstr(u"[(c)]").Get()), S_OK);
    EXPECT_EQ(MatchedBy(Current()), -1);
    EXPECT_EQ(Next(), u"(c)");
}

// The reaction to an edit as the pure function, on a result with opening [4, 5) and closing [8, 9) over
// a source of 20 characters: the documented table, the front shift, pulling back to the source's end, and
// a failing length.

TEST(SpanAdjustment, TheDocumentedEdits) {
    constexpr SpanPositions kResult{0, 4, 5, 8, 9, 0}, kShifted{3, 4, 5, 8, 9, 0};
    const struct {
        SpanPositions before;
        SourceEdit edit;
        LONG length_after;
        SpanPositions expected;
    } cases[] = {
        {kResult, {0, 0, 3}, 23, {3, 4, 5, 8, 9, 0}},    // insertion at the source's start: only the front shift moves
        {kResult, {12, 2, 0}, 18, kResult},              // edits behind the span
        {kResult, {15, 0, 4}, 24, kResult},
        {kResult, {6, 1, 1}, 20, {0, 4, 5, 8, 9, -1}},   // inside the body
        {kResult, {9, 0, 2}, 22, {0, 4, 5, 8, 11, -1}},  // insertion at the span's end
        {kResult, {1, 2, 0}, 18, {0, 2, 3, 6, 7, -1}},   // deletion in front of the span
        {kResult, {8, 0, 1}, 21, {0, 4, 5, 8, 10, -1}},  // insertion at the closing's start joins the closing
        {kResult, {6, 14, 0}, 6, {0, 4, 5, 6, 6, -1}},   // the tail cut away: positions behind 6 at the new end
        {kShifted, {2, 1, 0}, 22, {2, 4, 5, 8, 9, 0}},   // the front shift counts before the positions
        {kShifted, {10, 0, 1}, 24, {3, 4, 5, 9, 10, -1}},
    };
    for (const auto& c : cases) {
        SpanPositions at = c.before;
        EXPECT_EQ(AdjustSpanToEdit(at, c.edit, [&](LONG& length) { length = c.length_after; return S_OK; }), S_OK);
        EXPECT_EQ(at, c.expected) << c.edit;
    }
    SpanPositions at = kResult;
    int asked = 0;
    EXPECT_EQ(AdjustSpanToEdit(at, {6, 1, 1}, [&](LONG&) { ++asked; return E_FAIL; }), E_FAIL)
        << "a failing length ends the adjustment";
    EXPECT_EQ(asked, 1);
}

}  // namespace
}  // namespace scrivix::test

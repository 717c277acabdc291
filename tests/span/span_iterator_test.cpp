// The span iterator through ISpanIterator, for both widths: the documented walks over brackets, quotes
// and comments, targets without closing, the end of the search, the parts of a result, numbering and
// messages, Clear, replacement while iterating, and edits of the source.
#include "span_fixture.h"

#include <vector>

namespace scrivix {
namespace {

using test::MakeByName;
using test::TextOf;
using test::TextWidth;

struct Stop {
    std::u16string text;
    LONG matched, offset, length;
    bool operator==(const Stop&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Stop& s) {
    return out << "'" << std::string(s.text.begin(), s.text.end()) << "' by " << s.matched << " at " << s.offset
               << " length " << s.length;
}

class SpanIteratorTest : public ::testing::TestWithParam<TextWidth> {
protected:
    void Bind(std::u16string_view text) {
        source_ = test::NewSegment(text, GetParam());
        iterator_ = MakeByName<ISpanIterator>(u"Scrivix.SpanIterator");
        ASSERT_EQ(iterator_->put_PatternClass(Bstr(GetParam().pattern_class).Get()), S_OK);
        ASSERT_EQ(iterator_->put_Source(source_.Get()), S_OK);
    }
    LONG Target(std::u16string_view opening, std::u16string_view closing, LONG options = 3) {
        LONG id = -1;
        EXPECT_EQ(iterator_->NewTarget(Bstr(opening).Get(), 0, Bstr(closing).Get(), 0, options, &id), S_OK);
        return id;
    }
    LONG Ignore(std::u16string_view opening, std::u16string_view closing, LONG options = 3) {
        LONG id = -1;
        EXPECT_EQ(iterator_->NewIgnore(Bstr(opening).Get(), 0, Bstr(closing).Get(), 0, options, &id), S_OK);
        return id;
    }
    Stop Current() {
        Stop stop{};
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->get_Current(4, found.Put()), S_OK);
        stop.text = TextOf(found.Get());
        iterator_->get_MatchedBy(&stop.matched);
        iterator_->get_Offset(&stop.offset);
        iterator_->get_Length(&stop.length);
        return stop;
    }
    // Every stop from First(0) on, as the result segments give them.
    std::vector<std::u16string> Walk() {
        std::vector<std::u16string> stops;
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->First(0, found.Put()), S_OK);
        for (LONG matched = 0; stops.size() < 100;) {
            iterator_->get_MatchedBy(&matched);
            if (matched == -1) break;
            stops.push_back(TextOf(found.Get()));
            EXPECT_EQ(iterator_->Next(found.Put()), S_OK);
        }
        return stops;
    }
    using Stops = std::vector<std::u16string>;

    ComPtr<ITextSegment> source_;
    ComPtr<ISpanIterator> iterator_;
};

// Brackets, flat and nested.

TEST_P(SpanIteratorTest, FlatBracketsCloseAtTheFirstClosing) {
    Bind(u"(a(b)c)");
    Target(u"(", u")");
    EXPECT_EQ(Walk(), (Stops{u"(a(b)", u"(b)"}));
    VARIANT_BOOL at_end = VARIANT_FALSE;
    EXPECT_EQ(iterator_->End(&at_end), S_OK);
    EXPECT_EQ(at_end, VARIANT_TRUE);
}

TEST_P(SpanIteratorTest, NestedBracketsBalance) {
    Bind(u"(a(b)c)");
    Target(u"(", u")", 3 | soNested);
    EXPECT_EQ(Walk(), (Stops{u"(a(b)c)", u"(b)"}));
}

TEST_P(SpanIteratorTest, SeveralKindsOfBracketsInTheOrderOfTheirOpenings) {
    Bind(u"f(a[i], {b}) [x(y)]");
    EXPECT_EQ(Target(u"(", u")", 3 | soNested), 0);
    EXPECT_EQ(Target(u"[", u"]", 3 | soNested), 1);
    EXPECT_EQ(Target(u"{", u"}", 3 | soNested), 2);
    EXPECT_EQ(Walk(), (Stops{u"(a[i], {b})", u"[i]", u"{b}", u"[x(y)]", u"(y)"}));
}

// Ignore spans.

TEST_P(SpanIteratorTest, QuotesHideTheBracketsInsideThem) {
    Bind(u"a\"(b\"c(x)d");
    Target(u"(", u")");
    Ignore(u"\"", u"\"");
    EXPECT_EQ(Walk(), (Stops{u"(x)"}));
}

// Without soIncludeClosing the search resumes at the closing quote, which opens the ignore span again.
TEST_P(SpanIteratorTest, AQuoteThatLeavesItsClosingOutOpensAgainThere) {
    Bind(u"\"a\" (x) \"b\" (y)");
    Target(u"(", u")");
    Ignore(u"\"", u"\"", 1);
    EXPECT_EQ(Walk(), (Stops{u"(y)"})) << "(x) lies between the second and the third quote";
    iterator_->Clear(VARIANT_TRUE);
    Target(u"(", u")");
    Ignore(u"\"", u"\"", 3);
    EXPECT_EQ(Walk(), (Stops{u"(x)", u"(y)"}));
}

TEST_P(SpanIteratorTest, CommentsOfBothKinds) {
    Bind(u"/* ( */ (y) // (z\n[w] \"]\" /* unterminated (q)");
    Target(u"(", u")", 3 | soNested);
    Target(u"[", u"]", 3 | soNested);
    Ignore(u"/*", u"*/");
    Ignore(u"//", u"\n");
    Ignore(u"\"", u"\"");
    EXPECT_EQ(Walk(), (Stops{u"(y)", u"[w]", u"(q)"})) << "an unterminated ignore opening hides nothing";
}

TEST_P(SpanIteratorTest, AnIgnoreSpanThatEndsTheSourceEndsTheSearch) {
    Bind(u"(a) \"b\"");
    Target(u"(", u")");
    Ignore(u"\"", u"\"");
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->First(0, found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u"(a)");
    ITextSegment* untouched = reinterpret_cast<ITextSegment*>(0x1);
    EXPECT_EQ(iterator_->Next(&untouched), S_OK);
    EXPECT_EQ(untouched, reinterpret_cast<ITextSegment*>(0x1)) << "Result is not written";
}

// Targets without closing, unterminated openings, the end.

TEST_P(SpanIteratorTest, ATargetWithoutClosingIsItsOpeningAlone) {
    Bind(u"axbxx");
    Target(u"x", u"");
    EXPECT_EQ(Walk(), (Stops{u"x", u"x", u"x"}));
    iterator_->First(0, nullptr);
    EXPECT_EQ(Current(), (Stop{u"x", 0, 1, 1}));
}

TEST_P(SpanIteratorTest, AnUnterminatedTargetOpeningIsPassedOver) {
    Bind(u"((a)(b");
    Target(u"(", u")", 3 | soNested);
    EXPECT_EQ(Walk(), (Stops{u"(a)"}));
}

TEST_P(SpanIteratorTest, NextAtTheEnd) {
    Bind(u"(a) bc");
    Target(u"(", u")");
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->First(0, found.Put()), S_OK);
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    ASSERT_TRUE(found);
    LONG origin = -1;
    found->Origin(&origin);
    EXPECT_EQ(origin, 6);
    EXPECT_EQ(TextOf(found.Get()), u"");
    EXPECT_EQ(Current(), (Stop{u"", -1, -1, 0}));
    VARIANT_BOOL at_end = VARIANT_FALSE;
    iterator_->End(&at_end);
    EXPECT_EQ(at_end, VARIANT_TRUE);
}

// The parts of a result.

TEST_P(SpanIteratorTest, WhatSelectsThePartOfTheResult) {
    Bind(u"x <<abc>> y");
    Target(u"<<", u">>");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    const auto part = [&](SHORT what) {
        ComPtr<ITextSegment> segment;
        EXPECT_EQ(iterator_->get_Current(what, segment.Put()), S_OK);
        return TextOf(segment.Get());
    };
    EXPECT_EQ(part(soOpeningOnly), u"<<");
    EXPECT_EQ(part(soClosingOnly), u">>");
    EXPECT_EQ(part(soDefault), u"<<abc>>");
    EXPECT_EQ(part(3), u"<<abc>>");
    EXPECT_EQ(part(0x100 | soOpeningOnly), u"<<");
}

TEST_P(SpanIteratorTest, OffsetAndLengthFollowTheSpansOptions) {
    Bind(u"x <<abc>> y");
    const struct {
        LONG options, offset, length;
    } cases[] = {{3, 2, 7}, {1, 2, 5}, {2, 4, 5}, {0, 4, 3}};
    for (const auto& c : cases) {
        iterator_->Clear(VARIANT_TRUE);
        Target(u"<<", u">>", c.options);
        ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
        LONG offset = 0, length = 0;
        iterator_->get_Offset(&offset);
        iterator_->get_Length(&length);
        EXPECT_EQ(offset, c.offset) << "options " << c.options;
        EXPECT_EQ(length, c.length) << "options " << c.options;
    }
}

TEST_P(SpanIteratorTest, ASpansOwnOptionsChooseWhatNextHandsOut) {
    Bind(u"x <<abc>> y");
    Target(u"<<", u">>", soClosingOnly);
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->First(0, found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u">>");
}

// Numbers, lists and messages.

TEST_P(SpanIteratorTest, NumbersAndTheLists) {
    Bind(u"abc");
    EXPECT_EQ(Target(u"a", u""), 0);
    EXPECT_EQ(Target(u"b", u"c"), 1);
    EXPECT_EQ(Ignore(u"c", u""), 0);
    ComPtr<ISpan> span;
    EXPECT_EQ(iterator_->get_Target(1, span.Put()), S_OK);
    ComPtr<IPattern> closing;
    span->get_Closing(closing.Put());
    Bstr text;
    closing->get_Text(text.Put());
    EXPECT_EQ(text.View(), u"c");
    for (LONG index : {-1, 2}) {
        EXPECT_EQ(iterator_->get_Target(index, span.Put()), MessageStatus(10507));
        EXPECT_FALSE(span);
        EXPECT_EQ(test::TakeErrorRecord().description, u"Invalid Pattern index.");
    }
    EXPECT_EQ(iterator_->get_Ignore(1, span.Put()), MessageStatus(10507));
}

TEST_P(SpanIteratorTest, Messages) {
    auto iterator = MakeByName<ISpanIterator>(u"Scrivix.SpanIterator");
    EXPECT_EQ(iterator->Next(nullptr), MessageStatus(10500));
    auto record = test::TakeErrorRecord();
    EXPECT_EQ(record.description, u"Iterator is not bound to a Source.");
    EXPECT_EQ(record.source, u"Scrivix.SpanIterator.1");
    EXPECT_EQ(record.help_context, 83u);
    EXPECT_EQ(iterator->Replace(Bstr(u"x").Get(), 4), MessageStatus(10500));
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(iterator->get_Current(4, segment.Put()), MessageStatus(10500));

    Bind(u"(a)");
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10509));
    EXPECT_EQ(test::TakeErrorRecord().help_context, 92u);
    Target(u"(", u")");
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get(), 4), MessageStatus(10508));
    EXPECT_EQ(test::TakeErrorRecord().description, u"No current selection.");
}

TEST_P(SpanIteratorTest, SpansThatCannotBeSearched) {
    Bind(u"(a)");
    LONG id = -1;
    EXPECT_EQ(iterator_->AddTarget(nullptr, &id), E_POINTER);
    EXPECT_EQ(id, 0);
    auto no_opening = MakeByName<ISpan>(u"Scrivix.Span");
    EXPECT_EQ(iterator_->AddTarget(no_opening.Get(), &id), E_INVALIDARG);
    EXPECT_EQ(id, 1);
    ComPtr<ISpan> span;
    EXPECT_EQ(iterator_->get_Target(0, span.Put()), E_POINTER);
    EXPECT_EQ(iterator_->get_Target(1, span.Put()), S_OK);
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10501)) << "the opening iterator has nothing to search for";
}

TEST_P(SpanIteratorTest, ClearForgetsTheOpeningsOfRemovedSpans) {
    Bind(u"(a) [b] (c)");
    Target(u"(", u")");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    EXPECT_EQ(iterator_->Clear(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Current().matched, -1);
    Target(u"[", u"]");
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u"[b]");
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(Current().matched, -1) << "(c) belongs to a removed span";
    EXPECT_EQ(iterator_->Clear(VARIANT_TRUE), S_OK);
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10509));
}

// Replacement and edits.

TEST_P(SpanIteratorTest, ReplacingWhileIterating) {
    Bind(u"f(a) g(b(c)) h");
    Target(u"(", u")", 3 | soNested);
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->First(0, found.Put()), S_OK);
    int replaced = 0;
    for (LONG matched = 0; matched != -1 && replaced < 10; iterator_->get_MatchedBy(&matched)) {
        ASSERT_EQ(iterator_->Replace(Bstr(u"<<").Get(), soOpeningOnly), S_OK);
        ++replaced;
        EXPECT_EQ(Current().matched, -1) << "the edit drops the result";
        ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    }
    EXPECT_EQ(replaced, 3);
    EXPECT_EQ(TextOf(source_.Get()), u"f<<a) g<<b<<c)) h");
}

TEST_P(SpanIteratorTest, ReplacingTheWholeSpan) {
    Bind(u"a (b) (c) d");
    Target(u"(", u")");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_EQ(iterator_->Replace(Bstr(u"(xyz)").Get(), soDefault), S_OK);
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u"(c)");
    EXPECT_EQ(TextOf(source_.Get()), u"a (xyz) (c) d");
}

TEST_P(SpanIteratorTest, EditsOfTheSourceMoveOrDropTheResult) {
    Bind(u"0123(56)89abcdefghij");
    Target(u"(", u")");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_EQ(Current(), (Stop{u"(56)", 0, 4, 4}));
    ASSERT_EQ(source_->Replace(12, 14, nullptr), S_OK);
    EXPECT_EQ(Current(), (Stop{u"(56)", 0, 4, 4})) << "an edit behind the span";
    ASSERT_EQ(source_->Replace(1, 3, nullptr), S_OK);
    EXPECT_EQ(Current(), (Stop{u"(56)", -1, -1, 0})) << "a deletion in front of it moves it and drops it";
    ComPtr<ITextSegment> whole;
    iterator_->get_Current(4, whole.Put());
    EXPECT_EQ(TextOf(whole.Get()), u"(56)");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_EQ(source_->Replace(3, 4, Bstr(u"x").Get()), S_OK);
    EXPECT_EQ(Current().matched, -1) << "an edit inside the body";
}

TEST_P(SpanIteratorTest, ANewTextResetsTheIterator) {
    Bind(u"(a) (b)");
    Target(u"(", u")");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_EQ(iterator_->Next(nullptr), S_OK);
    ASSERT_EQ(source_->put_Text(Bstr(u"[(c)]").Get()), S_OK);
    EXPECT_EQ(Current().matched, -1);
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u"(c)");
}

INSTANTIATE_TEST_SUITE_P(Widths, SpanIteratorTest, ::testing::Values(test::kNarrow, test::kWide),
                         [](const auto& info) { return info.index == 0 ? "Narrow" : "Wide"; });

}  // namespace
}  // namespace scrivix

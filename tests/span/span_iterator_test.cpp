// The span iterator through ISpanIterator, for both widths: the documented walks over brackets, quotes
// and comments, targets without closing, the end of the search, the parts of a result, numbering and
// messages, Clear, replacement while iterating, and edits of the source.
#include "interfaces/messages.h"
#include "support/text_segments.h"

#include <vector>

namespace scrivix::test {
namespace {

struct Stop {
    std::u16string text;
    LONG matched, offset, length;
    bool operator==(const Stop&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Stop& s) {
    return out << "'" << std::string(s.text.begin(), s.text.end()) << "' by " << s.matched << " at " << s.offset
               << " length " << s.length;
}
using Stops = std::vector<std::u16string>;

class SpanIteratorTest : public ::testing::TestWithParam<Width> {
protected:
    void Bind(std::u16string_view text) {
        source_ = NewSegment(text, GetParam());
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
    Stop Current(SHORT what = 4) {
        Stop stop{};
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->get_Current(what, found.Put()), S_OK);
        stop.text = TextOf(found.Get());
        iterator_->get_MatchedBy(&stop.matched);
        iterator_->get_Offset(&stop.offset);
        iterator_->get_Length(&stop.length);
        return stop;
    }
    // Every stop from First(0) on, as the result segments give them.
    Stops Walk() {
        Stops stops;
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

    ComPtr<ITextSegment> source_;
    ComPtr<ISpanIterator> iterator_;
};
SCRIVIX_FOR_BOTH_WIDTHS(SpanIteratorTest);

// The documented walks: brackets flat and nested, several kinds, ignore spans (quotes, comments of both
// kinds), targets without closing and unterminated openings.

struct SpanDef {
    std::u16string opening, closing;
    LONG options = 3;
};
struct SpanWalk {
    const char* what;
    std::u16string text;
    std::vector<SpanDef> targets, ignores;
    Stops stops;
};

const SpanWalk kWalks[] = {
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
    for (const SpanWalk& walk : kWalks) {
        SCOPED_TRACE(walk.what);
        Bind(walk.text);
        for (const SpanDef& s : walk.targets) Target(s.opening, s.closing, s.options);
        for (const SpanDef& s : walk.ignores) Ignore(s.opening, s.closing, s.options);
        EXPECT_EQ(Walk(), walk.stops);
        VARIANT_BOOL at_end = VARIANT_FALSE;
        EXPECT_EQ(iterator_->End(&at_end), S_OK);
        EXPECT_EQ(at_end, VARIANT_TRUE);
    }
}

// The end of the search.

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
    EXPECT_EQ(Current(), (Stop{u"", -1, -1, 0}));

    // An ignore span that ends the source ends the search, and Next leaves its result alone.
    Bind(u"(a) \"b\"");
    Target(u"(", u")");
    Ignore(u"\"", u"\"");
    ASSERT_EQ(iterator_->First(0, found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u"(a)");
    ITextSegment* untouched = reinterpret_cast<ITextSegment*>(0x1);
    EXPECT_EQ(iterator_->Next(&untouched), S_OK);
    EXPECT_EQ(untouched, reinterpret_cast<ITextSegment*>(0x1)) << "Result is not written";
}

// The parts of a result: What of Current, and the span's options for Offset, Length and what Next hands out.

TEST_P(SpanIteratorTest, ThePartsOfAResult) {
    Bind(u"x <<abc>> y");
    Target(u"<<", u">>");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    const std::pair<SHORT, std::u16string_view> parts[] = {
        {soOpeningOnly, u"<<"}, {soClosingOnly, u">>"}, {soDefault, u"<<abc>>"}, {3, u"<<abc>>"},
        {0x100 | soOpeningOnly, u"<<"}};
    for (auto [what, text] : parts) EXPECT_EQ(Current(what).text, text) << "What " << what;

    // The span's options choose Offset and Length, and a What among them the part Next hands out.
    const struct {
        LONG options, offset, length;
    } cases[] = {{3, 2, 7}, {1, 2, 5}, {2, 4, 5}, {0, 4, 3}};
    for (const auto& c : cases) {
        iterator_->Clear(VARIANT_TRUE);
        Target(u"<<", u">>", c.options);
        ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
        const Stop stop = Current();
        EXPECT_EQ(stop.offset, c.offset) << "options " << c.options;
        EXPECT_EQ(stop.length, c.length) << "options " << c.options;
    }
    iterator_->Clear(VARIANT_TRUE);
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
        EXPECT_EQ(TakeErrorRecord().description, u"Invalid Pattern index.");
    }
    EXPECT_EQ(iterator_->get_Ignore(1, span.Put()), MessageStatus(10507));

    // Spans that cannot be searched are numbered all the same.
    Bind(u"(a)");
    LONG id = -1;
    EXPECT_EQ(iterator_->AddTarget(nullptr, &id), E_POINTER);
    EXPECT_EQ(id, 0);
    auto no_opening = MakeByName<ISpan>(u"Scrivix.Span");
    EXPECT_EQ(iterator_->AddTarget(no_opening.Get(), &id), E_INVALIDARG);
    EXPECT_EQ(id, 1);
    EXPECT_EQ(iterator_->get_Target(0, span.Put()), E_POINTER);
    EXPECT_EQ(iterator_->get_Target(1, span.Put()), S_OK);
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(10501)) << "the opening iterator has nothing to search for";
}

TEST_P(SpanIteratorTest, Messages) {
    auto iterator = MakeByName<ISpanIterator>(u"Scrivix.SpanIterator");
    EXPECT_EQ(iterator->Next(nullptr), MessageStatus(10500));
    const ErrorRecord record = TakeErrorRecord();
    EXPECT_EQ(record.description, u"Iterator is not bound to a Source.");
    EXPECT_EQ(record.source, u"Scrivix.SpanIterator.1");
    EXPECT_EQ(record.help_context, 83u);
    EXPECT_EQ(iterator->Replace(Bstr(u"x").Get(), 4), MessageStatus(10500));
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(iterator->get_Current(4, segment.Put()), MessageStatus(10500));

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

    // The whole span replaced: the search goes on behind the new text.
    Bind(u"a (b) (c) d");
    Target(u"(", u")");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_EQ(iterator_->Replace(Bstr(u"(xyz)").Get(), soDefault), S_OK);
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
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_EQ(source_->Replace(3, 4, Bstr(u"x").Get()), S_OK);
    EXPECT_EQ(Current().matched, -1) << "an edit inside the body";

    // New text resets the iterator.
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    ASSERT_NE(Current().matched, -1);
    ASSERT_EQ(source_->put_Text(Bstr(u"[(c)]").Get()), S_OK);
    EXPECT_EQ(Current().matched, -1);
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(TextOf(found.Get()), u"(c)");
}

}  // namespace
}  // namespace scrivix::test

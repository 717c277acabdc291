// The pattern iterator through IPatternIterator, for both widths: a new iterator, its patterns, the
// search passes with targets and ignores, the three modes and other mode values, look-ahead, Reset,
// End, Clear, sources that do not cover the whole buffer, and the failures it reports.
#include "iterator_fixture.h"

#include "interfaces/messages.h"

namespace scrivix::test {
namespace {

using PatternIteratorTest = IteratorTest;
SCRIVIX_FOR_BOTH_WIDTHS(PatternIteratorTest);

// A new iterator and its source.

TEST_P(PatternIteratorTest, ANewIterator) {
    iterator_ = NewIterator();
    search_modes mode = smEndAfterPattern;
    EXPECT_EQ(iterator_->get_Mode(&mode), S_OK);
    EXPECT_EQ(mode, smPatternOnly);
    EXPECT_EQ(Here(), (Stop{0, 0, -1, u""}));
    Bstr pattern_class;
    EXPECT_EQ(iterator_->get_PatternClass(pattern_class.Put()), S_OK);
    EXPECT_EQ(pattern_class.View(), u"Scrivix.PatternA");
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_FALSE(segment);
    VARIANT_BOOL at_end = 1;
    EXPECT_EQ(iterator_->End(&at_end), E_POINTER);
    EXPECT_EQ(iterator_->get_Current(segment.Put()), E_POINTER);
    EXPECT_EQ(iterator_->Reset(5), S_OK);
    EXPECT_EQ(iterator_->Clear(VARIANT_TRUE), S_OK);
    EXPECT_EQ(iterator_->AddTarget(nullptr, nullptr), E_INVALIDARG);
    // Unbound, Next succeeds without touching its result, even without patterns.
    ITextSegment* untouched = reinterpret_cast<ITextSegment*>(0x1);
    EXPECT_EQ(iterator_->Next(&untouched), S_OK);
    EXPECT_EQ(untouched, reinterpret_cast<ITextSegment*>(0x1));
    EXPECT_EQ(iterator_.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_IPatternIterator), S_OK);
}

TEST_P(PatternIteratorTest, TheSourceGivesItsPatternClassAndCanBeChangedOrDropped) {
    Open(u"abc");
    Bstr pattern_class;
    iterator_->get_PatternClass(pattern_class.Put());
    EXPECT_EQ(pattern_class.View(), GetParam().pattern_class);
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_EQ(segment.Get(), source_.Get());
    // An object that is not a segment leaves the iterator without a source.
    EXPECT_EQ(iterator_->put_Source(reinterpret_cast<ITextSegment*>(buffer_.Get())), E_INVALIDARG);
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_FALSE(segment);
    EXPECT_EQ(iterator_->put_Source(source_.Get()), S_OK);
    EXPECT_EQ(iterator_->put_Source(nullptr), S_OK);
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_FALSE(segment);
}

// Patterns: numbering, indexes, and patterns that cannot be made or cannot search.

TEST_P(PatternIteratorTest, PatternsAreNumberedInTheOrderOfAdding) {
    Open(u"abc");
    EXPECT_EQ(Target(u"a"), 0);
    EXPECT_EQ(Ignore(u"b"), 0);
    EXPECT_EQ(Target(u"c", poIgnoreCase), 1);
    ComPtr<IPattern> pattern;
    ASSERT_EQ(iterator_->get_Target(1, pattern.Put()), S_OK);
    Bstr text;
    LONG options = 0;
    pattern->get_Text(text.Put());
    pattern->get_Options(&options);
    EXPECT_EQ(text.View(), u"c");
    EXPECT_EQ(options, poIgnoreCase);
    LONG id = -1;
    EXPECT_EQ(iterator_->AddIgnore(pattern.Get(), &id), S_OK) << "one pattern may serve in both lists";
    EXPECT_EQ(id, 1);
    EXPECT_EQ(iterator_->AddTarget(reinterpret_cast<IPattern*>(buffer_.Get()), &id), E_INVALIDARG)
        << "an object that is not a pattern is refused";
    for (LONG index : {-1, 2}) {
        EXPECT_EQ(iterator_->get_Target(index, pattern.Put()), MessageStatus(kInvalidPatternIndex));
        EXPECT_EQ(ErrorDescription(), u"Invalid Pattern index.");
        EXPECT_FALSE(pattern);
    }
    EXPECT_EQ(iterator_->get_Ignore(2, pattern.Put()), static_cast<HRESULT>(0x8004290B));
}

TEST_P(PatternIteratorTest, PatternsThatCannotBeMadeOrCannotSearch) {
    Open(u"abc");
    LONG id = -1;
    // The pattern's own failure comes back by its text under DISP_E_EXCEPTION; nothing is added.
    EXPECT_EQ(iterator_->NewTarget(Bstr(u"[abc").Get(), poRegExpression, &id), DISP_E_EXCEPTION);
    EXPECT_EQ(ErrorDescription(), u"Improper closure of Regular Expression.");
    ComPtr<IPattern> pattern;
    EXPECT_EQ(iterator_->get_Target(0, pattern.Put()), MessageStatus(kInvalidPatternIndex));
    // Only ignores: nothing to search for.
    Ignore(u"b");
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(kNoPatterns));
    EXPECT_EQ(ErrorDescription(), u"No patterns to search for.");
    EXPECT_EQ(iterator_->First(0, nullptr), static_cast<HRESULT>(0x80042905));
    // An empty pattern cannot search; its failure is reported again by number under the iterator.
    iterator_->NewTarget(nullptr, 0, &id);
    EXPECT_EQ(iterator_->First(0, nullptr), MessageStatus(kEmptyPattern));
    const ErrorRecord record = TakeErrorRecord();
    EXPECT_EQ(record.source, u"Scrivix.PatternIterator.1");
    EXPECT_EQ(record.description, u"Attempt to search using an empty Pattern.");
    // A class that does not resolve fails as creation fails; an unset class is E_INVALIDARG.
    iterator_->put_PatternClass(Bstr(u"Scrivix.NoSuchPattern").Get());
    EXPECT_EQ(iterator_->NewIgnore(Bstr(u"a").Get(), 0, &id), CO_E_CLASSSTRING);
    iterator_->put_PatternClass(nullptr);
    EXPECT_EQ(iterator_->NewTarget(Bstr(u"a").Get(), 0, &id), E_INVALIDARG);
}

TEST_P(PatternIteratorTest, ASourceThatCannotGiveABufferSegmentEndsTheSearch) {
    Open(u"abc");
    Target(u"b");
    buffer_->put_SegmentClass(Bstr(u"Scrivix.NoSuchSegment").Get());
    EXPECT_EQ(iterator_->First(0, nullptr), CO_E_CLASSSTRING);
    EXPECT_EQ(Here().matched, -1);
}

// The search passes: every stop from First(0) to the end, by targets, ignores, look-ahead and mode.

struct PatternDef {
    std::u16string text;
    LONG options = poNone;
    std::optional<LONG> look_ahead = {};
};
struct Walk {
    const char* what;
    std::u16string text;
    std::vector<PatternDef> targets, ignores;
    LONG mode;
    std::vector<Stop> stops;
};

const std::u16string kBracketed = u"a [a b] b a [b]";
const PatternDef kBrackets{u"\\[[^\\]]*]", poRegExpression};

const Walk kWalks[] = {
    {"left to right, ties to the lower number", u"xab ba ab", {{u"b"}, {u"ab"}, {u"a"}}, {}, smPatternOnly,
     {{1, 2, 1, u"ab"}, {4, 1, 0, u"b"}, {5, 1, 2, u"a"}, {7, 2, 1, u"ab"}, EndStop(9)}},
    {"ignored occurrences hide the targets inside them", kBracketed, {{u"a"}, {u"b"}}, {kBrackets}, smPatternOnly,
     {{0, 1, 0, u"a"}, {8, 1, 1, u"b"}, {10, 1, 0, u"a"}, EndStop(15)}},
    {"an ignore that starts with a target wins", u"ab a abc", {{u"a"}, {u"ab"}}, {{u"ab"}, {u"bc"}}, smPatternOnly,
     {{3, 1, 0, u"a"}, EndStop(8)}},
    {"one that starts later does not", u"ab a abc", {{u"abc"}}, {{u"bc"}}, smPatternOnly,
     {{5, 3, 0, u"abc"}, EndStop(8)}},
    {"the search advances by the first target's look-ahead", u"......a.......b....a", {{u"a", poNone, 3}, {u"b"}},
     {}, smPatternOnly, {{6, 1, 0, u"a"}, {14, 1, 1, u"b"}, {19, 1, 0, u"a"}, EndStop(20)}},
    {"a look-ahead of 0 finds nothing", u"aaaa", {{u"a", poNone, 0}}, {}, smPatternOnly, {EndStop(4)}},
    {"nor does a negative one, with ignores", u"aaaa", {{u"a", poNone, -5}}, {{u"b"}}, smPatternOnly, {EndStop(4)}},
    {"an ignore of empty text hides every target", u"bba", {{u"a"}}, {{u"x*", poRegExpression}}, smPatternOnly,
     {EndStop(3)}},
    {"mode smEndAtPattern", u"xxaxxxbxx", {{u"a"}, {u"b"}}, {}, smEndAtPattern,
     {{0, 2, 0, u"xx"}, {3, 3, 1, u"xxx"}, EndStop(9)}},
    {"mode smEndAfterPattern", u"xxaxxxbxx", {{u"a"}, {u"b"}}, {}, smEndAfterPattern,
     {{0, 3, 0, u"xxa"}, {3, 4, 1, u"xxxb"}, EndStop(9)}},
    {"mode smEndAtPattern with ignores", kBracketed, {{u"a"}, {u"b"}}, {kBrackets}, smEndAtPattern,
     {{0, 0, 0, u""}, {1, 7, 1, u" [a b] "}, {9, 1, 0, u" "}, EndStop(15)}},
    {"mode smEndAfterPattern with ignores", kBracketed, {{u"a"}, {u"b"}}, {kBrackets}, smEndAfterPattern,
     {{0, 1, 0, u"a"}, {1, 8, 1, u" [a b] b"}, {9, 2, 0, u" a"}, EndStop(15)}},
};

TEST_P(PatternIteratorTest, Walks) {
    for (const Walk& walk : kWalks) {
        SCOPED_TRACE(walk.what);
        Open(walk.text);
        for (const PatternDef& p : walk.targets) Target(p.text, p.options, p.look_ahead);
        for (const PatternDef& p : walk.ignores) Ignore(p.text, p.options, p.look_ahead);
        SetMode(walk.mode);
        EXPECT_EQ(Stops(), walk.stops);
        EXPECT_EQ(Next(), walk.stops.back()) << "a further Next stays at the end";
    }
}

// A selection that does not move: an empty target, or a mode value other than the three, which is kept
// and moves neither start nor end. The search starts at the same place again.
TEST_P(PatternIteratorTest, AnEmptyTargetOrAnotherModeFindsTheSamePlaceAgain) {
    const LONG modes[] = {smPatternOnly, 2};
    for (LONG mode : modes) {
        Open(mode == 2 ? u"xxaxxb" : u"abc");
        Target(mode == 2 ? u"a" : u"x*", mode == 2 ? poNone : poRegExpression);
        SetMode(mode);
        search_modes kept{};
        iterator_->get_Mode(&kept);
        EXPECT_EQ(kept, mode);
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->First(0, found.Put()), S_OK);
        EXPECT_EQ(Here(found.Get()), (Stop{0, 0, 0, u""}));
        EXPECT_EQ(Next(), (Stop{0, 0, 0, u""}));
    }
}

// Reset, First, End, Clear.

TEST_P(PatternIteratorTest, ResetCountsNegativeValuesFromTheEndAndClamps) {
    Open(u"0123456789");
    const std::pair<LONG, LONG> cases[] = {{0, 0}, {4, 4}, {-3, 7}, {50, 10}, {-50, 0}, {10, 10}};
    for (auto [start_at, offset] : cases) {
        EXPECT_EQ(iterator_->Reset(start_at), S_OK);
        EXPECT_EQ(Here(), (Stop{offset, 0, -1, u""})) << start_at;
    }
}

TEST_P(PatternIteratorTest, FirstStartsWhereItIsToldAndNextGoesOnFromThere) {
    Open(u"a.a.a.a");
    Target(u"a");
    ComPtr<ITextSegment> found;
    EXPECT_EQ(iterator_->First(3, found.Put()), S_OK);
    EXPECT_EQ(Here(found.Get()), (Stop{4, 1, 0, u"a"}));
    EXPECT_EQ(iterator_->First(-1, nullptr), S_OK) << "no result object wanted";
    EXPECT_EQ(Here(), (Stop{6, 1, 0, u"a"}));
}

TEST_P(PatternIteratorTest, EndIsTrueWithoutAMatchFromOneBeforeTheEnd) {
    Open(u"0123456789");
    Target(u"9");
    VARIANT_BOOL at_end = 0;
    const std::pair<LONG, VARIANT_BOOL> cases[] = {{0, VARIANT_FALSE}, {8, VARIANT_FALSE}, {9, VARIANT_TRUE},
                                                   {10, VARIANT_TRUE}};
    for (auto [start_at, expected] : cases) {
        iterator_->Reset(start_at);
        EXPECT_EQ(iterator_->End(&at_end), S_OK);
        EXPECT_EQ(at_end, expected) << start_at;
    }
    iterator_->First(0, nullptr);
    EXPECT_EQ(iterator_->End(&at_end), S_OK);
    EXPECT_EQ(at_end, VARIANT_FALSE) << "standing on a match at 9";
}

TEST_P(PatternIteratorTest, ClearDropsEveryPatternAndResetsOrKeepsTheStart) {
    Open(u"xxabcxx");
    Target(u"abc");
    Ignore(u"x");
    iterator_->First(0, nullptr);
    EXPECT_EQ(iterator_->Clear(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Here(), (Stop{2, 0, -1, u""}));
    ComPtr<IPattern> pattern;
    EXPECT_EQ(iterator_->get_Target(0, pattern.Put()), MessageStatus(kInvalidPatternIndex));
    EXPECT_EQ(iterator_->get_Ignore(0, pattern.Put()), MessageStatus(kInvalidPatternIndex));
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(kNoPatterns));
    Target(u"abc");
    iterator_->First(0, nullptr);
    EXPECT_EQ(iterator_->Clear(VARIANT_TRUE), S_OK);
    EXPECT_EQ(Here(), (Stop{0, 0, -1, u""}));
}

// A source that does not cover the whole buffer is searched alone: "bca" at buffer 1 lies before it, at
// 7 it runs past its end; only the one at 4 counts.
TEST_P(PatternIteratorTest, ASourceInsideTheBufferIsSearchedAlone) {
    Open(u"abcabcabcabc", 3, 9);
    Target(u"bca");
    EXPECT_EQ(Stops(), (std::vector<Stop>{{1, 3, 0, u"bca"}, EndStop(6)}));
    ComPtr<ITextSegment> current;
    iterator_->First(0, current.Put());
    LONG origin = -1;
    current->Origin(&origin);
    EXPECT_EQ(origin, 4) << "the stop as a segment of the buffer";
}

}  // namespace
}  // namespace scrivix::test

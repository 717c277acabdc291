// The pattern iterator through IPatternIterator, for both widths: a new iterator and its source, its
// patterns and the failures it reports, the search passes (targets, ignores, look-ahead, the modes),
// Reset, First, End and Clear, edits while iterating (through the iterator, on the buffer, the source's
// events) and the whole road from a file through FindPattern and back.
#include "interfaces/messages.h"
#include "segment/text_segment.h"
#include "support/buffer_widths.h"
#include "support/temp_dir.h"
#include "support/text_segments.h"

#include <optional>
#include <tuple>
#include <vector>

namespace scrivix::test {
namespace {

// The library's text segment, whose events a test can also fire by hand: the only way to send an iterator
// a Reset with a start other than 0, or a Modified that no edit of the text caused.
class HandFiredSegment : public DTextSegment {
public:
    static HandFiredSegment& Of(ITextSegment* segment) { return *static_cast<HandFiredSegment*>(segment); }
    void FireModified(LONG origin, LONG old_length, LONG new_length) {
        Fire([&](_ITextSegmentEvents* sink) { return sink->Modified(origin, old_length, new_length); });
    }
    void FireReset(LONG start_at) {
        Fire([&](_ITextSegmentEvents* sink) { return sink->Reset(start_at); });
    }
};

// One stop of the iterator: Offset, Length, MatchedBy and the text of the segment Next handed out.
using Stop = std::tuple<LONG, LONG, LONG, std::u16string>;
LONG MatchedBy(const Stop& stop) { return std::get<2>(stop); }
// The stop at `offset` without a selection: the end of a source of that length, or where Reset leaves.
Stop Bare(LONG offset) { return {offset, 0, -1, u""}; }

std::u16string ErrorDescription() { return TakeErrorRecord().description; }

class PatternIteratorTest : public ::testing::TestWithParam<Width> {
protected:
    // A segment of the width's buffer class holding `text`, the source [origin, limit) of it (limit -1:
    // the whole segment itself) and an iterator on the source.
    void Open(std::u16string_view text, LONG origin = 0, LONG limit = -1) {
        ComPtr<ITextSegment> segment;
        ASSERT_EQ(MakeObject<HandFiredSegment>(segment), S_OK);
        ASSERT_EQ(segment->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
        ASSERT_EQ(segment->put_Text(Bstr(text).Get()), S_OK);
        source_ = segment;
        if (limit >= 0) {
            source_ = SubSectionOf(segment.Get(), origin, limit);
            // A sub-section starts with the default PatternClass, whatever the width of its buffer.
            ASSERT_EQ(source_->put_PatternClass(Bstr(GetParam().pattern_class).Get()), S_OK);
        }
        // The buffer, through a buffer segment that is let go at once (it holds a read lock).
        ComPtr<IUnknown> view, buffer;
        ASSERT_EQ(source_->SegmentBuffer(view.Put()), S_OK);
        ASSERT_EQ(view.As<IBufferSegment>()->get_Source(0, 0, buffer.Put()), S_OK);
        ASSERT_EQ(buffer.As(buffer_), S_OK);
        iterator_ = MakeByName<IPatternIterator>(u"Scrivix.PatternIterator");
        ASSERT_EQ(iterator_->put_Source(source_.Get()), S_OK);
    }
    // Adds a pattern made by the iterator and gives its number.
    LONG Target(std::u16string_view text, LONG options = poNone) { return Add(true, text, options); }
    LONG Ignore(std::u16string_view text, LONG options = poNone) { return Add(false, text, options); }
    LONG Add(bool target, std::u16string_view text, LONG options) {
        LONG id = -1;
        const Bstr pattern(text);
        EXPECT_EQ(target ? iterator_->NewTarget(pattern.Get(), options, &id)
                         : iterator_->NewIgnore(pattern.Get(), options, &id),
                  S_OK);
        return id;
    }
    void SetMode(LONG mode) { ASSERT_EQ(iterator_->put_Mode(static_cast<search_modes>(mode)), S_OK); }
    void Edit(LONG origin, LONG extent, std::u16string_view text) {
        ASSERT_EQ(buffer_->Replace(origin, extent, Bstr(text).Get()), S_OK);
    }

    // The stop after one Next, or after First(start_at).
    Stop Next() {
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->Next(found.Put()), S_OK);
        return Here(found.Get());
    }
    Stop First(LONG start_at) {
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->First(start_at, found.Put()), S_OK);
        return Here(found.Get());
    }
    // The stop the iterator stands on, with the text of `found` (or of Current).
    Stop Here(ITextSegment* found = nullptr) {
        LONG offset = -2, length = -2, matched = -2;
        iterator_->Offset(&offset);
        iterator_->Length(&length);
        iterator_->MatchedBy(&matched);
        ComPtr<ITextSegment> current;
        if (!found) iterator_->get_Current(current.Put());
        return {offset, length, matched, TextOf(found ? found : current.Get())};
    }
    // Every stop from First(0) up to and including the first stop without a match.
    std::vector<Stop> Stops() {
        std::vector<Stop> stops{First(0)};
        while (MatchedBy(stops.back()) != -1 && stops.size() < 1000) stops.push_back(Next());
        return stops;
    }

    ComPtr<IEditBuffer> buffer_;
    ComPtr<ITextSegment> source_;
    ComPtr<IPatternIterator> iterator_;
};
SCRIVIX_FOR_BOTH_WIDTHS(PatternIteratorTest);

// A new iterator, its source, its patterns, and what it reports when it cannot search.

TEST_P(PatternIteratorTest, ANewIteratorAndItsSource) {
    iterator_ = MakeByName<IPatternIterator>(u"Scrivix.PatternIterator");
    search_modes mode = smEndAfterPattern;
    EXPECT_EQ(iterator_->get_Mode(&mode), S_OK);
    EXPECT_EQ(mode, smPatternOnly);
    EXPECT_EQ(Here(), Bare(0));
    Bstr pattern_class;
    EXPECT_EQ(iterator_->get_PatternClass(pattern_class.Put()), S_OK);
    EXPECT_EQ(pattern_class.View(), u"Scrivix.PatternA");
    VARIANT_BOOL at_end = 1;
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_FALSE(segment);
    EXPECT_EQ(iterator_->End(&at_end), E_POINTER);
    EXPECT_EQ(iterator_->get_Current(segment.Put()), E_POINTER);
    EXPECT_EQ(iterator_->Reset(5), S_OK);
    EXPECT_EQ(iterator_->Clear(VARIANT_TRUE), S_OK);
    EXPECT_EQ(iterator_->AddTarget(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get()), MessageStatus(kIteratorNotBound));
    EXPECT_EQ(ErrorDescription(), u"Iterator is not bound to a Source.");
    // Unbound, Next succeeds without touching its result, even without patterns.
    auto* untouched = reinterpret_cast<ITextSegment*>(0x1);
    EXPECT_EQ(iterator_->Next(&untouched), S_OK);
    EXPECT_EQ(untouched, reinterpret_cast<ITextSegment*>(0x1));
    EXPECT_EQ(iterator_.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_IPatternIterator), S_OK);

    // A source gives its pattern class; an object that is not a segment leaves the iterator without one.
    Open(u"abc");
    iterator_->get_PatternClass(pattern_class.Put());
    EXPECT_EQ(pattern_class.View(), GetParam().pattern_class);
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_EQ(segment, source_);
    EXPECT_EQ(iterator_->put_Source(reinterpret_cast<ITextSegment*>(buffer_.Get())), E_INVALIDARG);
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_FALSE(segment);
    EXPECT_EQ(iterator_->put_Source(source_.Get()), S_OK);
    EXPECT_EQ(iterator_->put_Source(nullptr), S_OK);
    EXPECT_EQ(iterator_->get_Source(segment.Put()), S_OK);
    EXPECT_FALSE(segment);
}

TEST_P(PatternIteratorTest, PatternsAreNumberedInTheOrderOfAddingToEachList) {
    Open(u"abc");
    EXPECT_EQ(Target(u"a"), 0);
    EXPECT_EQ(Ignore(u"b"), 0);
    EXPECT_EQ(Target(u"c"), 1);
    ComPtr<IPattern> pattern;
    Bstr text;
    LONG id = -1;
    ASSERT_EQ(iterator_->get_Target(1, pattern.Put()), S_OK);
    pattern->get_Text(text.Put());
    EXPECT_EQ(text.View(), u"c");
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

TEST_P(PatternIteratorTest, PatternsOrSourcesThatCannotSearch) {
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

    // A source that cannot give a buffer segment ends the search.
    Open(u"abc");
    Target(u"b");
    buffer_->put_SegmentClass(Bstr(u"Scrivix.NoSuchSegment").Get());
    EXPECT_EQ(iterator_->First(0, nullptr), CO_E_CLASSSTRING);
    EXPECT_EQ(MatchedBy(Here()), -1);
}

// The search passes: every stop from First(0) to the end, by targets, ignores, look-ahead and mode.

struct PatternDef {
    std::u16string text;
    LONG options = poNone;
    std::optional<LONG> look_ahead = {};
};
const std::u16string kBracketed = u"a [a b] b a [b]";
const PatternDef kBrackets{u"\\[[^\\]]*]", poRegExpression};

const struct {
    const char* what;
    std::u16string text;
    std::vector<PatternDef> targets, ignores;
    LONG mode;
    std::vector<Stop> stops;
} kWalks[] = {
    {"left to right, ties to the lower number", u"xab ba ab", {{u"b"}, {u"ab"}, {u"a"}}, {}, smPatternOnly,
     {{1, 2, 1, u"ab"}, {4, 1, 0, u"b"}, {5, 1, 2, u"a"}, {7, 2, 1, u"ab"}, Bare(9)}},
    {"ignored occurrences hide the targets inside them", kBracketed, {{u"a"}, {u"b"}}, {kBrackets}, smPatternOnly,
     {{0, 1, 0, u"a"}, {8, 1, 1, u"b"}, {10, 1, 0, u"a"}, Bare(15)}},
    {"an ignore that starts with a target wins", u"ab a abc", {{u"a"}, {u"ab"}}, {{u"ab"}, {u"bc"}}, smPatternOnly,
     {{3, 1, 0, u"a"}, Bare(8)}},
    {"one that starts later does not", u"ab a abc", {{u"abc"}}, {{u"bc"}}, smPatternOnly, {{5, 3, 0, u"abc"}, Bare(8)}},
    {"the search advances by the first target's look-ahead", u"......a.......b....a", {{u"a", poNone, 3}, {u"b"}},
     {}, smPatternOnly, {{6, 1, 0, u"a"}, {14, 1, 1, u"b"}, {19, 1, 0, u"a"}, Bare(20)}},
    {"a look-ahead of 0 finds nothing", u"aaaa", {{u"a", poNone, 0}}, {}, smPatternOnly, {Bare(4)}},
    {"nor does a negative one, with ignores", u"aaaa", {{u"a", poNone, -5}}, {{u"b"}}, smPatternOnly, {Bare(4)}},
    {"an ignore of empty text hides every target", u"bba", {{u"a"}}, {{u"x*", poRegExpression}}, smPatternOnly,
     {Bare(3)}},
    {"mode smEndAtPattern", u"xxaxxxbxx", {{u"a"}, {u"b"}}, {}, smEndAtPattern,
     {{0, 2, 0, u"xx"}, {3, 3, 1, u"xxx"}, Bare(9)}},
    {"mode smEndAfterPattern", u"xxaxxxbxx", {{u"a"}, {u"b"}}, {}, smEndAfterPattern,
     {{0, 3, 0, u"xxa"}, {3, 4, 1, u"xxxb"}, Bare(9)}},
    {"mode smEndAtPattern with ignores", kBracketed, {{u"a"}, {u"b"}}, {kBrackets}, smEndAtPattern,
     {{0, 0, 0, u""}, {1, 7, 1, u" [a b] "}, {9, 1, 0, u" "}, Bare(15)}},
    {"mode smEndAfterPattern with ignores", kBracketed, {{u"a"}, {u"b"}}, {kBrackets}, smEndAfterPattern,
     {{0, 1, 0, u"a"}, {1, 8, 1, u" [a b] b"}, {9, 2, 0, u" a"}, Bare(15)}},
};

TEST_P(PatternIteratorTest, Walks) {
    for (const auto& walk : kWalks) {
        SCOPED_TRACE(walk.what);
        Open(walk.text);
        for (const PatternDef& p : walk.targets) {
            ComPtr<IPattern> pattern;
            const LONG id = Target(p.text, p.options);
            if (p.look_ahead && iterator_->get_Target(id, pattern.Put()) == S_OK) pattern->put_LookAhead(*p.look_ahead);
        }
        for (const PatternDef& p : walk.ignores) Ignore(p.text, p.options);
        SetMode(walk.mode);
        EXPECT_EQ(Stops(), walk.stops);
        EXPECT_EQ(Next(), walk.stops.back()) << "a further Next stays at the end";
    }
}

// A selection that does not move: an empty target, or a mode value other than the three, which is kept
// and moves neither start nor end. The search starts at the same place again.
TEST_P(PatternIteratorTest, AnEmptyTargetOrAnotherModeFindsTheSamePlaceAgain) {
    for (LONG mode : {LONG{smPatternOnly}, LONG{2}}) {
        Open(mode == 2 ? u"xxaxxb" : u"abc");
        Target(mode == 2 ? u"a" : u"x*", mode == 2 ? poNone : poRegExpression);
        SetMode(mode);
        search_modes kept{};
        iterator_->get_Mode(&kept);
        EXPECT_EQ(kept, mode);
        EXPECT_EQ(First(0), (Stop{0, 0, 0, u""}));
        EXPECT_EQ(Next(), (Stop{0, 0, 0, u""}));
    }
}

// Reset, First, End, Clear.

TEST_P(PatternIteratorTest, ResetCountsNegativeValuesFromTheEndAndEndIsTrueFromOneBeforeTheEnd) {
    Open(u"0123456789");
    Target(u"9");
    const struct {
        LONG start_at, offset;
        VARIANT_BOOL at_end;
    } cases[] = {{0, 0, VARIANT_FALSE}, {4, 4, VARIANT_FALSE}, {-3, 7, VARIANT_FALSE}, {8, 8, VARIANT_FALSE},
                 {9, 9, VARIANT_TRUE},  {10, 10, VARIANT_TRUE}, {50, 10, VARIANT_TRUE}, {-50, 0, VARIANT_FALSE}};
    VARIANT_BOOL at_end = 5;
    for (const auto& c : cases) {
        EXPECT_EQ(iterator_->Reset(c.start_at), S_OK);
        EXPECT_EQ(Here(), Bare(c.offset)) << c.start_at;
        EXPECT_EQ(iterator_->End(&at_end), S_OK);
        EXPECT_EQ(at_end, c.at_end) << c.start_at;
    }
    iterator_->First(0, nullptr);
    EXPECT_EQ(iterator_->End(&at_end), S_OK);
    EXPECT_EQ(at_end, VARIANT_FALSE) << "standing on a match at 9";
}

TEST_P(PatternIteratorTest, FirstStartsWhereItIsToldAndClearDropsEveryPattern) {
    Open(u"xa.a.abcxx");
    Target(u"a");
    EXPECT_EQ(First(2), (Stop{3, 1, 0, u"a"}));
    EXPECT_EQ(iterator_->First(-5, nullptr), S_OK) << "no result object wanted";
    EXPECT_EQ(Here(), (Stop{5, 1, 0, u"a"}));

    // Clear(False) keeps the start, Clear(True) resets it.
    Ignore(u"x");
    EXPECT_EQ(iterator_->Clear(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Here(), Bare(5));
    ComPtr<IPattern> pattern;
    EXPECT_EQ(iterator_->get_Target(0, pattern.Put()), MessageStatus(kInvalidPatternIndex));
    EXPECT_EQ(iterator_->get_Ignore(0, pattern.Put()), MessageStatus(kInvalidPatternIndex));
    EXPECT_EQ(iterator_->Next(nullptr), MessageStatus(kNoPatterns));
    Target(u"abc");
    iterator_->First(0, nullptr);
    EXPECT_EQ(iterator_->Clear(VARIANT_TRUE), S_OK);
    EXPECT_EQ(Here(), Bare(0));
}

// Edits while iterating. Each row stands on the stop First(first_at) finds, replaces its selection
// through the iterator or edits the buffer directly, and reads the text, the stop it stands on and
// those that follow. A selection whose match was dropped cannot be replaced.

struct BufferEdit {
    LONG origin, extent;
    std::u16string text;
};
const struct {
    const char* what;
    std::u16string text, target;
    LONG mode, first_at;
    std::optional<std::u16string> replacement;  // or else the buffer edits
    std::vector<BufferEdit> edits;
    std::u16string after;
    Stop here;
    std::vector<Stop> then;
} kEdits[] = {
    {"a replacement becomes the selection, without a match", u"xx,yy,zz", u",", smPatternOnly, 0, u";;", {},
     u"xx;;yy,zz", {2, 2, -1, u";;"}, {{6, 1, 0, u","}, Bare(9)}},
    {"in mode smEndAfterPattern", u"xx,yy,zz", u",", smEndAfterPattern, 0, u"A;", {}, u"A;yy,zz", {0, 2, -1, u"A;"},
     {{2, 3, 0, u"yy,"}, Bare(7)}},
    {"mode smEndAtPattern goes on at the end of the last occurrence, which edits do not move", u"xx,yy,zz", u",",
     smEndAtPattern, 0, u"XX", {}, u"XX,yy,zz", {0, 2, -1, u"XX"}, {{3, 2, 0, u"yy"}, Bare(8)}},
    {"an insertion in front moves the base: Offset counts from it, the selection is the same character",
     u"a.b.a.b", u"b", smPatternOnly, 0, {}, {{0, 0, u"bb"}}, u"bba.b.a.b", {2, 1, 0, u"b"},
     {{6, 1, 0, u"b"}, Bare(7)}},
    {"an edit inside the selection drops the match", u"one two three", u"two", smPatternOnly, 0, {},
     {{5, 1, u"WW"}}, u"one tWWo three", {4, 4, -1, u"tWWo"}, {Bare(14)}},
    {"edits behind the selection leave it and are found by the next search: the second occurrence goes, "
     "one comes in between",
     u"a....a....a", u"a", smPatternOnly, 0, {}, {{5, 1, u""}, {2, 0, u"a"}}, u"a.a.......a", {0, 1, 0, u"a"},
     {{2, 1, 0, u"a"}, {10, 1, 0, u"a"}, Bare(11)}},
    {"deleting the rest pulls the positions back to the source's end", u"a....a....a", u"a", smPatternOnly, 4, {},
     {{3, 8, u""}}, u"a..", Bare(3), {Bare(3)}},
};

TEST_P(PatternIteratorTest, EditsWhileIterating) {
    for (const auto& c : kEdits) {
        SCOPED_TRACE(c.what);
        Open(c.text);
        Target(c.target);
        SetMode(c.mode);
        ASSERT_EQ(iterator_->First(c.first_at, nullptr), S_OK);
        if (c.replacement) {
            ASSERT_EQ(iterator_->Replace(Bstr(*c.replacement).Get()), S_OK);
        }
        for (const BufferEdit& e : c.edits) Edit(e.origin, e.extent, e.text);
        EXPECT_EQ(TextOf(source_.Get()), c.after);
        EXPECT_EQ(Here(), c.here);
        if (MatchedBy(c.here) == -1) {
            EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get()), MessageStatus(kNoCurrentSelection));
            EXPECT_EQ(ErrorDescription(), u"No current selection.");
        }
        for (const Stop& stop : c.then) EXPECT_EQ(Next(), stop);
    }
}

TEST_P(PatternIteratorTest, ReplacingEveryOccurrenceGoesOnBehindEachNewText) {
    Open(u"a.a..a");
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get()), MessageStatus(kNoCurrentSelection)) << "nothing found yet";
    Target(u"a");
    int replaced = 0;
    for (Stop stop = First(0); MatchedBy(stop) != -1 && replaced < 10; stop = Next(), ++replaced) {
        ASSERT_EQ(iterator_->Replace(Bstr(u"aXa").Get()), S_OK);
    }
    EXPECT_EQ(replaced, 3);
    EXPECT_EQ(TextOf(source_.Get()), u"aXa.aXa..aXa");
    EXPECT_EQ(Here(), Bare(12));
}

// A source that does not cover the whole buffer is searched alone ("bca" at buffer 1 lies before it, at
// 7 it runs past its end), its stops are segments of the buffer, and it follows edits around it.
TEST_P(PatternIteratorTest, ASourceInsideTheBuffer) {
    Open(u"abcabcabcabc", 3, 9);
    Target(u"bca");
    EXPECT_EQ(Stops(), (std::vector<Stop>{{1, 3, 0, u"bca"}, Bare(6)}));

    Open(u"zzzza.a.azzzz", 4, 9);
    Target(u"a");
    EXPECT_EQ(Next(), (Stop{0, 1, 0, u"a"}));
    Edit(0, 0, u"yy");   // in front of the source: it moves, and tells nobody
    Edit(13, 2, u"");    // behind it
    EXPECT_EQ(Here(), (Stop{0, 1, 0, u"a"}));
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(Here(found.Get()), (Stop{2, 1, 0, u"a"}));
    EXPECT_EQ(RangeOf(found.Get()).origin, 8);
    Edit(6, 0, u"QQ");   // at the source's origin: inside it, the base moves
    ASSERT_EQ(iterator_->get_Current(found.Put()), S_OK);
    EXPECT_EQ(RangeOf(found.Get()).origin, 10) << "the selection still covers the same character";
    EXPECT_EQ(Next(), (Stop{4, 1, 0, u"a"}));
    EXPECT_EQ(Next(), Bare(5));
}

// The source's events: new text resets the iterator (Reset(0)); a Reset or Modified fired by hand shows
// each reaction alone.

TEST_P(PatternIteratorTest, TheSourcesEvents) {
    Open(u"a.a.a.a");
    Target(u"a");
    iterator_->First(3, nullptr);
    ASSERT_EQ(source_->put_Text(Bstr(u"..a").Get()), S_OK);
    EXPECT_EQ(Here(), Bare(0));
    EXPECT_EQ(Next(), (Stop{2, 1, 0, u"a"}));

    Open(u"a.a.a.a");
    Target(u"a");
    iterator_->First(0, nullptr);
    HandFiredSegment::Of(source_.Get()).FireReset(-3);
    EXPECT_EQ(Here(), Bare(4));
    EXPECT_EQ(Next(), (Stop{4, 1, 0, u"a"}));

    Open(u"0123456789abcdefghij");
    Target(u"456");
    iterator_->First(0, nullptr);
    auto& source = HandFiredSegment::Of(source_.Get());
    source.FireModified(10, 2, 0);
    EXPECT_EQ(Here(), (Stop{4, 3, 0, u"456"})) << "behind the match: nothing changes";
    source.FireModified(0, 0, 3);
    EXPECT_EQ(Here(), (Stop{4, 3, 0, u"789"})) << "the base moved by 3 (the text itself did not)";
    source.FireModified(10, 0, 2);
    EXPECT_EQ(Here(), (Stop{4, 5, -1, u"789ab"})) << "at the match's end: taken in, and dropped";
}

TEST_P(PatternIteratorTest, AChangeOfSourceMovesTheConnectionAndTheEndReleasesIt) {
    Open(u"a.a.a");
    Target(u"a");
    const auto first_buffer = buffer_;
    auto iterator = iterator_;
    Open(u"bab");  // a second buffer and source
    ASSERT_EQ(iterator->put_Source(source_.Get()), S_OK);
    iterator_ = iterator;
    iterator = nullptr;
    EXPECT_EQ(First(0), (Stop{1, 1, 0, u"a"}));
    first_buffer->Replace(0, 0, Bstr(u"zzzz").Get());
    EXPECT_EQ(Here(), (Stop{1, 1, 0, u"a"})) << "the first source is not heard any more";
    Edit(0, 0, u"z");
    EXPECT_EQ(MatchedBy(Here()), 0) << "an insertion in front only moves the base";

    const long with_iterator = LiveObjects();
    iterator_ = nullptr;
    EXPECT_EQ(LiveObjects(), with_iterator - 3) << "the iterator, its sink and its pattern";
    Edit(0, 1, u"bb");  // fires to the source's listeners, of which there is none
    EXPECT_EQ(TextOf(source_.Get()), u"bbbab");
}

// The whole road of a request: a text segment loads a file, FindPattern starts an iterator with a target
// and an ignore pattern (C comments without stars inside), the iterator visits every whole word outside
// comments and replaces some of them, and the segment writes the file back. A text that does not occur
// outside comments gives an iterator at the end.
TEST_P(PatternIteratorTest, FromAFileThroughFindPatternAndBack) {
    const auto bytes = [&](std::u16string_view text) {
        return GetParam().char_size == 2 ? StreamBytes<WideBuffer>(text) : StreamBytes<NarrowBuffer>(text);
    };
    TempDir dir;
    const Bstr name(dir.Name("source.c"));
    WriteBytes(dir.Path("source.c"), bytes(u"/* count the lines */\nint count = 0 ;\ncount = count + lines ; /* count\n"
                                           u"   more */ print ( count ) ; // counted\n"));
    source_ = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
    LONG actual = 0;
    ASSERT_EQ(source_->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
    ASSERT_EQ(source_->LoadFile(name.Get(), file_in, &actual), S_OK);
    const auto find = [&](std::u16string_view target, LONG options) {
        iterator_ = nullptr;
        EXPECT_EQ(source_->FindPattern(Bstr(target).Get(), options, Bstr(u"/\\*[^*]*\\*/").Get(), poRegExpression,
                                       iterator_.Put()),
                  S_OK);
        return static_cast<bool>(iterator_);
    };
    ASSERT_TRUE(find(u"count", poWholeWord));
    // It stands on the first occurrence already. The first and the third are renamed, the first shorter.
    std::vector<Stop> visited{Here()};
    for (; MatchedBy(visited.back()) != -1 && visited.size() < 10; visited.push_back(Next())) {
        if (visited.size() == 1 || visited.size() == 3) {
            EXPECT_EQ(iterator_->Replace(Bstr(visited.size() == 1 ? u"n" : u"total").Get()), S_OK);
        }
    }
    EXPECT_EQ(visited, (std::vector<Stop>{{26, 5, 0, u"count"}, {34, 5, 0, u"count"}, {42, 5, 0, u"count"},
                                          {86, 5, 0, u"count"}, Bare(107)}))
        << "counted after the first became \"n\"";
    const std::u16string edited = u"/* count the lines */\nint n = 0 ;\ncount = total + lines ; /* count\n"
                                  u"   more */ print ( count ) ; // counted\n";
    ASSERT_EQ(source_->WriteFile(name.Get(), file_out | file_trunc | file_binary, &actual), S_OK);
    EXPECT_EQ(ReadBytes(dir.Path("source.c")), bytes(edited));
    EXPECT_EQ(actual, static_cast<LONG>(edited.size()) * GetParam().char_size) << "the text's bytes, without a mark";

    // "more" occurs only inside a comment, "zero" nowhere: the iterator starts at the end.
    for (const char16_t* absent : {u"more", u"zero"}) {
        ASSERT_TRUE(find(absent, poNone));
        EXPECT_EQ(Here(), Bare(107));
        VARIANT_BOOL at_end = VARIANT_FALSE;
        EXPECT_EQ(iterator_->End(&at_end), S_OK);
        EXPECT_EQ(at_end, VARIANT_TRUE);
    }
}

}  // namespace
}  // namespace scrivix::test

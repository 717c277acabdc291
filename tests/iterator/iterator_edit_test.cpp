// Edits while iterating, for both widths: Replace through the iterator in each mode, edits made directly
// on the buffer in front of, inside and behind the selection, the source's events (Modified and Reset),
// a change of source, and the iterator's end releasing everything.
#include "iterator_fixture.h"

#include "interfaces/messages.h"

namespace scrivix::test {
namespace {

using IteratorEditTest = IteratorTest;
SCRIVIX_FOR_BOTH_WIDTHS(IteratorEditTest);

void Edit(IEditBuffer* buffer, LONG origin, LONG extent, std::u16string_view text) {
    ASSERT_EQ(buffer->Replace(origin, extent, Bstr(text).Get()), S_OK);
}

// Replace through the iterator.

TEST_P(IteratorEditTest, ReplaceNeedsASourceAndASelection) {
    iterator_ = NewIterator();
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get()), MessageStatus(kIteratorNotBound));
    EXPECT_EQ(ErrorDescription(), u"Iterator is not bound to a Source.");
    Open(u"abc");
    EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get()), MessageStatus(kNoCurrentSelection));
    EXPECT_EQ(ErrorDescription(), u"No current selection.");
}

TEST_P(IteratorEditTest, ReplacingEachOccurrenceGoesOnBehindTheNewText) {
    Open(u"a.a..a");
    Target(u"a");
    ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
    int replaced = 0;
    LONG matched = 0;
    while (iterator_->MatchedBy(&matched), matched != -1) {
        ASSERT_EQ(iterator_->Replace(Bstr(u"aXa").Get()), S_OK);
        // The new text is the selection now, without a match.
        EXPECT_EQ(Here(), (Stop{Here().offset, 3, -1, u"aXa"}));
        EXPECT_EQ(iterator_->Replace(Bstr(u"y").Get()), MessageStatus(kNoCurrentSelection));
        ++replaced;
        ASSERT_EQ(iterator_->Next(nullptr), S_OK);
    }
    EXPECT_EQ(replaced, 3);
    EXPECT_EQ(BufferText(), u"aXa.aXa..aXa");
    EXPECT_EQ(Here(), EndStop(12));
}

TEST_P(IteratorEditTest, ReplaceInEachMode) {
    struct Case {
        LONG mode;
        std::u16string replacement;
        std::u16string after;   // the buffer after the first Replace
        Stop next;              // the stop after it
    };
    const Case cases[] = {
        {smPatternOnly, u";;", u"xx;;yy,zz", {6, 1, 0, u","}},
        {smEndAfterPattern, u"A;", u"A;yy,zz", {2, 3, 0, u"yy,"}},
        // Mode smEndAtPattern goes on at the end of the last occurrence, which edits do not move.
        {smEndAtPattern, u"XX", u"XX,yy,zz", {3, 2, 0, u"yy"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        Open(u"xx,yy,zz");
        Target(u",");
        SetMode(c.mode);
        ASSERT_EQ(iterator_->First(0, nullptr), S_OK);
        ASSERT_EQ(iterator_->Replace(Bstr(c.replacement).Get()), S_OK);
        EXPECT_EQ(BufferText(), c.after);
        EXPECT_EQ(Next(), c.next);
    }
}

// Edits made directly on the buffer: the selection after them, and the stops that follow. A selection
// whose match was dropped cannot be replaced.

struct BufferEdit {
    LONG origin, extent;
    std::u16string text;
};
const struct {
    const char* what;
    std::u16string text, target;
    LONG first_at;
    std::vector<BufferEdit> edits;
    Stop here;
    std::vector<Stop> then;
} kBufferEdits[] = {
    {"an insertion in front moves the base: Offset counts from it, the selection is the same character",
     u"a.b.a.b", u"b", 0, {{0, 0, u"bb"}}, {2, 1, 0, u"b"}, {{6, 1, 0, u"b"}, EndStop(7)}},
    {"an edit inside the selection drops the match", u"one two three", u"two", 0, {{5, 1, u"WW"}},
     {4, 4, -1, u"tWWo"}, {EndStop(14)}},
    {"edits behind the selection leave it and are found by the next search: the second occurrence goes, "
     "one comes in between",
     u"a....a....a", u"a", 0, {{5, 1, u""}, {2, 0, u"a"}}, {0, 1, 0, u"a"},
     {{2, 1, 0, u"a"}, {10, 1, 0, u"a"}, EndStop(11)}},
    {"deleting the rest pulls the positions back to the source's end", u"a....a....a", u"a", 4, {{3, 8, u""}},
     {3, 0, -1, u""}, {EndStop(3)}},
};

TEST_P(IteratorEditTest, EditsOfTheBuffer) {
    for (const auto& c : kBufferEdits) {
        SCOPED_TRACE(c.what);
        Open(c.text);
        Target(c.target);
        ASSERT_EQ(iterator_->First(c.first_at, nullptr), S_OK);
        for (const BufferEdit& e : c.edits) Edit(buffer_.Get(), e.origin, e.extent, e.text);
        EXPECT_EQ(Here(), c.here);
        if (c.here.matched == -1) {
            EXPECT_EQ(iterator_->Replace(Bstr(u"x").Get()), MessageStatus(kNoCurrentSelection));
        }
        for (const Stop& stop : c.then) EXPECT_EQ(Next(), stop);
    }
}

TEST_P(IteratorEditTest, ASourceInsideTheBufferFollowsEditsAroundIt) {
    Open(u"zzzza.a.azzzz", 4, 9);
    Target(u"a");
    EXPECT_EQ(Next(), (Stop{0, 1, 0, u"a"}));
    Edit(buffer_.Get(), 0, 0, u"yy");   // in front of the source: it moves, and tells nobody
    Edit(buffer_.Get(), 13, 2, u"");    // behind it
    EXPECT_EQ(Here(), (Stop{0, 1, 0, u"a"}));
    ComPtr<ITextSegment> found;
    ASSERT_EQ(iterator_->Next(found.Put()), S_OK);
    EXPECT_EQ(Here(found.Get()), (Stop{2, 1, 0, u"a"}));
    LONG origin = -1;
    found->Origin(&origin);
    EXPECT_EQ(origin, 8);
    Edit(buffer_.Get(), 6, 0, u"QQ");   // at the source's origin: inside it, the base moves
    ASSERT_EQ(iterator_->get_Current(found.Put()), S_OK);
    found->Origin(&origin);
    EXPECT_EQ(origin, 10) << "the selection still covers the same character";
    EXPECT_EQ(Next(), (Stop{4, 1, 0, u"a"}));
    EXPECT_EQ(Next(), EndStop(5));
}

// The source's events.

TEST_P(IteratorEditTest, NewTextInTheSourceResetsTheIterator) {
    Open(u"a.a.a.a");
    Target(u"a");
    iterator_->First(3, nullptr);
    ASSERT_EQ(source_->put_Text(Bstr(u"..a").Get()), S_OK);  // a new buffer, and Reset(0) to the listeners
    EXPECT_EQ(Here(), (Stop{0, 0, -1, u""}));
    EXPECT_EQ(Next(), (Stop{2, 1, 0, u"a"}));
}

// Events fired by hand: each reaction alone.

TEST_P(IteratorEditTest, TheSourcesResetEventResetsTheIterator) {
    OpenHandFired(u"a.a.a.a");
    Target(u"a");
    iterator_->First(0, nullptr);
    HandFiredSegment::Of(source_.Get()).FireReset(-3);
    EXPECT_EQ(Here(), (Stop{4, 0, -1, u""}));
    EXPECT_EQ(Next(), (Stop{4, 1, 0, u"a"}));
}

TEST_P(IteratorEditTest, TheSourcesModifiedEventFollowsTheRule) {
    OpenHandFired(u"0123456789abcdefghij");
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

TEST_P(IteratorEditTest, AChangeOfSourceMovesTheConnection) {
    Open(u"a.a.a");
    Target(u"a");
    auto first_source = source_;
    auto first_buffer = buffer_;
    auto iterator = iterator_;
    Open(u"bab");  // a second buffer and source
    ASSERT_EQ(iterator->put_Source(source_.Get()), S_OK);
    iterator_ = iterator;
    iterator_->First(0, nullptr);
    EXPECT_EQ(Here(), (Stop{1, 1, 0, u"a"}));
    Edit(first_buffer.Get(), 0, 0, u"zzzz");
    EXPECT_EQ(Here(), (Stop{1, 1, 0, u"a"})) << "the first source is not heard any more";
    Edit(buffer_.Get(), 0, 0, u"z");
    EXPECT_EQ(Here().matched, 0) << "an insertion in front only moves the base";
}

TEST_P(IteratorEditTest, ReleasingTheIteratorDisconnectsItFromItsSource) {
    Open(u"a.a");
    Target(u"a");
    iterator_->First(0, nullptr);
    const long with_iterator = LiveObjects();
    iterator_ = nullptr;
    EXPECT_EQ(LiveObjects(), with_iterator - 3) << "the iterator, its sink and its pattern";
    Edit(buffer_.Get(), 0, 1, u"bb");  // fires to the source's listeners, of which there is none
    EXPECT_EQ(BufferText(), u"bb.a");
}

}  // namespace
}  // namespace scrivix::test

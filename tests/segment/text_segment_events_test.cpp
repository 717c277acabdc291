// A segment's place in the edit chain: its listeners and its connection point, several segments over one
// buffer, long random edit sequences through live segments against the plain rule, and the lifetimes of
// segments, sub-sections and buffers (no reference cycle, nothing left alive).
#include "segment_sink.h"

#include <memory>
#include <stdexcept>

namespace scrivix::test {
namespace {

class SegmentEventsTest : public ::testing::TestWithParam<Width> {};
SCRIVIX_FOR_BOTH_WIDTHS(SegmentEventsTest);

// Listeners hear in connection order whatever each does, and a freed place is taken by the next
// connection, which is then called in that place. The connection point refuses what it cannot hold.
TEST(SegmentEvents, Listeners) {
    std::vector<int> order;
    SegmentSink first([&] { order.push_back(1); });
    SegmentSink throwing([&] {
        order.push_back(2);
        throw std::runtime_error("sink failure");
    });
    SegmentSink failing([&] { order.push_back(3); });
    failing.answer = E_FAIL;
    SegmentSink last([&] { order.push_back(4); });
    auto segment = NewSegment(u"0123456789");
    auto point = SegmentEventPoint(segment.Get());
    ASSERT_TRUE(point);
    std::vector<DWORD> cookies;
    for (SegmentSink* sink : {&first, &throwing, &failing, &last}) cookies.push_back(Listen(segment.Get(), sink));
    EXPECT_EQ(segment->Replace(2, 4, Bstr(u"ab").Get()), S_OK) << "listener failures do not reach the edit";
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(last.Take(), (Events{Event::Modified(2, 2, 2)}));
    EXPECT_EQ(first.Take(), throwing.Take());
    ASSERT_EQ(point->Unadvise(cookies[1]), S_OK);
    EXPECT_EQ(Listen(segment.Get(), &throwing), cookies[1]);
    for (DWORD cookie : cookies) EXPECT_EQ(point->Unadvise(cookie), S_OK);

    IID iid{};
    EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
    EXPECT_EQ(iid, IID__ITextSegmentEvents);
    DWORD cookie = 1;
    EXPECT_EQ(point->Advise(segment.Get(), &cookie), CONNECT_E_CANNOTCONNECT) << "a segment is no sink";
    EXPECT_EQ(cookie, 0u);
    EXPECT_EQ(point->Unadvise(1), CONNECT_E_NOCONNECTION);
    ComPtr<IConnectionPoint> other;
    EXPECT_EQ(segment.As<IConnectionPointContainer>()->FindConnectionPoint(IID__IEditBufferEvents, other.Put()),
              CONNECT_E_NOCONNECTION);
}

// Several segments over one buffer: two characters inserted at 5, through the segment that starts there.
TEST_P(SegmentEventsTest, EverySegmentOverTheBufferFollowsAnEdit) {
    const struct {
        Range before, after;
        Events heard;
    } cases[] = {{{2, 5}, {2, 7}, {Event::Modified(3, 0, 2)}},
                 {{5, 8}, {5, 10}, {Event::Modified(0, 0, 2)}},
                 {{0, 10}, {0, 12}, {Event::Modified(5, 0, 2)}},
                 {{8, 8}, {10, 10}, {}}};
    SegmentSink sinks[4];
    auto root = NewSegment(u"0123456789", GetParam());
    std::vector<ComPtr<ITextSegment>> sections;
    for (size_t i = 0; i < 4; ++i) {
        sections.push_back(SubSectionOf(root.Get(), cases[i].before.origin, cases[i].before.limit));
        Listen(sections[i].Get(), &sinks[i]);
    }
    ASSERT_EQ(sections[1]->Replace(0, 0, Bstr(u"ab").Get()), S_OK);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(RangeOf(sections[i].Get()), cases[i].after) << "segment " << cases[i].before;
        EXPECT_EQ(sinks[i].Take(), cases[i].heard) << "segment " << cases[i].before;
    }
    EXPECT_EQ(TextOf(sections[0].Get()), u"234ab");
}

// Random edits through live segments of every shape, each with a listener, against the plain rule.
TEST_P(SegmentEventsTest, LongRandomEditSequencesAgreeWithThePlainRule) {
    RandomEdits edits(19937);
    LONG length = 120;
    struct Watched {
        std::unique_ptr<SegmentSink> sink = std::make_unique<SegmentSink>();
        ComPtr<ITextSegment> segment;
        Range expected;
    };
    std::vector<Watched> watched(12);
    auto root = NewSegment(std::u16string(length, u'.'), GetParam());
    for (Watched& w : watched) {
        w.expected = {edits.Between(0, length), edits.Between(0, length)};
        w.segment = SubSectionOf(root.Get(), w.expected.origin, w.expected.limit);
        Listen(w.segment.Get(), w.sink.get());
    }
    for (int step = 0; step < 3000; ++step) {
        const SourceEdit edit = edits.Next(length, 9);
        const Bstr text(std::u16string(edit.new_length, u'x'));
        ASSERT_EQ(root->Replace(edit.origin, edit.origin + edit.old_length, text.Get()), S_OK);
        length += edit.new_length - edit.old_length;
        ASSERT_EQ(RangeOf(root.Get()), (Range{0, length})) << "the whole stays whole";
        for (Watched& w : watched) {
            const Outcome expected = Reference(w.expected, edit, length);
            const Events heard =
                expected.event ? Events{Event::Modified(*expected.event, edit.old_length, edit.new_length)} : Events{};
            ASSERT_EQ(RangeOf(w.segment.Get()), expected.range) << "step " << step << ", from " << w.expected;
            ASSERT_EQ(w.sink->Take(), heard) << "step " << step << ", from " << w.expected;
            w.expected = expected.range;
        }
    }
}

// Releasing the last reference destroys a segment and disconnects it; a sub-section outlives its parent.
TEST_P(SegmentEventsTest, Lifetimes) {
    const long before = LiveObjects();
    SegmentSink listener;
    auto segment = NewSegment(u"0123456789", GetParam());
    EXPECT_EQ(LiveObjects(), before + 3) << "the segment, its sink and its buffer";
    auto section = SubSectionOf(segment.Get(), 4, 6);
    Listen(segment.Get(), &listener);
    segment = nullptr;
    EXPECT_EQ(LiveObjects(), before + 3) << "the section, its sink and the buffer it holds";
    EXPECT_EQ(listener.References(), 0u) << "the segment released its listeners";
    ASSERT_EQ(section->Replace(1, 2, Bstr(u"abc").Get()), S_OK);
    EXPECT_TRUE(listener.Take().empty());
    EXPECT_EQ(TextOf(section.Get()), u"4abc");
    EXPECT_EQ(RangeOf(section.Get()), (Range{4, 8}));

    ComPtr<IUnknown> view, buffer;
    ASSERT_EQ(section->SegmentBuffer(view.Put()), S_OK);
    ASSERT_EQ(view.As<IBufferSegment>()->get_Source(0, 0, buffer.Put()), S_OK);
    view = nullptr;
    section = nullptr;
    EXPECT_EQ(LiveObjects(), before + 1) << "only the buffer the test holds";
    EXPECT_EQ(buffer.As<IEditBuffer>()->Replace(0, 1, Bstr(u"x").Get()), S_OK) << "nobody listens any more";
    buffer = nullptr;
    EXPECT_EQ(LiveObjects(), before);
}

}  // namespace
}  // namespace scrivix::test

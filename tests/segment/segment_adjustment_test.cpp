// The segment's reaction to one buffer edit, as a pure function: the documented cases, when the buffer's
// length is asked for, a failing length, and long random edit sequences against the plain re-statement.
#include "segment/segment_adjustment.h"

#include "segment_sink.h"

#include <vector>

namespace scrivix::test {
namespace {

// Runs the rule over `range` for `edit` on a buffer whose length after the edit is `length`.
Outcome Adjust(Range range, SourceEdit edit, LONG length) {
    Outcome outcome{range, std::nullopt, 0};
    const SegmentAdjustment result = AdjustSegmentRange(
        outcome.range.origin, outcome.range.limit, edit.origin, edit.old_length, edit.new_length, [&](LONG& out) {
            ++outcome.length_asks;
            out = length;
            return S_OK;
        });
    EXPECT_EQ(result.status, S_OK);
    if (result.notify) outcome.event = edit.origin - outcome.range.origin;
    return outcome;
}

// The documented cases: a segment [10, 20) over 30 characters, and one [10, 28).
TEST(SegmentAdjustment, DocumentedCases) {
    const struct {
        const char* what;
        Range before;
        SourceEdit edit;
        Outcome after;
    } cases[] = {
        // Insertions.
        {"in front: shifts", {10, 20}, {5, 0, 5}, {{15, 25}, std::nullopt, 0}},
        {"at the origin: taken in", {10, 20}, {10, 0, 5}, {{10, 25}, 0, 1}},
        {"at the limit: taken in", {10, 20}, {20, 0, 5}, {{10, 25}, 10, 1}},
        {"behind: nothing", {10, 20}, {25, 0, 5}, {{10, 20}, std::nullopt, 1}},
        // Deletions.
        {"across the origin: origin holds, limit collapses onto it", {10, 20}, {5, 10, 0}, {{10, 10}, -5, 1}},
        {"wholly in front: shifts", {10, 20}, {0, 3, 0}, {{7, 17}, std::nullopt, 0}},
        {"in front, shifted origin at the replaced end", {10, 20}, {0, 8, 0}, {{2, 12}, -2, 0}},
        {"behind, limit pulled back to the buffer's end", {10, 28}, {25, 5, 0}, {{10, 25}, 15, 1}},
        {"over the limit, both hold: asked once", {10, 20}, {15, 10, 0}, {{10, 20}, std::nullopt, 1}},
        // Replacements.
        {"over the limit: limit holds", {10, 20}, {15, 10, 2}, {{10, 20}, std::nullopt, 1}},
        {"inside: limit follows", {10, 20}, {12, 3, 7}, {{10, 24}, 2, 1}},
        {"the whole segment and more: both held, limit pulled back", {10, 20}, {5, 20, 1}, {{10, 11}, -5, 1}},
    };
    for (const auto& c : cases) {
        const LONG length = 30 + c.edit.new_length - c.edit.old_length;
        const Outcome outcome = Adjust(c.before, c.edit, length);
        EXPECT_EQ(outcome, c.after) << c.what;
        EXPECT_EQ(Reference(c.before, c.edit, length), outcome) << c.what << ": the re-statement agrees";
    }
    // Positions at the top of their range do not overflow.
    const Outcome top = Adjust({0x7FFFFFF0, 0x7FFFFFFF}, {0x7FFFFFFF, 0x7FFFFFFF, 0}, 0);
    EXPECT_EQ(top.range, (Range{0, 0}));
    EXPECT_EQ(top, Reference({0x7FFFFFF0, 0x7FFFFFFF}, {0x7FFFFFFF, 0x7FFFFFFF, 0}, 0));
}

TEST(SegmentAdjustment, AFailingLengthEndsTheReactionWithItsStatus) {
    LONG origin = 10, limit = 20;
    int asks = 0;
    const auto failing = [&](LONG&) {
        ++asks;
        return E_UNEXPECTED;
    };
    SegmentAdjustment result = AdjustSegmentRange(origin, limit, 10, 0, 5, failing);
    EXPECT_EQ(result.status, E_UNEXPECTED);
    EXPECT_FALSE(result.notify);
    EXPECT_EQ((Range{origin, limit}), (Range{10, 20})) << "stopped before the limit";

    // The origin followed before the limit needed the length: that adjustment stays.
    EXPECT_EQ(AdjustSegmentRange(origin, limit, 0, 3, 0, failing).status, S_OK) << "nothing needed the length";
    EXPECT_EQ(AdjustSegmentRange(origin, limit, 12, 10, 0, failing).status, E_UNEXPECTED);
    EXPECT_EQ((Range{origin, limit}), (Range{7, 17}));
    EXPECT_EQ(asks, 2);
}

// Random edits of a buffer, with segments of every shape over it (empty, whole, reversed), checked
// against the re-statement step by step.
TEST(SegmentAdjustment, LongRandomEditSequencesAgreeWithThePlainRule) {
    RandomEdits edits(20240611);
    LONG length = 200;
    const auto any_range = [&] { return Range{edits.Between(0, length), edits.Between(0, length)}; };
    std::vector<Range> ranges{{0, length}, {length, length}};
    for (int i = 0; i < 40; ++i) ranges.push_back(any_range());

    for (int step = 0; step < 20000; ++step) {
        // Now and then a fresh segment, so that collapsed ones do not take over.
        if (step % 50 == 0) ranges[edits.Between(0, static_cast<LONG>(ranges.size()) - 1)] = any_range();
        const SourceEdit edit = edits.Next(length, 12);
        length += edit.new_length - edit.old_length;
        for (Range& range : ranges) {
            const Outcome outcome = Adjust(range, edit, length);
            ASSERT_EQ(outcome, Reference(range, edit, length)) << "step " << step << ": " << range << " by " << edit;
            range = outcome.range;
        }
    }
}

}  // namespace
}  // namespace scrivix::test

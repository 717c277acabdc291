// The segment's reaction to one buffer edit, as a pure function: the documented cases, when the buffer's
// length is asked for, a failing length, and long random edit sequences against a plain re-statement of
// the rule.
#include "segment/segment_adjustment.h"

#include "segment_reference.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>

namespace scrivix::test {
namespace {

// Runs the rule over `range` for `edit` on a buffer whose length after the edit is `length`.
Outcome Adjust(Range range, Edit edit, LONG length) {
    Outcome outcome{range, std::nullopt, 0};
    const SegmentAdjustment result =
        AdjustSegmentRange(outcome.range.origin, outcome.range.limit, edit.origin, edit.old_length, edit.new_length,
                           [&](LONG& out) {
                               ++outcome.length_asks;
                               out = length;
                               return S_OK;
                           });
    EXPECT_EQ(result.status, S_OK);
    if (result.notify) outcome.event = edit.origin - outcome.range.origin;
    return outcome;
}

// The documented cases: a segment [10, 20) over 30 characters, and one [10, 28).
struct Case {
    const char* what;
    Range before;
    Edit edit;
    Range after;
    std::optional<LONG> event;
};

const Case kCases[] = {
    // Insertions.
    {"in front: shifts", {10, 20}, {5, 0, 5}, {15, 25}, std::nullopt},
    {"at the origin: taken in", {10, 20}, {10, 0, 5}, {10, 25}, 0},
    {"at the limit: taken in", {10, 20}, {20, 0, 5}, {10, 25}, 10},
    {"behind: nothing", {10, 20}, {25, 0, 5}, {10, 20}, std::nullopt},
    // Deletions.
    {"across the origin: origin holds, limit collapses onto it", {10, 20}, {5, 10, 0}, {10, 10}, -5},
    {"wholly in front: shifts", {10, 20}, {0, 3, 0}, {7, 17}, std::nullopt},
    {"in front, shifted origin at the replaced end", {10, 20}, {0, 8, 0}, {2, 12}, -2},
    {"behind, limit pulled back to the buffer's end", {10, 28}, {25, 5, 0}, {10, 25}, 15},
    // Replacements.
    {"over the limit: limit holds", {10, 20}, {15, 10, 2}, {10, 20}, std::nullopt},
    {"inside: limit follows", {10, 20}, {12, 3, 7}, {10, 24}, 2},
    {"the whole segment and more: both held, limit pulled back", {10, 20}, {5, 20, 1}, {10, 11}, -5},
};

TEST(SegmentAdjustment, DocumentedCases) {
    for (const Case& c : kCases) {
        const LONG length = 30 + c.edit.new_length - c.edit.old_length;
        const Outcome outcome = Adjust(c.before, c.edit, length);
        EXPECT_EQ(outcome.range, c.after) << c.what;
        EXPECT_EQ(outcome.event, c.event) << c.what;
        EXPECT_EQ(Reference(c.before, c.edit, length), outcome) << c.what << ": the re-statement agrees";
    }
}

TEST(SegmentAdjustment, AsksTheLengthOnlyWhereAPositionHoldsItsPlace) {
    EXPECT_EQ(Adjust({10, 20}, {5, 0, 5}, 35).length_asks, 0) << "both ends follow";
    EXPECT_EQ(Adjust({10, 20}, {12, 0, 5}, 35).length_asks, 1) << "the origin holds";
    EXPECT_EQ(Adjust({10, 20}, {15, 10, 0}, 20).length_asks, 1) << "both hold: asked once";
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
    origin = 10, limit = 20;
    result = AdjustSegmentRange(origin, limit, 0, 3, 0, failing);
    EXPECT_EQ(result.status, S_OK) << "nothing needed the length";
    result = AdjustSegmentRange(origin, limit, 12, 10, 0, failing);
    EXPECT_EQ(result.status, E_UNEXPECTED);
    EXPECT_EQ((Range{origin, limit}), (Range{7, 17}));
    EXPECT_EQ(asks, 2);
}

TEST(SegmentAdjustment, EventsAtTheLimitsOfPositionsDoNotOverflow) {
    const Outcome outcome = Adjust({0x7FFFFFF0, 0x7FFFFFFF}, {0x7FFFFFFF, 0x7FFFFFFF, 0}, 0);
    EXPECT_EQ(outcome.range, (Range{0, 0}));
    EXPECT_EQ(outcome, Reference({0x7FFFFFF0, 0x7FFFFFFF}, {0x7FFFFFFF, 0x7FFFFFFF, 0}, 0));
}

// Random edits of a buffer, with segments of every shape over it (empty, whole, reversed), checked
// against the re-statement step by step.
TEST(SegmentAdjustment, LongRandomEditSequencesAgreeWithThePlainRule) {
    std::mt19937 random(20240611);
    const auto below = [&](LONG n) { return static_cast<LONG>(random() % static_cast<uint32_t>(n)); };
    LONG length = 200;
    std::vector<Range> ranges;
    for (int i = 0; i < 40; ++i) ranges.push_back({below(length + 1), below(length + 1)});
    ranges.push_back({0, length});
    ranges.push_back({length, length});

    for (int step = 0; step < 20000; ++step) {
        // Now and then a fresh segment, so that collapsed ones do not take over.
        if (step % 50 == 0) ranges[below(static_cast<LONG>(ranges.size()))] = {below(length + 1), below(length + 1)};
        Edit edit{below(length + 1), 0, below(12)};
        edit.old_length = below(std::min(length - edit.origin, 15) + 1);
        const LONG length_after = length - edit.old_length + edit.new_length;
        for (Range& range : ranges) {
            const Outcome expected = Reference(range, edit, length_after);
            const Outcome outcome = Adjust(range, edit, length_after);
            ASSERT_EQ(outcome, expected) << "step " << step << ": " << range << " by Modified(" << edit.origin << ", "
                                         << edit.old_length << ", " << edit.new_length << ")";
            range = outcome.range;
        }
        length = length_after;
    }
}

}  // namespace
}  // namespace scrivix::test

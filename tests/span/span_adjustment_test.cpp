// The span iterator's reaction to an edit of its source, as the pure function: the documented table, the
// front shift, pulling back to the source's end, and a failing length.
#include "span/span_adjustment.h"

#include <gtest/gtest.h>

namespace scrivix {
namespace {

// A result with opening [4, 5) and closing [8, 9), front shift 0, over a source of 20 characters.
constexpr SpanPositions kResult{0, 4, 5, 8, 9, 0};

SpanPositions Adjusted(SpanPositions at, SourceEdit edit, LONG length_after) {
    EXPECT_EQ(AdjustSpanToEdit(at, edit, [&](LONG& length) { length = length_after; return S_OK; }), S_OK);
    return at;
}

TEST(SpanAdjustment, TheDocumentedEdits) {
    const struct {
        SourceEdit edit;
        SpanPositions expected;
    } cases[] = {
        {{0, 0, 3}, {3, 4, 5, 8, 9, 0}},     // insertion at the source's start: only the front shift moves
        {{12, 2, 0}, kResult},               // edits behind the span
        {{15, 0, 4}, kResult},
        {{6, 1, 1}, {0, 4, 5, 8, 9, -1}},    // inside the body
        {{9, 0, 2}, {0, 4, 5, 8, 11, -1}},   // insertion at the span's end
        {{1, 2, 0}, {0, 2, 3, 6, 7, -1}},    // deletion in front of the span
        {{8, 0, 1}, {0, 4, 5, 8, 10, -1}},   // insertion at the closing's start joins the closing
    };
    for (const auto& c : cases) {
        const LONG length = 20 + c.edit.new_length - c.edit.old_length;
        EXPECT_EQ(Adjusted(kResult, c.edit, length), c.expected)
            << "Modified(" << c.edit.origin << ", " << c.edit.old_length << ", " << c.edit.new_length << ")";
    }
}

TEST(SpanAdjustment, PositionsArePulledBackToTheSourcesEnd) {
    // The tail [6, 20) is cut away: every position behind 6 stands at the new end.
    EXPECT_EQ(Adjusted(kResult, {6, 14, 0}, 6), (SpanPositions{0, 4, 5, 6, 6, -1}));
}

TEST(SpanAdjustment, TheFrontShiftCountsBeforeThePositions) {
    const SpanPositions shifted{3, 4, 5, 8, 9, 0};
    EXPECT_EQ(Adjusted(shifted, {2, 1, 0}, 22), (SpanPositions{2, 4, 5, 8, 9, 0}));
    EXPECT_EQ(Adjusted(shifted, {10, 0, 1}, 24), (SpanPositions{3, 4, 5, 9, 10, -1}));
}

TEST(SpanAdjustment, AFailingLengthEndsTheAdjustment) {
    SpanPositions at = kResult;
    int asked = 0;
    EXPECT_EQ(AdjustSpanToEdit(at, {6, 1, 1}, [&](LONG&) { ++asked; return E_FAIL; }), E_FAIL);
    EXPECT_EQ(asked, 1);
}

}  // namespace
}  // namespace scrivix

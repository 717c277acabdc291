// The span iterator's reaction to an edit of its source, as the pure function: the documented table, the
// front shift, pulling back to the source's end, and a failing length.
#include "span/span_adjustment.h"

#include "support/text_segments.h"

namespace scrivix {
namespace {

// A result with opening [4, 5) and closing [8, 9), front shift 0, over a source of 20 characters.
constexpr SpanPositions kResult{0, 4, 5, 8, 9, 0};
constexpr SpanPositions kShifted{3, 4, 5, 8, 9, 0};

TEST(SpanAdjustment, TheDocumentedEdits) {
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
        // The front shift counts before the positions.
        {kShifted, {2, 1, 0}, 22, {2, 4, 5, 8, 9, 0}},
        {kShifted, {10, 0, 1}, 24, {3, 4, 5, 9, 10, -1}},
    };
    for (const auto& c : cases) {
        SpanPositions at = c.before;
        EXPECT_EQ(AdjustSpanToEdit(at, c.edit, [&](LONG& length) { length = c.length_after; return S_OK; }), S_OK);
        EXPECT_EQ(at, c.expected) << c.edit;
    }
}

TEST(SpanAdjustment, AFailingLengthEndsTheAdjustment) {
    SpanPositions at = kResult;
    int asked = 0;
    EXPECT_EQ(AdjustSpanToEdit(at, {6, 1, 1}, [&](LONG&) { ++asked; return E_FAIL; }), E_FAIL);
    EXPECT_EQ(asked, 1);
}

}  // namespace
}  // namespace scrivix

// The iterator's adjustment to an edit of its source, as a pure function: the documented cases with the
// times the source's length is asked for, a failing length, extreme values, and long random edit
// sequences against a plain restatement of the rule.
#include "iterator/iterator_adjustment.h"

#include "support/text_segments.h"

#include <cstdint>

namespace scrivix {

// Found by argument-dependent lookup, so in the namespace of the type.
void PrintTo(const IteratorPositions& at, std::ostream* out) {
    *out << "{B " << at.base << ", S " << at.start << ", F " << at.end << ", M " << at.matched << "}";
}

namespace {

// The adjustment with a source of `length` characters; counts the times the length is asked for.
IteratorPositions Adjust(IteratorPositions at, SourceEdit edit, LONG length, int* asked = nullptr) {
    const auto source_length = [&](LONG& out) {
        if (asked) ++*asked;
        out = length;
        return S_OK;
    };
    EXPECT_EQ(AdjustToEdit(at, edit, source_length), S_OK);
    return at;
}

// A match [4, 7) found by target 0, base 0, over a source of 20 characters.
constexpr IteratorPositions kMatch{0, 4, 7, 0};

TEST(IteratorAdjustment, DocumentedCases) {
    const struct {
        IteratorPositions before;
        SourceEdit edit;
        LONG length;  // the source's length after the edit
        IteratorPositions after;
        int asked;  // the length is asked for only where a position stays before the edit, and once
    } cases[] = {
        {kMatch, {0, 0, 3}, 23, {3, 4, 7, 0}, 0},    // inserted in front: the base moves, the match stays
        {kMatch, {10, 2, 0}, 18, kMatch, 1},         // wholly behind the match: nothing changes
        {kMatch, {5, 1, 1}, 20, {0, 4, 7, -1}, 1},   // inside: the start stays, the end moves by 0, dropped
        {kMatch, {7, 0, 2}, 22, {0, 4, 9, -1}, 1},   // inserted at the match's end: taken in, dropped
        {kMatch, {4, 0, 2}, 22, {0, 4, 9, -1}, 1},   // at its start: the end moves, the start stays, dropped
        {kMatch, {5, 0, 2}, 22, {0, 4, 9, -1}, 1},   // just after the start: the same
        {{0, 10, 12, 1}, {2, 3, 0}, 17, {0, 7, 9, 1}, 0},  // deleted wholly before: both move, match stays
        // Over the whole match and on past it: the rule looks at where the replaced text ends.
        {kMatch, {2, 10, 0}, 10, kMatch, 1},
        {kMatch, {3, 2, 0}, 18, {0, 4, 5, -1}, 1},  // ends inside the match, begun before it
        {{0, 15, 18, 0}, {10, 10, 0}, 10, {0, 10, 10, -1}, 1},  // positions beyond the new end: pulled back
        // Ends at the match's end: the start is pulled back to the new end, the end moves and is pulled up.
        {{0, 12, 14, 0}, {5, 9, 0}, 11, {0, 11, 11, -1}, 1},
        {{5, 1, 2, 0}, {2, 3, 1}, 18, {3, 1, 2, 0}, 0},      // ends exactly at the base
        {{0, 6, 6, -1}, {6, 0, 4}, 24, {0, 6, 10, -1}, 1},   // a selection of length 0 at the insertion
        // The edit counts from the source, the selection from the base.
        {{3, 1, 4, 2}, {10, 0, 5}, 25, {3, 1, 4, 2}, 1},
        {{3, 1, 4, 2}, {5, 1, 0}, 19, {3, 1, 3, -1}, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << ::testing::PrintToString(c.before) << " " << c.edit);
        int asked = 0;
        EXPECT_EQ(Adjust(c.before, c.edit, c.length, &asked), c.after);
        EXPECT_EQ(asked, c.asked);
    }
}

TEST(IteratorAdjustment, AFailingLengthEndsTheAdjustmentKeepingWhatMoved) {
    IteratorPositions at = kMatch;
    const auto failing = [](LONG&) { return E_FAIL; };
    EXPECT_EQ(AdjustToEdit(at, {5, 1, 1}, failing), E_FAIL);
    EXPECT_EQ(at, kMatch) << "the start needed the length first";
    at = {0, 8, 9, 0};
    EXPECT_EQ(AdjustToEdit(at, {2, 3, 1}, failing), S_OK) << "never asked";
    EXPECT_EQ(at, (IteratorPositions{0, 6, 7, 0}));
}

// The rule once more, written from its statement: eager, in 64-bit arithmetic.
IteratorPositions Restated(IteratorPositions at, SourceEdit edit, LONG length) {
    int64_t B = at.base, S = at.start, F = at.end, M = at.matched;
    const int64_t E = int64_t{edit.origin} + edit.old_length, D = int64_t{edit.new_length} - edit.old_length;
    const int64_t L = length;
    if (E <= B) {
        B += D;
    } else {
        if (S + B > E) {
            S += D;
        } else if (S + B > L) {
            S = L - B;
            M = -1;
        }
        if (F + B >= E) {
            F += D;
            if (S + B <= E) M = -1;
            if (F < S) {
                F = S;
                M = -1;
            }
        } else if (F + B > L) {
            F = L - B;
            M = -1;
        }
    }
    return {static_cast<LONG>(B), static_cast<LONG>(S), static_cast<LONG>(F), static_cast<LONG>(M)};
}

TEST(IteratorAdjustment, LongRandomEditSequencesAgreeWithTheRestatement) {
    test::RandomEdits edits(20240611);
    for (int sequence = 0; sequence < 200; ++sequence) {
        LONG length = edits.Between(0, 60);
        IteratorPositions at{edits.Between(-3, 5), 0, 0, edits.Between(-1, 2)};
        for (int step = 0; step < 500; ++step) {
            if (step == 0 || edits.Between(0, 9) == 0) {  // now and then a new selection, as a Next makes
                at.start = edits.Between(0, length);
                at.end = edits.Between(at.start, length);
                if (step > 0) at.matched = edits.Between(0, 2);
            }
            // Edits around and inside the source, some reaching in front of it (negative origins).
            const SourceEdit edit = edits.Next(length, 12, 8);
            length = std::max<LONG>(0, length + edit.new_length - edit.old_length);
            int asked = 0;
            const IteratorPositions adjusted = Adjust(at, edit, length, &asked);
            ASSERT_EQ(adjusted, Restated(at, edit, length))
                << "sequence " << sequence << " step " << step << " from " << ::testing::PrintToString(at);
            ASSERT_LE(asked, 1);
            at = adjusted;
        }
    }
}

TEST(IteratorAdjustment, ExtremeValuesWrapInsteadOfOverflowing) {
    EXPECT_EQ(Adjust({0, INT32_MAX - 1, INT32_MAX, 0}, {0, 0, 5}, 0).base, 5);
    const IteratorPositions at{0, 10, INT32_MAX, 0};
    EXPECT_EQ(Adjust(at, {INT32_MAX, INT32_MAX, 0}, 0), Restated(at, {INT32_MAX, INT32_MAX, 0}, 0));
}

}  // namespace
}  // namespace scrivix

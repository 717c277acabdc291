// The iterator's adjustment to an edit of its source, as a pure function: the documented cases, when the
// source's length is asked for, a failing length, and long random edit sequences against a plain
// restatement of the rule.
#include "iterator/iterator_adjustment.h"

#include "support/text_segments.h"

#include <cstdint>

namespace scrivix {

// Found by argument-dependent lookup, so in the namespace of the type.
void PrintTo(const IteratorPositions& at, std::ostream* out) {
    *out << "{B " << at.base << ", S " << at.start << ", F " << at.end << ", M " << at.matched << "}";
}

namespace {

// Runs the adjustment with a source of `length` characters, counting the times the length is asked for.
struct Adjusted {
    IteratorPositions at;
    int length_calls = 0;
};
Adjusted Adjust(IteratorPositions at, SourceEdit edit, LONG length) {
    Adjusted result{at};
    EXPECT_EQ(AdjustToEdit(result.at, edit, [&](LONG& out) {
                  ++result.length_calls;
                  out = length;
                  return S_OK;
              }),
              S_OK);
    return result;
}

struct Case {
    IteratorPositions before;
    SourceEdit edit;
    LONG length;  // the source's length after the edit
    IteratorPositions after;
};

// A match [4, 7) found by target 0, base 0, over a source of 20 characters.
constexpr IteratorPositions kMatch{0, 4, 7, 0};

TEST(IteratorAdjustment, DocumentedCases) {
    const Case cases[] = {
        // Inserted in front of the iterator: the base moves, the match stays.
        {kMatch, {0, 0, 3}, 23, {3, 4, 7, 0}},
        // Wholly behind the match: nothing changes.
        {kMatch, {10, 2, 0}, 18, kMatch},
        // Inside the match: the start stays, the end stays by the shift 0, the match is dropped.
        {kMatch, {5, 1, 1}, 20, {0, 4, 7, -1}},
        // Inserted at the match's end: taken into the match, which is dropped.
        {kMatch, {7, 0, 2}, 22, {0, 4, 9, -1}},
        // Inserted at the match's start: the end moves, the start stays, the match is dropped.
        {kMatch, {4, 0, 2}, 22, {0, 4, 9, -1}},
        // Inserted just after the start: the same.
        {kMatch, {5, 0, 2}, 22, {0, 4, 9, -1}},
        // Deleted wholly before the match: both positions move, the match stays.
        {{0, 10, 12, 1}, {2, 3, 0}, 17, {0, 7, 9, 1}},
        // A deletion over the whole match that runs on past it: the rule looks at where the replaced
        // text ends, and both positions lie before that.
        {kMatch, {2, 10, 0}, 10, kMatch},
        // A deletion that ends inside the match, begun before it.
        {kMatch, {3, 2, 0}, 18, {0, 4, 5, -1}},
        // A deletion at the source's end leaves positions beyond it: they are pulled back.
        {{0, 15, 18, 0}, {10, 10, 0}, 10, {0, 10, 10, -1}},
        // A deletion that ends at the match's end: the start is pulled back to the source's new end, the
        // end moves with the edit and is pulled up to the start.
        {{0, 12, 14, 0}, {5, 9, 0}, 11, {0, 11, 11, -1}},
        // An edit that ends exactly at the base.
        {{5, 1, 2, 0}, {2, 3, 1}, 18, {3, 1, 2, 0}},
        // A selection of length 0 at an insertion point.
        {{0, 6, 6, -1}, {6, 0, 4}, 24, {0, 6, 10, -1}},
        // Positions relative to a base: the edit counts from the source, the selection from the base.
        {{3, 1, 4, 2}, {10, 0, 5}, 25, {3, 1, 4, 2}},
        {{3, 1, 4, 2}, {5, 1, 0}, 19, {3, 1, 3, -1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << ::testing::PrintToString(c.before) << " Modified(" << c.edit.origin
                                          << ", " << c.edit.old_length << ", " << c.edit.new_length << ")");
        EXPECT_EQ(Adjust(c.before, c.edit, c.length).at, c.after);
    }
}

TEST(IteratorAdjustment, AsksForTheLengthOnlyWhereAPositionStaysBeforeTheEdit) {
    EXPECT_EQ(Adjust(kMatch, {0, 0, 3}, 23).length_calls, 0) << "the base moves, nothing else is looked at";
    EXPECT_EQ(Adjust(kMatch, {2, 1, 0}, 19).length_calls, 0) << "both positions behind the edit";
    EXPECT_EQ(Adjust(kMatch, {5, 1, 1}, 20).length_calls, 1) << "the start stays: checked against the end";
    EXPECT_EQ(Adjust(kMatch, {10, 2, 0}, 18).length_calls, 1) << "both stay, asked once";
}

TEST(IteratorAdjustment, AFailingLengthEndsTheAdjustmentKeepingWhatMoved) {
    IteratorPositions at{0, 4, 7, 0};
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
            // Now and then a new selection, as a Next would make.
            if (step == 0 || edits.Between(0, 9) == 0) {
                at.start = edits.Between(0, length);
                at.end = edits.Between(at.start, length);
                if (step > 0) at.matched = edits.Between(0, 2);
            }
            // Edits around and inside the source, some reaching in front of it (negative origins).
            const SourceEdit edit = edits.Next(length, 12, 8);
            length = std::max<LONG>(0, length + edit.new_length - edit.old_length);
            const Adjusted adjusted = Adjust(at, edit, length);
            ASSERT_EQ(adjusted.at, Restated(at, edit, length))
                << "sequence " << sequence << " step " << step << " from " << ::testing::PrintToString(at);
            ASSERT_LE(adjusted.length_calls, 1);
            at = adjusted.at;
        }
    }
}

TEST(IteratorAdjustment, ExtremeValuesWrapInsteadOfOverflowing) {
    IteratorPositions at{0, INT32_MAX - 1, INT32_MAX, 0};
    EXPECT_EQ(AdjustToEdit(at, {0, 0, 5}, [](LONG&) { return S_OK; }), S_OK);
    EXPECT_EQ(at.base, 5);
    at = {0, 10, INT32_MAX, 0};
    EXPECT_EQ(AdjustToEdit(at, {INT32_MAX, INT32_MAX, 0}, [](LONG& n) { n = 0; return S_OK; }), S_OK);
    EXPECT_EQ(at, Restated({0, 10, INT32_MAX, 0}, {INT32_MAX, INT32_MAX, 0}, 0));
}

}  // namespace
}  // namespace scrivix

// How a pattern iterator's positions follow an edit of its source. The source segment tells each edit as
// Modified(Origin, OldLength, NewLength), counted from its own Origin: the OldLength characters at Origin
// were replaced by NewLength characters. This is the one place that decides what the edit does to the
// iterator's base, selection and current match; the iterator's sink only calls it.
#pragma once

#include <scrivix/scrivix.h>

#include <cstdint>

namespace scrivix {

// The positions an edit moves. `start` and `end` (the selection) count from `base`; `matched` is the
// number of the target that made the selection, -1 for none.
struct IteratorPositions {
    LONG base = 0;
    LONG start = 0;
    LONG end = 0;
    LONG matched = -1;
    bool operator==(const IteratorPositions&) const = default;
};

struct SourceEdit {
    LONG origin = 0;
    LONG old_length = 0;
    LONG new_length = 0;
};

// Moves `at` for `edit`. An edit that ends at or before the base moves the base and nothing else. Else a
// position behind the end of the replaced text moves with it (the selection's end also when it stands
// right there: text inserted at the end joins the selection), a position before it stays, and no position
// stays beyond the source's end. The match is dropped when the replaced text ends within the selection,
// ends included, or when a position had to be pulled back. `source_length(LONG&)` gives the source's
// Length; it is asked only on the branches that need it, and its failure ends the adjustment with that
// status, keeping what was moved before.
//
// Positions are 32-bit, as the interfaces give them; sums are formed in 64 bits and narrowed back, so
// that extreme values wrap instead of overflowing.
template <class SourceLength>
HRESULT AdjustToEdit(IteratorPositions& at, const SourceEdit& edit, SourceLength&& source_length) {
    using Wide = int64_t;
    const Wide edit_end = Wide{edit.origin} + edit.old_length;
    const Wide shift = Wide{edit.new_length} - edit.old_length;
    const auto moved = [&](LONG position) { return static_cast<LONG>(position + shift); };

    if (edit_end <= at.base) {
        at.base = moved(at.base);
        return S_OK;
    }
    LONG length = 0;
    bool length_known = false;
    // The source's end counted from the base, asked for once and only when a branch needs it.
    const auto end_from_base = [&](LONG& out) {
        if (!length_known) {
            if (HRESULT hr = source_length(length); FAILED(hr)) return hr;
            length_known = true;
        }
        out = static_cast<LONG>(Wide{length} - at.base);
        return S_OK;
    };

    if (Wide{at.start} + at.base > edit_end) {
        at.start = moved(at.start);
    } else {
        LONG limit = 0;
        if (HRESULT hr = end_from_base(limit); FAILED(hr)) return hr;
        if (at.start > limit) {
            at.start = limit;
            at.matched = -1;
        }
    }

    if (Wide{at.end} + at.base >= edit_end) {
        at.end = moved(at.end);
        if (Wide{at.start} + at.base <= edit_end) at.matched = -1;
        if (at.end < at.start) {
            at.end = at.start;
            at.matched = -1;
        }
    } else {
        LONG limit = 0;
        if (HRESULT hr = end_from_base(limit); FAILED(hr)) return hr;
        if (at.end > limit) {
            at.end = limit;
            at.matched = -1;
        }
    }
    return S_OK;
}

}  // namespace scrivix

// How a span iterator's result follows an edit of its source. The result is a pattern iterator's
// selection [opening start, closing end) counted from the front shift, with two positions inside it
// (opening end, closing start): the outer pair and the shift follow the pattern iterator's rule
// (AdjustToEdit), and each inner position moves as the selection's start does.
#pragma once

#include "iterator/iterator_adjustment.h"

#include <cstdint>
#include <initializer_list>

namespace scrivix {

struct SpanPositions {
    LONG front_shift = 0;
    LONG opening_start = 0;
    LONG opening_end = 0;
    LONG closing_start = 0;
    LONG closing_end = 0;
    LONG matched = -1;
    bool operator==(const SpanPositions&) const = default;
};

// Moves `at` for `edit`. An edit that ends at or before the front shift moves the shift and nothing else.
// Else a position behind the end of the replaced text moves with it (the closing end also when it stands
// right there), one before it stays, and none stays beyond the source's end; the result is dropped
// (matched -1) when the edit reaches into it from its opening start to its closing end, or when a
// position had to be pulled back. `source_length(LONG&)` gives the source's Length and is asked at most
// once, only when a rule needs it; its failure ends the adjustment with that status.
template <class SourceLength>
HRESULT AdjustSpanToEdit(SpanPositions& at, const SourceEdit& edit, SourceLength&& source_length) {
    using Wide = int64_t;
    const Wide edit_end = Wide{edit.origin} + edit.old_length;
    const bool before_front = edit_end <= at.front_shift;
    LONG length = 0;
    bool length_known = false;
    const auto length_once = [&](LONG& out) {
        if (!length_known) {
            if (HRESULT hr = source_length(length); FAILED(hr)) return hr;
            length_known = true;
        }
        out = length;
        return S_OK;
    };

    IteratorPositions outer{at.front_shift, at.opening_start, at.closing_end, at.matched};
    HRESULT hr = AdjustToEdit(outer, edit, length_once);
    at.front_shift = outer.base;
    at.opening_start = outer.start;
    at.closing_end = outer.end;
    at.matched = outer.matched;
    if (FAILED(hr) || before_front) return hr;

    for (LONG* inner : {&at.opening_end, &at.closing_start}) {
        if (Wide{*inner} + at.front_shift > edit_end) {
            *inner = static_cast<LONG>(*inner + (Wide{edit.new_length} - edit.old_length));
            continue;
        }
        LONG source_end = 0;
        if (FAILED(hr = length_once(source_end))) return hr;
        if (Wide{*inner} + at.front_shift > source_end) {
            *inner = static_cast<LONG>(Wide{source_end} - at.front_shift);
            at.matched = -1;
        }
    }
    return S_OK;
}

}  // namespace scrivix

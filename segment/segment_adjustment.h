// The rule by which a text segment's range [origin, limit) follows one edit of its buffer, as a pure
// function of the positions and the edit. The segment's sink calls it for every `Modified` of the buffer;
// tests run it against tables and long random edit sequences.
//
// The edit replaced the old_length characters at edit_origin by new_length characters. Where it lands
// against the end E of the replaced text decides:
//   origin  after E: moves with the text behind the edit. At or before E: stays (text inserted at the
//           origin, or replaced around it, belongs to the segment), but not beyond the buffer's new end.
//   limit   at or after E: moves with the edit (text inserted at the limit belongs to the segment), but
//           not in front of the origin. Before E: stays, but not beyond the buffer's new end.
// The edit concerns the segment, and goes on to its listeners, when either end had to be pulled back to
// the buffer's end, or when the limit moved with the edit while the origin lies at or before E.
#pragma once

#include <scrivix/scrivix.h>

#include <cstdint>

namespace scrivix {

struct SegmentAdjustment {
    // S_OK, or the failure of the buffer's length, which ended the adjustment where it stood.
    HRESULT status = S_OK;
    // Whether the listeners hear of the edit (never after a failure).
    bool notify = false;
};

// `buffer_length(LONG& length) -> HRESULT` gives the buffer's length after the edit; it is asked at most
// once, and only when a position lies at or before the end of the replaced text. Sums are taken in 64
// bits, so that no event, however wrong, overflows.
template <class LengthSource>
SegmentAdjustment AdjustSegmentRange(LONG& origin, LONG& limit, LONG edit_origin, LONG old_length, LONG new_length,
                                     LengthSource&& buffer_length) {
    const int64_t edit_end = int64_t{edit_origin} + old_length;
    const int64_t growth = int64_t{new_length} - old_length;
    SegmentAdjustment result;
    bool length_known = false;
    LONG length = 0;
    auto know_length = [&] {
        if (!length_known) {
            result.status = buffer_length(length);
            length_known = SUCCEEDED(result.status);
        }
        return length_known;
    };
    auto failed = [&] {
        result.notify = false;
        return result;
    };

    if (origin > edit_end) {
        origin = static_cast<LONG>(origin + growth);
    } else {
        if (!know_length()) return failed();
        if (origin > length) {
            origin = length;
            result.notify = true;
        }
    }

    if (limit >= edit_end) {
        limit = static_cast<LONG>(limit + growth);
        if (origin <= edit_end) result.notify = true;
        if (limit < origin) limit = origin;
    } else {
        if (!know_length()) return failed();
        if (limit > length) {
            limit = length;
            result.notify = true;
        }
    }
    return result;
}

}  // namespace scrivix

// The segment's adjustment rule restated plainly, as the gold standard the tests hold the fast function
// and the live segments to.
#pragma once

#include "support/text_segments.h"

#include <cstdint>
#include <optional>

namespace scrivix::test {

struct Outcome {
    Range range;
    std::optional<LONG> event;  // the position passed on to the listeners, relative to the new origin
    int length_asks = 0;
    bool operator==(const Outcome&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Outcome& o) {
        out << o.range << (o.event ? " event at " + std::to_string(*o.event) : " no event");
        return out << ", length asked " << o.length_asks << "x";
    }
};

// An end either follows the edit or holds its place. The origin follows when it lies beyond the replaced
// text, the limit when it lies at or beyond its end. A holding end is clipped to the buffer's new end, a
// following limit to the origin. The listeners hear of a clipped end, and of a limit that followed the
// edit while the origin did not lie beyond it. The length is needed only where an end holds.
inline Outcome Reference(Range range, SourceEdit edit, LONG length) {
    const int64_t replaced_end = int64_t{edit.origin} + edit.old_length;
    const int64_t shift = int64_t{edit.new_length} - edit.old_length;
    const bool origin_follows = range.origin > replaced_end;
    const bool limit_follows = range.limit >= replaced_end;
    const int64_t origin = origin_follows ? range.origin + shift : std::min<int64_t>(range.origin, length);
    const int64_t limit = limit_follows ? std::max(range.limit + shift, origin) : std::min<int64_t>(range.limit, length);
    const bool clipped = (!origin_follows && range.origin > length) || (!limit_follows && range.limit > length);
    const bool taken_in = limit_follows && origin <= replaced_end;
    Outcome outcome{{static_cast<LONG>(origin), static_cast<LONG>(limit)}, std::nullopt,
                    origin_follows && limit_follows ? 0 : 1};
    if (clipped || taken_in) outcome.event = static_cast<LONG>(edit.origin - origin);
    return outcome;
}

}  // namespace scrivix::test

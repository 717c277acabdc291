// What the segment tests share: a client's sink for a segment's `_ITextSegmentEvents` that records every
// call (and may run a hook on it, to log or to throw), connected the client's way; the check of a reported
// failure; and the segment's adjustment rule restated plainly, as the gold standard the tests hold the
// fast function and the live segments to.
#pragma once

#include "support/client_sink.h"
#include "support/text_segments.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace scrivix::test {

// One call a sink received: Modified(origin, old, new) or Reset(origin).
struct Event {
    enum Kind { modified, reset } kind;
    LONG origin, old_length, new_length;

    static Event Modified(LONG origin, LONG old_length, LONG new_length) {
        return {modified, origin, old_length, new_length};
    }
    static Event Reset(LONG start_at) { return {reset, start_at, 0, 0}; }
    bool operator==(const Event&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Event& e) {
        if (e.kind == reset) return out << "Reset(" << e.origin << ")";
        return out << SourceEdit{e.origin, e.old_length, e.new_length};
    }
};
using Events = std::vector<Event>;

class SegmentSink final : public ClientSink<_ITextSegmentEvents> {
public:
    explicit SegmentSink(std::function<void()> hook = {}) : hook_(std::move(hook)) {}

    HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override {
        return Record(Event::Modified(Origin, OldLength, NewLength));
    }
    HRESULT STDMETHODCALLTYPE Reset(LONG StartAt) override { return Record(Event::Reset(StartAt)); }

    HRESULT answer = S_OK;  // what the sink answers every call with
    // The calls received so far; taking them starts a new record.
    Events Take() { return std::exchange(calls_, {}); }

private:
    HRESULT Record(const Event& event) {
        calls_.push_back(event);
        if (hook_) hook_();
        return answer;
    }
    std::function<void()> hook_;
    Events calls_;
};

inline ComPtr<IConnectionPoint> SegmentEventPoint(IUnknown* segment) {
    ComPtr<IConnectionPoint> point;
    auto container = ComPtr<IUnknown>(segment).As<IConnectionPointContainer>();
    EXPECT_TRUE(container && container->FindConnectionPoint(IID__ITextSegmentEvents, point.Put()) == S_OK);
    return point;
}

// Connects `sink` to the segment's events and returns the cookie.
inline DWORD Listen(IUnknown* segment, IUnknown* sink) {
    DWORD cookie = 0;
    if (auto point = SegmentEventPoint(segment)) { EXPECT_EQ(point->Advise(sink, &cookie), S_OK); }
    return cookie;
}

// Checks that a segment operation failed with message `number` and left the segment's error record.
inline void ExpectReported(HRESULT result, UINT number, std::u16string_view description, DWORD help_context) {
    EXPECT_EQ(result, static_cast<HRESULT>(0x80040000u + number));
    const ErrorRecord record = TakeErrorRecord();
    EXPECT_EQ(record.guid, IID_ITextSegment);
    EXPECT_EQ(record.source, u"Scrivix.TextSegment.1");
    EXPECT_EQ(record.description, description);
    EXPECT_EQ(record.help_file, u"Scrivix.chm");
    EXPECT_EQ(record.help_context, help_context);
}

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

// What the segment tests share: a client's sink for a segment's `_ITextSegmentEvents` that records every
// call (and may run a hook on it, to log or to throw), connected the client's way through the segment's
// connection-point container, and the check of a reported failure.
#pragma once

#include "support/client_sink.h"
#include "support/text_segments.h"

#include <functional>
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
    using Hook = std::function<void(const Event&)>;
    explicit SegmentSink(Hook hook = {}) : hook_(std::move(hook)) {}

    HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override {
        return Record(Event::Modified(Origin, OldLength, NewLength));
    }
    HRESULT STDMETHODCALLTYPE Reset(LONG StartAt) override { return Record(Event::Reset(StartAt)); }

    // What the sink answers every call with.
    HRESULT answer = S_OK;
    // The calls received so far; taking them starts a new record.
    Events Take() { return std::exchange(calls_, {}); }

private:
    HRESULT Record(const Event& event) {
        calls_.push_back(event);
        if (hook_) hook_(event);
        return answer;
    }

    Hook hook_;
    Events calls_;
};

inline ComPtr<IConnectionPoint> SegmentEventPoint(IUnknown* segment) {
    ComPtr<IConnectionPointContainer> container;
    EXPECT_EQ(segment->QueryInterface(IID_IConnectionPointContainer, container.PutVoid()), S_OK);
    ComPtr<IConnectionPoint> point;
    if (container) {
        EXPECT_EQ(container->FindConnectionPoint(IID__ITextSegmentEvents, point.Put()), S_OK);
    }
    return point;
}

// Connects `sink` to the segment's events and returns the cookie.
inline DWORD Listen(IUnknown* segment, IUnknown* sink) {
    DWORD cookie = 0;
    if (auto point = SegmentEventPoint(segment)) {
        EXPECT_EQ(point->Advise(sink, &cookie), S_OK);
    }
    return cookie;
}

inline HRESULT StopListening(IUnknown* segment, DWORD cookie) {
    auto point = SegmentEventPoint(segment);
    return point ? point->Unadvise(cookie) : E_FAIL;
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

}  // namespace scrivix::test

// What the segment tests share: a client's sink for a segment's `_ITextSegmentEvents` that records every
// call (and may run a hook on it, to log or to throw), connected the client's way through the segment's
// connection-point container; and the steps most tests take (a segment over a text of either width, its
// range, its text).
#pragma once

#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/client_sink.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
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
        return out << "Modified(" << e.origin << ", " << e.old_length << ", " << e.new_length << ")";
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

// The two buffer classes a segment may be given.
struct NarrowSegments {
    static constexpr const char16_t* kBufferClass = u"Scrivix.EditBufferA";
    static constexpr const char16_t* kPatternClass = u"Scrivix.PatternA";
    static constexpr SHORT kCharSize = 1;
};
struct WideSegments {
    static constexpr const char16_t* kBufferClass = u"Scrivix.EditBufferU";
    static constexpr const char16_t* kPatternClass = u"Scrivix.PatternU";
    static constexpr SHORT kCharSize = 2;
};
using SegmentWidths = ::testing::Types<NarrowSegments, WideSegments>;
struct SegmentWidthNames {
    template <class W>
    static std::string GetName(int) {
        return std::is_same_v<W, NarrowSegments> ? "A" : "U";
    }
};

inline ComPtr<ITextSegment> NewTextSegment() {
    ComPtr<ITextSegment> segment;
    EXPECT_EQ(CoCreateInstance(CLSID_TextSegment, nullptr, CLSCTX_ALL, IID_ITextSegment, segment.PutVoid()), S_OK);
    return segment;
}

// A segment of width W over a new buffer holding `text`, as Text put leaves it: [0, length).
template <class W>
ComPtr<ITextSegment> NewTextSegment(std::u16string_view text) {
    auto segment = NewTextSegment();
    if (segment) {
        EXPECT_EQ(segment->put_BufferClass(Bstr(W::kBufferClass).Get()), S_OK);
        EXPECT_EQ(segment->put_Text(Bstr(text).Get()), S_OK);
    }
    return segment;
}

struct Range {
    LONG origin, limit;
    bool operator==(const Range&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Range& r) {
        return out << "[" << r.origin << ", " << r.limit << ")";
    }
};

inline Range RangeOf(ITextSegment* segment) {
    Range range{-1, -1};
    EXPECT_EQ(segment->Origin(&range.origin), S_OK);
    EXPECT_EQ(segment->Limit(&range.limit), S_OK);
    return range;
}

inline std::u16string TextOf(ITextSegment* segment) {
    Bstr text;
    EXPECT_EQ(segment->get_Text(text.Put()), S_OK);
    return std::u16string(text.View());
}

inline ComPtr<ITextSegment> SubSectionOf(ITextSegment* segment, LONG start, LONG end) {
    ComPtr<ITextSegment> section;
    EXPECT_EQ(segment->SubSection(start, end, section.Put()), S_OK);
    return section;
}

// Checks that a segment operation failed with message `number` of the table and left its error record.
inline void ExpectReported(HRESULT result, UINT number, std::u16string_view description, DWORD help_context) {
    EXPECT_EQ(result, static_cast<HRESULT>(0x80040000u + number));
    ComPtr<IErrorInfo> info;
    ASSERT_EQ(GetErrorInfo(0, info.Put()), S_OK);
    ASSERT_TRUE(info);
    GUID guid{};
    Bstr source, text, help_file;
    DWORD context = 0;
    info->GetGUID(&guid);
    info->GetSource(source.Put());
    info->GetDescription(text.Put());
    info->GetHelpFile(help_file.Put());
    info->GetHelpContext(&context);
    EXPECT_EQ(guid, IID_ITextSegment);
    EXPECT_EQ(source.View(), u"Scrivix.TextSegment.1");
    EXPECT_EQ(text.View(), description);
    EXPECT_EQ(help_file.View(), u"Scrivix.chm");
    EXPECT_EQ(context, help_context);
}

}  // namespace scrivix::test

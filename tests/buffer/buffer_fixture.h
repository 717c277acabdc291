// What the buffer tests share beyond the two widths: segments, the buffer's refusals and their error
// records, and RecordingSink, a client's sink for `_IEditBufferEvents` that records each Modified call and
// may run a hook on it (to log, block or throw).
#pragma once

#include "support/buffer_widths.h"
#include "support/client_sink.h"
#include "support/error_record.h"
#include "support/test_support.h"

#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <vector>

namespace scrivix::test {

template <class W>
ComPtr<IBufferSegment> NewSegment() {
    ComPtr<IBufferSegment> segment;
    EXPECT_EQ(CoCreateInstance(W::Segment(), nullptr, CLSCTX_ALL, IID_IBufferSegment, segment.PutVoid()), S_OK);
    return segment;
}

// What the getter `get` of `object` hands out, checking that it succeeds.
template <class T, class I>
T Out(I* object, HRESULT (STDMETHODCALLTYPE I::*get)(T*)) {
    T value{};
    EXPECT_EQ((object->*get)(&value), S_OK);
    return value;
}
inline LONG LengthOf(IEditBuffer* buffer) { return Out(buffer, &IEditBuffer::Length); }

// The status of the library's message `number`.
constexpr HRESULT Failure(UINT number) { return static_cast<HRESULT>(0x80040000u + number); }

// Checks that a buffer call of width W failed with message `number` and left that message's record.
template <class W>
void ExpectReported(HRESULT result, UINT number) {
    static const std::map<UINT, std::pair<std::u16string_view, DWORD>> messages = {
        {10000, {u"Invalid Extent.", 76}},
        {10002, {u"Invalid Start parameter.", 78}},
        {10003, {u"Invalid End parameter.", 79}},
        {10007, {u"Insuficient memory for operation.", 0xFFFFFFFF}}};
    EXPECT_EQ(result, Failure(number));
    const ErrorRecord record = TakeErrorRecord();
    EXPECT_EQ(record.description, messages.at(number).first);
    EXPECT_EQ(record.help_context, messages.at(number).second);
    EXPECT_EQ(record.guid, IID_IEditBuffer);
    EXPECT_EQ(record.source, W::kSource);
    EXPECT_EQ(record.help_file, u"Scrivix.chm");
}

struct Modification {
    LONG origin, old_length, new_length;
    bool operator==(const Modification&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Modification& m) {
        return out << "Modified(" << m.origin << ", " << m.old_length << ", " << m.new_length << ")";
    }
};
using Modifications = std::vector<Modification>;

class RecordingSink final : public ClientSink<_IEditBufferEvents> {
public:
    explicit RecordingSink(std::function<void()> hook = {}) : hook_(std::move(hook)) {}

    HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override {
        {
            std::lock_guard guard(mutex_);
            calls_.push_back({Origin, OldLength, NewLength});
        }
        if (hook_) hook_();
        return S_OK;
    }
    Modifications Calls() const {
        std::lock_guard guard(mutex_);
        return calls_;
    }

private:
    std::function<void()> hook_;
    mutable std::mutex mutex_;
    Modifications calls_;
};

inline ComPtr<IConnectionPoint> EventPoint(IUnknown* source) {
    ComPtr<IConnectionPoint> point;
    auto container = ComPtr<IUnknown>(source).As<IConnectionPointContainer>();
    EXPECT_TRUE(container && container->FindConnectionPoint(IID__IEditBufferEvents, point.Put()) == S_OK);
    return point;
}

// Connects `sink` the client's way and returns the cookie.
inline DWORD Connect(IUnknown* source, IUnknown* sink) {
    DWORD cookie = 0;
    if (auto point = EventPoint(source)) { EXPECT_EQ(point->Advise(sink, &cookie), S_OK); }
    return cookie;
}

}  // namespace scrivix::test

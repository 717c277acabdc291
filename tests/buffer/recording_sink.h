// RecordingSink: a client's sink for a buffer's `_IEditBufferEvents`. It records every Modified call and
// may run a hook on each (to log, block or throw). It lives on the test's stack and checks at the end that
// no connection still holds it. Connect and Disconnect go the client's way, through the buffer's
// connection-point container.
#pragma once

#include "platform/com_ptr.h"
#include "support/client_sink.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <ostream>
#include <vector>

namespace scrivix::test {

struct Modification {
    LONG origin, old_length, new_length;
    bool operator==(const Modification&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Modification& m) {
        return out << "Modified(" << m.origin << ", " << m.old_length << ", " << m.new_length << ")";
    }
};

class RecordingSink final : public ClientSink<_IEditBufferEvents> {
public:
    using Hook = std::function<void(const Modification&)>;
    explicit RecordingSink(Hook hook = {}) : hook_(std::move(hook)) {}


    HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override {
        const Modification call{Origin, OldLength, NewLength};
        {
            std::lock_guard guard(mutex_);
            calls_.push_back(call);
        }
        if (hook_) hook_(call);
        return S_OK;
    }

    std::vector<Modification> Calls() const {
        std::lock_guard guard(mutex_);
        return calls_;
    }

private:
    Hook hook_;
    mutable std::mutex mutex_;
    std::vector<Modification> calls_;
};

inline ComPtr<IConnectionPoint> EventPoint(IUnknown* source) {
    ComPtr<IConnectionPointContainer> container;
    EXPECT_EQ(source->QueryInterface(IID_IConnectionPointContainer, container.PutVoid()), S_OK);
    ComPtr<IConnectionPoint> point;
    if (container) {
        EXPECT_EQ(container->FindConnectionPoint(IID__IEditBufferEvents, point.Put()), S_OK);
    }
    return point;
}

// Connects `sink` to the buffer's events and returns the cookie.
inline DWORD Connect(IUnknown* source, IUnknown* sink) {
    DWORD cookie = 0;
    if (auto point = EventPoint(source)) {
        EXPECT_EQ(point->Advise(sink, &cookie), S_OK);
    }
    return cookie;
}

inline HRESULT Disconnect(IUnknown* source, DWORD cookie) {
    auto point = EventPoint(source);
    return point ? point->Unadvise(cookie) : E_FAIL;
}

}  // namespace scrivix::test

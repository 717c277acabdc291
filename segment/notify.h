// The listening side of change notification: the sink template DNotifyHandlerBase, through which an
// owner (a text segment, a pattern or span iterator) hears the events of its source, and the holder
// DComEventsPtr, which keeps the owner's source and its one sink together.
//
// Ownership runs one way: the owner holds its source and its sink; the sink holds the connection point
// it is advised at, and with it the source; the source's connection point holds the sink while it is
// connected. The sink holds only a plain pointer to its owner, so there is no cycle: releasing the last
// reference to the owner destroys it, and its destruction disconnects the sink before the sink's pointer
// could go stale.
#pragma once

#include "frame/dispatch.h"
#include "frame/object.h"

#include <utility>

namespace scrivix {

// A reference-counted sink answering IUnknown, IDispatch and the event interface Events, with a plain
// back pointer to its owner. Handlers derive from it and implement the methods of Events by calling
// their owner.
template <class Source, class Events, class Owner>
class DNotifyHandlerBase : public ObjectRoot, public Dual<Events> {
public:
    using MainInterface = Events;
    using Interfaces = InterfaceTable<Entry<Events>, Entry<IDispatch, Events>>;
    static const CLSID& ClassId() { return GUID_NULL; }
    static constexpr bool kAggregatable = false;
    using OwnerType = Owner;

    void SetOwner(Owner* owner) { owner_ = owner; }

protected:
    Owner* owner_ = nullptr;
};

// The holder of an owner's source and of the owner's sink, a Handler (a DNotifyHandlerBase) connected to
// the source's connection point for the handler's event interface.
template <class Handler, class Source>
class DComEventsPtr {
public:
    using Events = typename Handler::MainInterface;

    // The concrete sink: the handler, and the connection point it is advised at with the cookie of its
    // connection. Disconnecting goes straight to that point: the source is not asked for it again.
    class COMSink : public Handler {
    public:
        // Connects to `source`, disconnecting first from the source it is connected to.
        HRESULT Connect(const ComPtr<Source>& source) {
            HRESULT hr = Disconnect();
            if (FAILED(hr)) return hr;
            if (!source) return E_INVALIDARG;
            ComPtr<IConnectionPointContainer> container;
            ComPtr<IConnectionPoint> point;
            if (FAILED(hr = source.As(container)) ||
                FAILED(hr = container->FindConnectionPoint(uuidof<Events>(), point.Put())) ||
                FAILED(hr = point->Advise(static_cast<Events*>(this), &cookie_)))
                return hr;
            point_ = std::move(point);
            return S_OK;
        }
        // Ends the connection, if any; S_OK when not connected.
        HRESULT Disconnect() {
            if (!point_) return S_OK;
            const ComPtr<IConnectionPoint> point = std::move(point_);
            return point->Unadvise(std::exchange(cookie_, 0));
        }

    private:
        DWORD cookie_ = 0;
        // Holds the source as well: a connection point holds its container.
        ComPtr<IConnectionPoint> point_;
    };

    explicit DComEventsPtr(typename Handler::OwnerType* owner) {
        // Without its sink an owner hears nothing; the sink is missing only when memory ran out, and every
        // use below tolerates that.
        void* sink = nullptr;
        if (SUCCEEDED(CreateComObject<COMSink>(nullptr, uuidof<Events>(), &sink))) {
            sink_ = ComPtr<COMSink>::Adopt(static_cast<COMSink*>(static_cast<Events*>(sink)));
            sink_->SetOwner(owner);
        }
    }
    ~DComEventsPtr() {
        if (sink_) {
            sink_->Disconnect();
            sink_->SetOwner(nullptr);
        }
    }
    DComEventsPtr(const DComEventsPtr&) = delete;
    DComEventsPtr& operator=(const DComEventsPtr&) = delete;

    // Changes the source: disconnects the sink, keeps `source` (which may be empty) and connects the sink
    // to it. Owners ignore the status: a source without the connection point is simply not heard.
    HRESULT SetSource(ComPtr<Source> source) {
        if (sink_) sink_->Disconnect();
        source_ = std::move(source);
        return sink_ ? sink_->Connect(source_) : E_OUTOFMEMORY;
    }

    const ComPtr<Source>& Get() const { return source_; }
    Source* operator->() const { return source_.Get(); }
    explicit operator bool() const { return static_cast<bool>(source_); }

private:
    ComPtr<Source> source_;
    ComPtr<COMSink> sink_;
};

}  // namespace scrivix

// The connection point of an object with one outgoing interface: the container, the point itself, the
// list of connected sinks and the one loop that fires an event to them.
//
// A class with events derives from ConnectionPoints<Itself, Events> and answers
// IConnectionPointContainer through it; it fires with
//
//     Fire([&](Events* sink) { return sink->Modified(origin, old_length, new_length); });
//
// Sinks are called synchronously, in connection order, under the object's lock; their statuses are not
// looked at, and an exception thrown by one does not keep the others from being called.
#pragma once

#include "frame/object.h"

#include <vector>

namespace scrivix {

template <class Owner, class Events>
class ConnectionPoints : public IConnectionPointContainer {
public:
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** points) override {
        if (points) *points = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) override {
        if (!point) return E_POINTER;
        *point = nullptr;
        if (iid != uuidof<Events>()) return CONNECT_E_NOCONNECTION;
        *point = &point_;
        point_.AddRef();
        return S_OK;
    }

protected:
    template <class Call>
    void Fire(Call&& call) {
        ObjectLockGuard guard(OwnerObject().ObjectLock());
        // By index, and each sink held for its call: a sink may disconnect itself, or connect another,
        // while it is being called.
        for (size_t place = 0; place < sinks_.size(); ++place) {
            ComPtr<Events> sink = sinks_[place];
            if (!sink) continue;
            try {
                call(sink.Get());
            } catch (...) {
            }
        }
    }

    bool HasSinks() {
        ObjectLockGuard guard(OwnerObject().ObjectLock());
        for (const auto& sink : sinks_)
            if (sink) return true;
        return false;
    }

private:
    Owner& OwnerObject() { return static_cast<Owner&>(*this); }

    // The point shares its container's reference count: holding the point holds the object.
    class Point final : public IConnectionPoint {
    public:
        explicit Point(ConnectionPoints& container) : container_(container) {}

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override {
            if (!ppv) return E_POINTER;
            *ppv = nullptr;
            if (iid != IID_IUnknown && iid != IID_IConnectionPoint) return E_NOINTERFACE;
            *ppv = static_cast<IConnectionPoint*>(this);
            AddRef();
            return S_OK;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return container_.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return container_.Release(); }

        HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
            if (!iid) return E_POINTER;
            *iid = uuidof<Events>();
            return S_OK;
        }
        HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) override {
            if (!container) return E_POINTER;
            *container = &container_;
            container_.AddRef();
            return S_OK;
        }
        HRESULT STDMETHODCALLTYPE Advise(IUnknown* unknown, DWORD* cookie) override {
            if (!cookie) return E_POINTER;
            *cookie = 0;
            if (!unknown) return E_POINTER;
            ComPtr<Events> sink;
            if (FAILED(unknown->QueryInterface(uuidof<Events>(), sink.PutVoid()))) return CONNECT_E_CANNOTCONNECT;
            return Guarded([&] {
                ObjectLockGuard guard(container_.OwnerObject().ObjectLock());
                auto& sinks = container_.sinks_;
                // A new connection takes the first free place; its cookie is the place's number.
                size_t place = 0;
                while (place < sinks.size() && sinks[place]) ++place;
                if (place == sinks.size()) sinks.emplace_back();
                sinks[place] = std::move(sink);
                *cookie = static_cast<DWORD>(place + 1);
                return S_OK;
            });
        }
        HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
            ComPtr<Events> released;
            ObjectLockGuard guard(container_.OwnerObject().ObjectLock());
            auto& sinks = container_.sinks_;
            if (cookie == 0 || cookie > sinks.size() || !sinks[cookie - 1]) return CONNECT_E_NOCONNECTION;
            released = std::move(sinks[cookie - 1]);
            return S_OK;
        }
        HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** connections) override {
            if (connections) *connections = nullptr;
            return E_NOTIMPL;
        }

    private:
        ConnectionPoints& container_;
    };

    Point point_{*this};
    std::vector<ComPtr<Events>> sinks_;
};

}  // namespace scrivix

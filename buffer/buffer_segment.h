// DBufferSegment: the read-only view through which matchers read an edit buffer in place. Bound to a
// buffer it holds one read lock on it, so the raw positions it captured stay valid; unbound it holds
// nothing. The whole buffer is one block, so there is exactly one segment and moving between segments
// leaves the view where it is.
#pragma once

#include "frame/dispatch.h"
#include "frame/object.h"

#include <cstdint>

namespace scrivix {

template <class T, const CLSID& Clsid>
class DBufferSegment : public ObjectRoot, public SupportErrorInfo<IBufferSegment>, public Dual<IBufferSegment> {
public:
    using MainInterface = IBufferSegment;
    using Interfaces = InterfaceTable<Entry<IBufferSegment>, Entry<IDispatch, IBufferSegment>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return Clsid; }
    static constexpr bool kAggregatable = true;

    ~DBufferSegment() override { Unbind(); }

    HRESULT STDMETHODCALLTYPE get_MaxSize(LONG* Size) override;
    HRESULT STDMETHODCALLTYPE put_MaxSize(LONG Size) override;
    HRESULT STDMETHODCALLTYPE Begin(void** Position) override { return Out(begin_, Position); }
    HRESULT STDMETHODCALLTYPE End(void** Position) override { return Out(end_, Position); }
    HRESULT STDMETHODCALLTYPE CharacterSize(SHORT* Size) override;
    HRESULT STDMETHODCALLTYPE SegBegin(void** Position) override { return Out(segment_begin_, Position); }
    HRESULT STDMETHODCALLTYPE SegEnd(void** Position) override { return Out(segment_end_, Position); }
    HRESULT STDMETHODCALLTYPE NextSegment(void** Position) override { return Out(segment_begin_, Position); }
    HRESULT STDMETHODCALLTYPE PrevSegment(void** Position) override;
    HRESULT STDMETHODCALLTYPE get_Source(LONG Origin, LONG Limit, IUnknown** Buffer) override;
    HRESULT STDMETHODCALLTYPE put_Source(LONG Origin, LONG Limit, IUnknown* Buffer) override;
    HRESULT STDMETHODCALLTYPE Length(LONG* Length) override;

private:
    static HRESULT Out(T* position, void** out) {
        if (!out) return E_POINTER;
        *out = position;
        return S_OK;
    }
    // The address of character `position` counted from begin.
    T* CharacterAt(LONG position) const;
    void Unbind();

    T* begin_ = nullptr;
    T* end_ = nullptr;
    ComPtr<IEditBuffer> source_;
    T* segment_begin_ = nullptr;
    T* segment_end_ = nullptr;
    LONG max_size_ = 0;
};

using BufferSegmentA = DBufferSegment<char, CLSID_BufferSegmentA>;
using BufferSegmentU = DBufferSegment<char16_t, CLSID_BufferSegmentU>;

// `object` as one of this library's buffer segments, told by its interface table alone (the first word of
// every interface pointer), without asking the object and so without touching its count; null for any
// other object, which must be asked for IBufferSegment as usual. Searches are handed buffer segments at a
// high rate (one per Find, one per iterator step) and mostly the library's own.
IBufferSegment* AsLibraryBufferSegment(IUnknown* object);

}  // namespace scrivix

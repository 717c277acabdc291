// Binding, rebinding and unbinding a buffer segment. Every path that takes the read lock either keeps the
// segment bound or gives the lock back.
#include "buffer/buffer_segment.h"

#include "frame/class_table.h"

namespace scrivix {

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::get_MaxSize(LONG* Size) {
    if (!Size) return E_POINTER;
    *Size = max_size_;
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::put_MaxSize(LONG Size) {
    max_size_ = Size;
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::CharacterSize(SHORT* Size) {
    if (!Size) return E_POINTER;
    *Size = sizeof(T);
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::PrevSegment(void** Position) {
    if (!Position) return E_POINTER;
    segment_end_ = segment_begin_;
    *Position = segment_end_;
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::Length(LONG* Length) {
    if (!Length) return E_POINTER;
    *Length = static_cast<LONG>(end_ - begin_);
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::get_Source(LONG, LONG, IUnknown** Buffer) {
    if (!Buffer) return E_POINTER;
    *Buffer = nullptr;
    if (!source_) return E_POINTER;
    return source_->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(Buffer));
}

template <class T, const CLSID& Clsid>
HRESULT DBufferSegment<T, Clsid>::put_Source(LONG Origin, LONG Limit, IUnknown* Buffer) {
    Unbind();
    if (!Buffer) return S_OK;
    ComPtr<IEditBuffer> buffer;
    HRESULT hr = Buffer->QueryInterface(IID_IEditBuffer, buffer.PutVoid());
    if (hr == E_NOINTERFACE) return S_OK;
    if (FAILED(hr)) return hr;
    if (FAILED(hr = buffer->LockForRead())) return hr;
    void* begin = nullptr;
    void* end = nullptr;
    if (FAILED(hr = buffer->get_Begin(&begin)) || FAILED(hr = buffer->get_End(&end))) {
        buffer->UnlockFromRead();
        return hr;
    }
    source_ = std::move(buffer);
    begin_ = static_cast<T*>(begin);
    end_ = static_cast<T*>(end);
    // Origin and Limit are not checked beyond keeping the end inside the buffer.
    segment_begin_ = CharacterAt(Origin);
    segment_end_ = Limit > end_ - begin_ ? end_ : CharacterAt(Limit);
    return S_OK;
}

template <class T, const CLSID& Clsid>
T* DBufferSegment<T, Clsid>::CharacterAt(LONG position) const {
    // Computed on the address, not as pointer arithmetic: an unchecked position may lie outside the
    // block, or the buffer may have none (a null begin), and the view only hands the address on.
    const auto offset = static_cast<uintptr_t>(static_cast<intptr_t>(position)) * sizeof(T);
    return reinterpret_cast<T*>(reinterpret_cast<uintptr_t>(begin_) + offset);
}

template <class T, const CLSID& Clsid>
void DBufferSegment<T, Clsid>::Unbind() {
    if (ComPtr<IEditBuffer> source = std::move(source_)) source->UnlockFromRead();
    begin_ = end_ = segment_begin_ = segment_end_ = nullptr;
}

namespace {

const void* InterfaceTableOf(const IUnknown* object) { return *reinterpret_cast<const void* const*>(object); }

// The table of IBufferSegment in objects of class T, read off an unbound object made for the purpose.
template <class T>
const void* BufferSegmentTable() {
    ComObject<T> probe;
    return InterfaceTableOf(static_cast<IBufferSegment*>(&probe));
}

// Read once, when the library is loaded: the check runs for every search.
const void* const kNarrowTable = BufferSegmentTable<BufferSegmentA>();
const void* const kWideTable = BufferSegmentTable<BufferSegmentU>();

}  // namespace

IBufferSegment* AsLibraryBufferSegment(IUnknown* object) {
    const void* table = InterfaceTableOf(object);
    const bool ours = table == kNarrowTable || table == kWideTable;
    // The table is that of IBufferSegment itself: the pointer is that interface.
    return ours ? static_cast<IBufferSegment*>(object) : nullptr;
}

template class DBufferSegment<char, CLSID_BufferSegmentA>;
template class DBufferSegment<char16_t, CLSID_BufferSegmentU>;

HRESULT CreateBufferSegmentA(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<BufferSegmentA>(outer, iid, ppv);
}
HRESULT CreateBufferSegmentU(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<BufferSegmentU>(outer, iid, ppv);
}

}  // namespace scrivix

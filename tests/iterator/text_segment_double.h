// A stand-in text segment for the iterator's tests and benchmark: a range [Origin, Limit) over an edit
// buffer with just the operations a pattern iterator calls (Origin, Limit, Length, Text get, SubSection,
// Replace, SegmentBuffer, PatternClass), the connection point for _ITextSegmentEvents, and the range
// rule by which a segment follows its buffer's edits and passes on those that concern it. Tests reach
// FireModified and FireReset to speak for the segment directly.
#pragma once

#include "frame/class_name.h"
#include "frame/connection_point.h"
#include "frame/dispatch.h"
#include "frame/object.h"
#include "platform/bstr.h"
#include "segment/notify.h"

namespace scrivix::test {

class TextSegmentDouble : public ObjectRoot,
                          public ConnectionPoints<TextSegmentDouble, _ITextSegmentEvents>,
                          public Dual<ITextSegment> {
public:
    using MainInterface = ITextSegment;
    using Interfaces =
        InterfaceTable<Entry<ITextSegment>, Entry<IDispatch, ITextSegment>, Entry<IConnectionPointContainer>>;
    static const CLSID& ClassId() { return GUID_NULL; }
    static constexpr bool kAggregatable = false;

    class BufferHandler : public DNotifyHandlerBase<IEditBuffer, _IEditBufferEvents, TextSegmentDouble> {
    public:
        HRESULT STDMETHODCALLTYPE Modified(LONG origin, LONG old_length, LONG new_length) override {
            if (owner_) owner_->BufferModified(origin, old_length, new_length);
            return S_OK;
        }
    };

    // A segment [origin, limit) over `buffer`.
    static ComPtr<ITextSegment> Over(const ComPtr<IEditBuffer>& buffer, LONG origin, LONG limit) {
        ComPtr<ITextSegment> segment;
        if (FAILED(MakeObject<TextSegmentDouble>(segment))) return nullptr;
        auto& self = Of(segment.Get());
        self.origin_ = origin;
        self.limit_ = limit;
        self.buffer_.SetSource(buffer);
        Bstr pattern_class;
        buffer->get_PatternClass(pattern_class.Put());
        self.pattern_class_.Put(pattern_class.Get());
        return segment;
    }
    static TextSegmentDouble& Of(ITextSegment* segment) { return *static_cast<TextSegmentDouble*>(segment); }

    void FireModified(LONG origin, LONG old_length, LONG new_length) {
        Fire([&](_ITextSegmentEvents* sink) { return sink->Modified(origin, old_length, new_length); });
    }
    void FireReset(LONG start_at) {
        Fire([&](_ITextSegmentEvents* sink) { return sink->Reset(start_at); });
    }

    HRESULT STDMETHODCALLTYPE Origin(LONG* out) override { return Out(origin_, out); }
    HRESULT STDMETHODCALLTYPE Limit(LONG* out) override { return Out(limit_, out); }
    HRESULT STDMETHODCALLTYPE Length(LONG* out) override { return Out(limit_ - origin_, out); }
    HRESULT STDMETHODCALLTYPE get_Text(BSTR* text) override {
        return buffer_->SubSection(origin_, limit_, text);
    }
    HRESULT STDMETHODCALLTYPE SubSection(LONG start, LONG end, ITextSegment** section) override {
        if (!section) return E_POINTER;
        *section = nullptr;
        const LONG a = origin_ + start, b = origin_ + end;
        if (a < 0 || a > limit_ || b < 0 || b > limit_) return E_INVALIDARG;
        *section = Over(buffer_.Get(), a, b).Detach();
        return *section ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT STDMETHODCALLTYPE Replace(LONG from, LONG to, BSTR with) override {
        const LONG a = origin_ + from, n = to - from;
        if (a > limit_ || origin_ + n > limit_ || n < 0) return E_INVALIDARG;
        return buffer_->Replace(a, n, with);
    }
    // A buffer segment of the buffer's SegmentClass, bound to this range.
    HRESULT STDMETHODCALLTYPE SegmentBuffer(IUnknown** lock) override {
        if (!lock) return E_POINTER;
        *lock = nullptr;
        Bstr segment_class;
        HRESULT hr = buffer_->get_SegmentClass(segment_class.Put());
        if (FAILED(hr)) return hr;
        ComPtr<IBufferSegment> segment;
        if (FAILED(hr = CreateFromClassName(segment_class.Get(), segment)) ||
            FAILED(hr = segment->put_Source(origin_, limit_, buffer_.Get().Get())))
            return hr;
        *lock = segment.Detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_PatternClass(BSTR* name) override { return pattern_class_.Get(name); }
    HRESULT STDMETHODCALLTYPE put_PatternClass(BSTR name) override { return pattern_class_.Put(name); }

    // Not needed by an iterator.
    HRESULT STDMETHODCALLTYPE put_Text(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExtendForwardBy(LONG, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExtendBackwardBy(LONG, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExtendForwardTo(IPattern*, VARIANT_BOOL, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ExtendBackwardTo(IPattern*, VARIANT_BOOL, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LoadFile(BSTR, SHORT, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE WriteFile(BSTR, SHORT, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_BufferClass(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_BufferClass(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindPattern(BSTR, LONG, BSTR, LONG, IPatternIterator**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_PatternIteratorClass(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_PatternIteratorClass(BSTR) override { return E_NOTIMPL; }

private:
    static HRESULT Out(LONG value, LONG* out) {
        if (!out) return E_POINTER;
        *out = value;
        return S_OK;
    }

    // The segment's range rule: an origin at or before the end of the replaced text stays, a limit at or
    // behind it moves with it, neither stays beyond the buffer's end; the edit is passed on, relative to
    // the new origin, when it reaches the range from the front or a position had to be pulled back.
    void BufferModified(LONG e, LONG old_length, LONG new_length) {
        ObjectLockGuard guard(ObjectLock());
        const LONG end = e + old_length, shift = new_length - old_length;
        LONG buffer_length = 0;
        buffer_->Length(&buffer_length);
        bool notify = false;
        if (origin_ > end) {
            origin_ += shift;
        } else if (origin_ > buffer_length) {
            origin_ = buffer_length;
            notify = true;
        }
        if (limit_ >= end) {
            limit_ += shift;
            if (origin_ <= end) notify = true;
            if (limit_ < origin_) limit_ = origin_;
        } else if (limit_ > buffer_length) {
            limit_ = buffer_length;
            notify = true;
        }
        if (notify) FireModified(e - origin_, old_length, new_length);
    }

    LONG origin_ = 0;
    LONG limit_ = 0;
    ClassNameProperty pattern_class_{u""};
    DComEventsPtr<BufferHandler, IEditBuffer> buffer_{this};
};

}  // namespace scrivix::test

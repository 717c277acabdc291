// The operations of the text segment. Operations that look at or change the range as a whole (Text, the
// extensions, BufferClass) hold the segment's lock, as does the reaction to the buffer's edits and every
// firing of events; the others run without it and take only a copy of the buffer reference under it.
#include "segment/text_segment.h"

#include "frame/class_table.h"
#include "segment/segment_adjustment.h"

#include <algorithm>
#include <cstdint>

namespace scrivix {
namespace {

// A 64-bit position difference as the 32-bit count an interface returns.
LONG Narrow(int64_t value) { return static_cast<LONG>(value); }

}  // namespace

HRESULT DTextSegment::DNotifyHandler::Modified(LONG Origin, LONG OldLength, LONG NewLength) {
    return owner_ ? owner_->BufferModified(Origin, OldLength, NewLength) : S_OK;
}

HRESULT DTextSegment::BufferModified(LONG origin, LONG old_length, LONG new_length) {
    ObjectLockGuard guard(ObjectLock());
    LONG segment_origin = origin_;
    LONG segment_limit = limit_;
    const SegmentAdjustment adjustment =
        AdjustSegmentRange(segment_origin, segment_limit, origin, old_length, new_length,
                           [this](LONG& length) { return BufferLength(length); });
    origin_ = segment_origin;
    limit_ = segment_limit;
    // To the listeners the edit is relative to the new origin: negative when it began in front of it.
    if (adjustment.notify) FireModified(Narrow(int64_t{origin} - segment_origin), old_length, new_length);
    return adjustment.status;
}

void DTextSegment::FireModified(LONG origin, LONG old_length, LONG new_length) {
    Fire([&](_ITextSegmentEvents* sink) { return sink->Modified(origin, old_length, new_length); });
}

void DTextSegment::FireReset() {
    Fire([](_ITextSegmentEvents* sink) { return sink->Reset(0); });
}

ComPtr<IEditBuffer> DTextSegment::Buffer() {
    ObjectLockGuard guard(ObjectLock());
    return buffer_.Get();
}

HRESULT DTextSegment::BufferLength(LONG& length) { return buffer_ ? buffer_->Length(&length) : E_POINTER; }

HRESULT DTextSegment::BindNewBuffer() {
    buffer_.SetSource(nullptr);
    const Bstr buffer_class = buffer_class_.Value();
    if (buffer_class.IsNull()) return E_INVALIDARG;
    ComPtr<IEditBuffer> buffer;
    HRESULT hr = CreateFromClassName(buffer_class.Get(), buffer);
    if (FAILED(hr)) return hr;
    // A buffer without the connection point is kept all the same; the segment then hears no edits.
    buffer_.SetSource(buffer);
    Bstr pattern_class;
    if (FAILED(hr = buffer->get_PatternClass(pattern_class.Put()))) return hr;
    return pattern_class_.Put(pattern_class.Get());
}

HRESULT DTextSegment::get_Text(BSTR* Text) {
    if (!Text) return E_POINTER;
    *Text = nullptr;
    ObjectLockGuard guard(ObjectLock());
    if (!buffer_) return CopyToBstr(u"", Text);
    return buffer_->SubSection(origin_, limit_, Text);
}

HRESULT DTextSegment::put_Text(BSTR Text) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        HRESULT hr = BindNewBuffer();
        if (FAILED(hr)) return hr;
        // The buffer's Modified for the new text reaches this segment, and its listeners, right here.
        if (FAILED(hr = buffer_->Text(Text))) return hr;
        LONG length = 0;
        if (FAILED(hr = buffer_->Length(&length))) return hr;
        origin_ = 0;
        limit_ = length;
        FireReset();
        return S_OK;
    });
}

HRESULT DTextSegment::Origin(LONG* Offset) {
    if (!Offset) return E_POINTER;
    *Offset = origin_;
    return S_OK;
}

HRESULT DTextSegment::Limit(LONG* Lim) {
    if (!Lim) return E_POINTER;
    *Lim = limit_;
    return S_OK;
}

HRESULT DTextSegment::Length(LONG* Len) {
    if (!Len) return E_POINTER;
    *Len = Narrow(int64_t{limit_} - origin_);
    return S_OK;
}

// No lower bound: a negative count moves Limit back past Origin, and even past 0; only a limit that 32
// bits cannot hold is refused.
HRESULT DTextSegment::ExtendForwardBy(LONG Characters, LONG* Actual) {
    if (!Actual) return E_POINTER;
    *Actual = 0;
    ObjectLockGuard guard(ObjectLock());
    LONG length = 0;
    if (const HRESULT hr = BufferLength(length); FAILED(hr)) return hr;
    const int64_t old_limit = limit_;
    const int64_t new_limit = std::min<int64_t>(old_limit + Characters, length);
    if (new_limit < INT32_MIN) return E_INVALIDARG;
    limit_ = Narrow(new_limit);
    *Actual = Narrow(new_limit - old_limit);
    return S_OK;
}

HRESULT DTextSegment::ExtendBackwardBy(LONG Characters, LONG* Actual) {
    if (!Actual) return E_POINTER;
    *Actual = 0;
    ObjectLockGuard guard(ObjectLock());
    LONG length = 0;
    if (const HRESULT hr = BufferLength(length); FAILED(hr)) return hr;
    const int64_t old_origin = origin_;
    const int64_t new_origin = std::min<int64_t>(std::max<int64_t>(old_origin - Characters, 0), length);
    origin_ = Narrow(new_origin);
    *Actual = Narrow(old_origin - new_origin);
    // To the listeners, Actual characters have appeared at the front of the segment.
    FireModified(0, 0, *Actual);
    return S_OK;
}

HRESULT DTextSegment::ExtendForwardTo(IPattern* Pattern, VARIANT_BOOL Include, LONG* Distance) {
    return ExtendTo(Direction::forward, Pattern, Include, Distance);
}

HRESULT DTextSegment::ExtendBackwardTo(IPattern* Pattern, VARIANT_BOOL Include, LONG* Distance) {
    return ExtendTo(Direction::backward, Pattern, Include, Distance);
}

// Searches from the segment's end towards the buffer's end (or from its origin towards the buffer's start)
// one look-ahead at a time, and moves that end of the segment to the first occurrence: behind it with
// `include`, in front of it without. The listeners hear of the move even when nothing was found.
HRESULT DTextSegment::ExtendTo(Direction direction, IPattern* pattern_argument, VARIANT_BOOL include,
                               LONG* distance) {
    if (!distance) return E_POINTER;
    *distance = 0;
    if (!pattern_argument) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        ComPtr<IBufferSegment> view;
        HRESULT hr = MakeBufferSegment(view);
        if (FAILED(hr)) return hr;
        ComPtr<IPattern> pattern;
        if (FAILED(hr = pattern_argument->QueryInterface(IID_IPattern, pattern.PutVoid()))) return hr;
        LONG look_ahead = 0;
        LONG length = 0;
        if (FAILED(hr = pattern->get_LookAhead(&look_ahead)) || FAILED(hr = buffer_->Length(&length))) return hr;

        VARIANT_BOOL found = VARIANT_FALSE;
        if (direction == Direction::forward) {
            const int64_t old_limit = limit_;
            // Each search may start an occurrence within one look-ahead; a pattern that looks nowhere
            // (a look-ahead of 0 or less) finds nothing, so one try is all it gets.
            for (int64_t from = std::max<int64_t>(old_limit, 0); !found && from < length; from += look_ahead) {
                LONG start = Narrow(from);
                LONG end = length;
                if (FAILED(hr = pattern->Find(view.Get(), &start, &end, &found))) return hr;
                if (found) {
                    const int64_t new_limit = include ? end : start;
                    *distance = Narrow(new_limit - old_limit);
                    limit_ = Narrow(new_limit);
                }
                if (look_ahead <= 0) break;
            }
        } else {
            const int64_t old_origin = origin_;
            for (int64_t to = std::min<int64_t>(old_origin, length); !found && to > 0; to -= look_ahead) {
                LONG start = 0;
                LONG end = Narrow(to);
                if (FAILED(hr = pattern->FindReverse(view.Get(), &start, &end, &found))) return hr;
                if (found) {
                    const int64_t new_origin = include ? start : end;
                    *distance = Narrow(old_origin - new_origin);
                    origin_ = Narrow(new_origin);
                }
                if (look_ahead <= 0) break;
            }
        }
        // The read lock goes before the listeners hear of the move, so that they may edit the buffer.
        view = nullptr;
        if (direction == Direction::forward)
            FireModified(limit_, 0, *distance);
        else
            FireModified(0, 0, *distance);
        return S_OK;
    });
}

HRESULT DTextSegment::SubSection(LONG Start, LONG End, ITextSegment** Section) {
    if (!Section) return E_POINTER;
    *Section = nullptr;
    const int64_t origin = origin_;
    const int64_t limit = limit_;
    const int64_t start = origin + Start;
    const int64_t end = origin + End;
    if (start < 0 || start > limit) return Report(kInvalidStart);
    if (end < 0 || end > limit) return Report(kInvalidEnd);
    return Guarded([&] {
        ComPtr<ITextSegment> made;
        HRESULT hr = MakeObject<DTextSegment>(made);
        if (FAILED(hr)) return hr;
        // A sub-section starts with its parent's BufferClass, but the default iterator and pattern classes.
        auto* section = static_cast<DTextSegment*>(made.Get());
        section->buffer_class_ = buffer_class_;
        section->origin_ = Narrow(start);
        section->limit_ = Narrow(end);
        section->buffer_.SetSource(Buffer());
        *Section = made.Detach();
        return S_OK;
    });
}

HRESULT DTextSegment::LoadFile(BSTR FileName, SHORT Mode, LONG* Actual) {
    if (!Actual) return E_POINTER;
    *Actual = 0;
    if (SysStringLen(FileName) == 0) return E_INVALIDARG;
    return Guarded([&] {
        ComPtr<IEditBuffer> buffer;
        {
            // Only the change of buffer is locked; the load runs without the segment's lock.
            ObjectLockGuard guard(ObjectLock());
            const HRESULT hr = BindNewBuffer();
            origin_ = 0;
            limit_ = 0;
            if (FAILED(hr)) return hr;
            buffer = buffer_.Get();
        }
        // The load's Modified(0, 0, n) grows the empty range at 0 to the whole text.
        ULONG read = 0;
        const HRESULT hr = buffer->LoadFile(FileName, Mode, &read);
        *Actual = static_cast<LONG>(read);
        if (FAILED(hr)) return hr;
        FireReset();
        return S_OK;
    });
}

HRESULT DTextSegment::Replace(LONG From, LONG To, BSTR With) {
    const ComPtr<IEditBuffer> buffer = Buffer();
    const int64_t origin = origin_;
    const int64_t limit = limit_;
    const int64_t at = origin + From;
    const int64_t count = int64_t{To} - From;
    if (!buffer || at > limit || origin + count > limit || count < 0) return E_INVALIDARG;
    // The range and the listeners follow through the buffer's Modified.
    return buffer->Replace(Narrow(at), Narrow(count), With);
}

HRESULT DTextSegment::WriteFile(BSTR FileName, SHORT Mode, LONG* Actual) {
    if (!Actual) return E_POINTER;
    *Actual = 0;
    if (SysStringLen(FileName) == 0) return E_INVALIDARG;
    const ComPtr<IEditBuffer> buffer = Buffer();
    if (!buffer) return Report(kSegmentNotBound);
    ULONG written = 0;
    const HRESULT hr = buffer->WriteFile(origin_, limit_, FileName, Mode, &written);
    *Actual = static_cast<LONG>(written);
    return hr;
}

HRESULT DTextSegment::get_BufferClass(BSTR* ClassName) {
    ObjectLockGuard guard(ObjectLock());
    return buffer_class_.Get(ClassName);
}

HRESULT DTextSegment::put_BufferClass(BSTR ClassName) {
    ObjectLockGuard guard(ObjectLock());
    const HRESULT hr = buffer_class_.Put(ClassName);
    if (FAILED(hr)) return hr;
    buffer_.SetSource(nullptr);
    origin_ = 0;
    limit_ = 0;
    FireReset();
    return S_OK;
}

HRESULT DTextSegment::MakeBufferSegment(ComPtr<IBufferSegment>& view) {
    const ComPtr<IEditBuffer> buffer = Buffer();
    if (!buffer) return Report(kSegmentNotBound);
    Bstr segment_class;
    HRESULT hr = buffer->get_SegmentClass(segment_class.Put());
    if (FAILED(hr)) return hr;
    if (segment_class.IsNull()) return E_INVALIDARG;
    ComPtr<IBufferSegment> made;
    if (FAILED(hr = CreateFromClassName(segment_class.Get(), made))) return hr;
    if (FAILED(hr = made->put_Source(origin_, limit_, buffer.Get()))) return hr;
    view = std::move(made);
    return S_OK;
}

HRESULT DTextSegment::SegmentBuffer(IUnknown** BuffLock) {
    if (!BuffLock) return E_POINTER;
    *BuffLock = nullptr;
    return Guarded([&] {
        ComPtr<IBufferSegment> view;
        const HRESULT hr = MakeBufferSegment(view);
        if (SUCCEEDED(hr)) *BuffLock = view.Detach();
        return hr;
    });
}

HRESULT DTextSegment::MakePattern(BSTR text, LONG options, ComPtr<IPattern>& pattern) {
    const Bstr pattern_class = pattern_class_.Value();
    if (pattern_class.IsNull()) return E_INVALIDARG;
    HRESULT hr = CreateFromClassName(pattern_class.Get(), pattern);
    // The text first: putting the options compiles it.
    if (SUCCEEDED(hr)) hr = pattern->put_Text(text);
    if (SUCCEEDED(hr)) hr = pattern->put_Options(options);
    return hr;
}

HRESULT DTextSegment::FindPattern(BSTR Pattern, LONG Options, BSTR Ignore, LONG IgOpts, IPatternIterator** Result) {
    if (!Result) return E_POINTER;
    *Result = nullptr;
    return Guarded([&] {
        const Bstr iterator_class = pattern_iterator_class_.Value();
        if (iterator_class.IsNull()) return E_INVALIDARG;
        ComPtr<IPatternIterator> iterator;
        HRESULT hr = CreateFromClassName(iterator_class.Get(), iterator);
        if (FAILED(hr) || FAILED(hr = iterator->put_Source(this))) return hr;
        LONG id = 0;
        ComPtr<IPattern> target;
        if (FAILED(hr = MakePattern(Pattern, Options, target)) || FAILED(hr = iterator->AddTarget(target.Get(), &id)))
            return hr;
        if (SysStringLen(Ignore) > 0) {
            ComPtr<IPattern> ignore;
            if (FAILED(hr = MakePattern(Ignore, IgOpts, ignore)) || FAILED(hr = iterator->AddIgnore(ignore.Get(), &id)))
                return hr;
        }
        // The caller has the iterator even when its first search fails.
        iterator.CopyTo(Result);
        return iterator->First(0, nullptr);
    });
}

HRESULT CreateTextSegment(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<DTextSegment>(outer, iid, ppv);
}

}  // namespace scrivix

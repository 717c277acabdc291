// The pattern iterator's operations. Every operation except Mode get holds the object lock; Next also
// holds a buffer segment of the source, and with it a read lock on the buffer, for its whole search.
#include "iterator/pattern_iterator.h"

#include "buffer/buffer_segment.h"
#include "frame/class_table.h"
#include "platform/bstr.h"

#include <algorithm>
#include <cstdint>

namespace scrivix {
namespace {

using Wide = int64_t;

// Positions are formed in 64 bits, where a sum of 32-bit values cannot overflow, and handed on narrowed
// into the 32-bit range.
LONG Narrow(Wide value) {
    return static_cast<LONG>(std::clamp<Wide>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

// An occurrence found in a pass, in buffer positions; `number` is its pattern's place in its list.
struct DPatternIterator::Occurrence {
    Wide start;
    Wide end;
    LONG number;
};

// What one Next searches: the buffer through `view`, within the source's range [begin, end) of buffer
// positions (cut to the buffer), counting the iterator's positions from the buffer position `zero`.
struct DPatternIterator::SearchWindow {
    ComPtr<IBufferSegment> view;
    LONG begin = 0;
    LONG end = 0;
    Wide zero = 0;
    // The window's end, counted from the base: the iterator's end position.
    LONG EndFromBase() const { return Narrow(end - zero); }
};

HRESULT DPatternIterator::NotifyHandler::Modified(LONG Origin, LONG OldLength, LONG NewLength) {
    return owner_ ? owner_->SourceModified({Origin, OldLength, NewLength}) : S_OK;
}

// Entered through the interface, so that it is the same call as a client's Reset.
HRESULT DPatternIterator::NotifyHandler::Reset(LONG StartAt) {
    return owner_ ? static_cast<IPatternIterator*>(owner_)->Reset(StartAt) : S_OK;
}

HRESULT DPatternIterator::SourceModified(const SourceEdit& edit) {
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return S_OK;
    return AdjustToEdit(at_, edit, [&](LONG& length) { return source_->Length(&length); });
}

HRESULT DPatternIterator::get_Current(ITextSegment** Current) {
    if (!Current) return E_POINTER;
    *Current = nullptr;
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return E_POINTER;
    return source_->SubSection(Narrow(Wide{at_.base} + at_.start), Narrow(Wide{at_.base} + at_.end), Current);
}

HRESULT DPatternIterator::First(LONG Start, ITextSegment** Found) {
    ObjectLockGuard guard(ObjectLock());
    HRESULT hr = Reset(Start);
    return FAILED(hr) ? hr : Next(Found);
}

HRESULT DPatternIterator::Next(ITextSegment** Found) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] { return Search(Found); });
}

// One Next. Each pass asks every ignore pattern and then every target pattern for its first occurrence
// from the search position p, counting only occurrences that begin before the look-ahead limit. The
// leftmost target occurrence is taken unless an ignore occurrence begins before it or at the same place;
// else the search jumps behind the earliest ignore occurrence (or, without ignore patterns, by the
// look-ahead) and passes again, until a target is taken or the end is reached.
HRESULT DPatternIterator::Search(ITextSegment** found) {
    at_.matched = -1;
    if (!source_) return S_OK;
    if (targets_.empty()) return Report(kNoPatterns);
    SearchWindow window;
    HRESULT hr = OpenWindow(window);
    if (FAILED(hr)) return ReReportByNumber(hr);
    const LONG end = window.EndFromBase();
    if (at_.start == end) {
        HandOut(found);
        return S_OK;
    }
    // The first target's look-ahead serves for every pattern.
    LONG look_ahead = 0;
    if (FAILED(hr = targets_[0]->get_LookAhead(&look_ahead))) return ReReportByNumber(hr);

    const LONG mode = mode_.load();
    Wide p = mode == smEndAtPattern ? resume_ : at_.end;
    at_.start = Narrow(p);
    // The earliest occurrence, before `occurrence.start`, of any pattern in `patterns` that begins in
    // [from, window end); only occurrences that end within the window count when `whole` is set. Its
    // number goes to `occurrence.number`. (A lambda, so that the pass loop is one piece of code.)
    IBufferSegment* const view = window.view.Get();
    const auto find_earliest = [&](const PatternList& patterns, LONG from, bool whole, Occurrence& occurrence) {
        for (size_t number = 0; number < patterns.size(); ++number) {
            LONG start = from;
            LONG found_end = window.end;
            VARIANT_BOOL found = VARIANT_FALSE;
            if (HRESULT failure = patterns[number]->Find(view, &start, &found_end, &found); FAILED(failure))
                return failure;
            // Strictly before: of two occurrences at one place the lower number wins.
            if (found != VARIANT_FALSE && start < occurrence.start && (!whole || found_end <= window.end))
                occurrence = {start, found_end, static_cast<LONG>(number)};
        }
        return S_OK;
    };
    // A look-ahead of 0 or less lets no occurrence count: such a search can only run to the end.
    if (look_ahead <= 0) p = end;
    while (p < end) {
        const Wide limit = window.zero + at_.end + look_ahead;
        Occurrence ignore{limit, limit, -1};
        Occurrence target{limit, limit, -1};
        const LONG from = Narrow(std::clamp<Wide>(window.zero + p, window.begin, window.end));
        if (FAILED(hr = find_earliest(ignores_, from, false, ignore)) ||
            FAILED(hr = find_earliest(targets_, from, true, target)))
            return ReReportByNumber(hr);
        if (target.start < ignore.start) {
            at_.matched = target.number;
            resume_ = Narrow(target.end - window.zero);
            const LONG target_start = Narrow(target.start - window.zero);
            switch (mode) {
                case smPatternOnly: at_.start = target_start; at_.end = resume_; break;
                case smEndAtPattern: at_.end = target_start; break;
                case smEndAfterPattern: at_.end = resume_; break;
                default: break;  // any other mode keeps the selection where it was
            }
            break;
        }
        Wide next = ignores_.empty() ? p + look_ahead : ignore.end - window.zero;
        // An ignore occurrence of empty text right here would hold the search in place, and a look-ahead
        // limit behind p (a selection longer than the look-ahead, in smEndAtPattern) would send it back:
        // step one character on instead.
        if (next <= p) next = p + 1;
        at_.end = Narrow(std::min<Wide>(next, end));
        p = next;
    }
    if (p >= end) at_.start = end;
    if (at_.start == end) at_.end = end;
    HandOut(found);
    return S_OK;
}

HRESULT DPatternIterator::OpenWindow(SearchWindow& window) {
    ComPtr<IUnknown> buffer_lock;
    HRESULT hr = source_->SegmentBuffer(buffer_lock.Put());
    if (FAILED(hr)) return hr;
    if (!buffer_lock) return E_POINTER;
    if (IBufferSegment* view = AsLibraryBufferSegment(buffer_lock.Get())) {
        // The same reference, taken over as the interface it is.
        buffer_lock.Detach();
        window.view = ComPtr<IBufferSegment>::Adopt(view);
    } else if (FAILED(hr = buffer_lock.As(window.view))) {
        return hr;
    }
    LONG buffer_length = 0;
    LONG origin = 0;
    LONG length = 0;
    if (FAILED(hr = window.view->Length(&buffer_length)) || FAILED(hr = source_->Origin(&origin)) ||
        FAILED(hr = source_->Length(&length)))
        return hr;
    window.begin = std::clamp<LONG>(origin, 0, buffer_length);
    window.end = Narrow(std::clamp<Wide>(Wide{origin} + length, window.begin, buffer_length));
    window.zero = Wide{origin} + at_.base;
    return S_OK;
}

// Its status is not looked at: the search itself succeeded, and a failed hand-out leaves `found` null.
void DPatternIterator::HandOut(ITextSegment** found) {
    if (!found) return;
    *found = nullptr;
    source_->SubSection(Narrow(Wide{at_.base} + at_.start), Narrow(Wide{at_.base} + at_.end), found);
}

HRESULT DPatternIterator::End(VARIANT_BOOL* AtEnd) {
    if (!AtEnd) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    if (at_.matched != -1) {
        *AtEnd = VARIANT_FALSE;
        return S_OK;
    }
    if (!source_) return E_POINTER;
    LONG length = 0;
    if (HRESULT hr = source_->Length(&length); FAILED(hr)) return hr;
    // One before the end already counts as the end.
    *AtEnd = Wide{at_.base} + at_.start >= Wide{length} - 1 ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

HRESULT DPatternIterator::Offset(LONG* Offset) {
    if (!Offset) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Offset = at_.start;
    return S_OK;
}

HRESULT DPatternIterator::Length(LONG* Length) {
    if (!Length) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Length = Narrow(Wide{at_.end} - at_.start);
    return S_OK;
}

HRESULT DPatternIterator::MatchedBy(LONG* Index) {
    if (!Index) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Index = at_.matched;
    return S_OK;
}

HRESULT DPatternIterator::get_Source(ITextSegment** Source) {
    if (!Source) return E_POINTER;
    *Source = nullptr;
    ObjectLockGuard guard(ObjectLock());
    return source_ ? source_->QueryInterface(IID_ITextSegment, reinterpret_cast<void**>(Source)) : S_OK;
}

// The positions stay where they are (a Reset or First places them), counted from the new source's
// Origin; so does the base, which starts again at it.
HRESULT DPatternIterator::put_Source(ITextSegment* Source) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        HRESULT status = S_OK;
        ComPtr<ITextSegment> source;
        if (Source && FAILED(Source->QueryInterface(IID_ITextSegment, source.PutVoid()))) status = E_INVALIDARG;
        if (FAILED(source_.SetSource(source)) && source) status = E_INVALIDARG;
        if (!source) return status;
        at_.base = 0;
        Bstr pattern_class;
        if (SUCCEEDED(source->get_PatternClass(pattern_class.Put()))) {
            if (HRESULT hr = pattern_class_.Put(pattern_class.Get()); FAILED(hr)) return hr;
        }
        return status;
    });
}

HRESULT DPatternIterator::AddTarget(IPattern* Pattern, LONG* ID) { return Append(targets_, Pattern, ID); }

HRESULT DPatternIterator::AddIgnore(IPattern* Pattern, LONG* ID) { return Append(ignores_, Pattern, ID); }

// An object that does not answer IPattern is refused at once rather than kept to fail a later search.
HRESULT DPatternIterator::Append(PatternList& list, IPattern* pattern, LONG* id) {
    if (!pattern) return E_INVALIDARG;
    ObjectLockGuard guard(ObjectLock());
    ComPtr<IPattern> added;
    if (FAILED(pattern->QueryInterface(IID_IPattern, added.PutVoid())) || !added) return E_INVALIDARG;
    return Guarded([&] {
        list.push_back(std::move(added));
        if (id) *id = static_cast<LONG>(list.size() - 1);
        return S_OK;
    });
}

HRESULT DPatternIterator::Reset(LONG StartAt) {
    ObjectLockGuard guard(ObjectLock());
    at_.matched = -1;
    if (!source_) return S_OK;
    LONG length = 0;
    if (HRESULT hr = source_->Length(&length); FAILED(hr)) return hr;
    Wide at = StartAt < 0 ? Wide{StartAt} + length : StartAt;
    at = std::max<Wide>(std::min<Wide>(at, length), 0);
    at_.base = 0;
    at_.start = at_.end = resume_ = static_cast<LONG>(at);
    return S_OK;
}

HRESULT DPatternIterator::NewTarget(BSTR Text, LONG Options, LONG* ID) {
    return MakeAndAppend(targets_, Text, Options, ID);
}

HRESULT DPatternIterator::NewIgnore(BSTR Text, LONG Options, LONG* ID) {
    return MakeAndAppend(ignores_, Text, Options, ID);
}

HRESULT DPatternIterator::MakeAndAppend(PatternList& list, BSTR text, LONG options, LONG* id) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        const Bstr class_name = pattern_class_.Value();
        if (class_name.IsNull()) return E_INVALIDARG;
        ComPtr<IPattern> pattern;
        HRESULT hr = CreateFromClassName(class_name.Get(), pattern);
        if (FAILED(hr)) return hr;
        // The text first, then the options: putting the options is what compiles an expression.
        if (FAILED(hr = pattern->put_Text(text)) || FAILED(hr = pattern->put_Options(options)))
            return ReReportByText(hr);
        return Append(list, pattern.Get(), id);
    });
}

HRESULT DPatternIterator::get_Target(LONG Index, IPattern** Pattern) { return PatternAt(targets_, Index, Pattern); }

HRESULT DPatternIterator::get_Ignore(LONG Index, IPattern** Pattern) { return PatternAt(ignores_, Index, Pattern); }

HRESULT DPatternIterator::PatternAt(const PatternList& list, LONG index, IPattern** pattern) {
    if (!pattern) return E_POINTER;
    *pattern = nullptr;
    ObjectLockGuard guard(ObjectLock());
    if (index < 0 || static_cast<size_t>(index) >= list.size()) return Report(kInvalidPatternIndex);
    return list[static_cast<size_t>(index)].CopyTo(pattern);
}

HRESULT DPatternIterator::Clear(VARIANT_BOOL Reset) {
    ObjectLockGuard guard(ObjectLock());
    ignores_.clear();
    targets_.clear();
    if (Reset != VARIANT_FALSE) return DPatternIterator::Reset(0);
    at_.matched = -1;
    resume_ = at_.end = at_.start;
    return S_OK;
}

// The source announces the edit before its Replace returns, on this thread: the adjustment then leaves
// S in place, moves F behind the new text and drops the match, so that Next goes on behind it.
HRESULT DPatternIterator::Replace(BSTR NewText) {
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return Report(kIteratorNotBound);
    if (at_.matched == -1) return Report(kNoCurrentSelection);
    return source_->Replace(Narrow(Wide{at_.base} + at_.start), Narrow(Wide{at_.base} + at_.end), NewText);
}

HRESULT DPatternIterator::get_Mode(search_modes* Mode) {
    if (!Mode) return E_POINTER;
    *Mode = static_cast<search_modes>(mode_.load());
    return S_OK;
}

HRESULT DPatternIterator::put_Mode(search_modes Mode) {
    ObjectLockGuard guard(ObjectLock());
    mode_.store(Mode);
    return S_OK;
}

HRESULT CreatePatternIterator(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<DPatternIterator>(outer, iid, ppv);
}

}  // namespace scrivix

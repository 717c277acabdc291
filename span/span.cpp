// The span's properties, Define and FindClose. Every operation holds the span's lock from start to end,
// also while it calls patterns and pattern iterators, so span iterators that share one span take turns.
#include "span/span.h"

#include "frame/class_table.h"
#include "platform/bstr.h"
#include "span/called_failure.h"

namespace scrivix {
namespace {

// Makes `field` a new pattern of the class `class_name` names. A name that does not resolve changes
// nothing; once it has resolved, the old pattern goes, so that a class that cannot be made leaves the
// field empty.
HRESULT MakePattern(BSTR class_name, ComPtr<IPattern>& field) {
    CLSID clsid{};
    HRESULT hr = class_name[0] == u'{' ? CLSIDFromString(class_name, &clsid) : CLSIDFromProgID(class_name, &clsid);
    if (FAILED(hr)) return hr;
    field = nullptr;
    return CreateFromClassName(class_name, field);
}

// The text first, then the options: putting the options is what compiles an expression.
HRESULT Describe(IPattern* pattern, BSTR text, LONG options) {
    HRESULT hr = pattern->put_Text(text);
    return FAILED(hr) ? hr : pattern->put_Options(options);
}

// The occurrences a pattern iterator finds, one after the other: where the current one lies, or that
// there is none any more.
class OccurrenceWalk {
public:
    explicit OccurrenceWalk(IPatternIterator* iterator) : iterator_(iterator) {}

    HRESULT First(LONG start) { return Moved(iterator_->First(start, nullptr), false); }
    HRESULT Next() { return Moved(iterator_->Next(nullptr), true); }

    bool AtEnd() const { return at_end_; }
    LONG Offset() const { return offset_; }
    LONG Length() const { return length_; }
    // This walk's occurrence lies in front of `other`'s (the end lies behind every occurrence).
    bool Before(const OccurrenceWalk& other) const { return !at_end_ && (other.at_end_ || offset_ < other.offset_); }
    bool SameOffset(const OccurrenceWalk& other) const {
        return !at_end_ && !other.at_end_ && offset_ == other.offset_;
    }

private:
    // An occurrence that does not lie behind the one before it (a pattern that matches empty text is found
    // at one place again and again) ends the walk: the count would never end otherwise.
    HRESULT Moved(HRESULT hr, bool must_advance) {
        if (FAILED(hr)) return hr;
        VARIANT_BOOL at_end = VARIANT_TRUE;
        if (FAILED(hr = iterator_->End(&at_end))) return hr;
        at_end_ = at_end != VARIANT_FALSE;
        if (at_end_) return S_OK;
        const LONG before = offset_;
        if (FAILED(hr = iterator_->Offset(&offset_)) || FAILED(hr = iterator_->Length(&length_))) return hr;
        if (must_advance && offset_ <= before) at_end_ = true;
        return S_OK;
    }

    IPatternIterator* iterator_;
    LONG offset_ = 0;
    LONG length_ = 0;
    bool at_end_ = true;
};

// Moves `closings` on to the closing that balances the opening in front of `start`, counting the
// openings of `opening` in between with an iterator of its own over the same source. `found` tells
// whether the text holds that closing.
//
// The depth starts at 1, for the opening the caller found. Openings in front of the current closing open
// further levels; closings in front of the next opening close levels, and the one that closes the last
// level is the match. An opening and a closing that begin at one offset (one text for both, such as a
// quote, or a closing that begins with the opening, such as < and </) count as the closing: the opening
// there is passed over and the level closes. So a quote nested in itself still ends at the next quote,
// and every round of the count moves at least one of the two iterators on.
HRESULT CountToBalance(IPattern* opening, IPatternIterator* close, OccurrenceWalk& closings, LONG start,
                       bool& found) {
    static const Bstr counter_class(u"Scrivix.PatternIterator");
    ComPtr<IPatternIterator> counter;
    HRESULT hr = CreateFromClassName(counter_class.Get(), counter);
    if (FAILED(hr)) return hr;
    ComPtr<ITextSegment> source;
    LONG number = 0;
    if (FAILED(hr = close->get_Source(source.Put())) || FAILED(hr = counter->put_Source(source.Get())) ||
        FAILED(hr = counter->AddTarget(opening, &number)))
        return hr;
    OccurrenceWalk openings(counter.Get());
    if (FAILED(hr = openings.First(start))) return hr;

    LONG depth = 1;
    while (depth > 0 && !closings.AtEnd()) {
        while (openings.Before(closings)) {
            ++depth;
            if (FAILED(hr = openings.Next())) return hr;
        }
        while (depth > 0 && closings.Before(openings)) {
            if (--depth > 0 && FAILED(hr = closings.Next())) return hr;
        }
        if (depth > 0 && openings.SameOffset(closings)) {
            if (FAILED(hr = openings.Next())) return hr;
            if (--depth > 0 && FAILED(hr = closings.Next())) return hr;
        }
    }
    found = depth == 0;
    return S_OK;
}

}  // namespace

HRESULT DSpan::GetPattern(const ComPtr<IPattern>& field, IPattern** out) {
    if (!out) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    return field.CopyTo(out);
}

// An object that does not answer IPattern empties the field, as an empty reference does.
HRESULT DSpan::PutPattern(ComPtr<IPattern>& field, IUnknown* object) {
    ComPtr<IPattern> pattern;
    if (object && FAILED(object->QueryInterface(IID_IPattern, pattern.PutVoid()))) pattern = nullptr;
    ObjectLockGuard guard(ObjectLock());
    field = std::move(pattern);
    return S_OK;
}

HRESULT DSpan::get_Opening(IPattern** Opening) { return GetPattern(opening_, Opening); }
HRESULT DSpan::put_Opening(IUnknown* Opening) { return PutPattern(opening_, Opening); }
HRESULT DSpan::get_Closing(IPattern** Closing) { return GetPattern(closing_, Closing); }
HRESULT DSpan::put_Closing(IUnknown* Closing) { return PutPattern(closing_, Closing); }

HRESULT DSpan::get_Options(LONG* Options) {
    if (!Options) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Options = options_;
    return S_OK;
}

HRESULT DSpan::put_Options(LONG Options) {
    ObjectLockGuard guard(ObjectLock());
    options_ = Options;
    return S_OK;
}

// Each Define makes a new Opening; a new Closing only for a closing text, else the Closing the span has
// (if any) is kept and given the empty text. What was done before a failure stays done.
HRESULT DSpan::Define(BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        const Bstr class_name = pattern_class_.Value();
        if (class_name.IsNull()) return E_INVALIDARG;
        HRESULT hr = MakePattern(class_name.Get(), opening_);
        if (FAILED(hr)) return hr;
        if (SysStringLen(Closing) > 0 && FAILED(hr = MakePattern(class_name.Get(), closing_))) return hr;
        if (FAILED(hr = Describe(opening_.Get(), Opening, OpenOpts))) return PassOnFailure(*this, hr);
        if (closing_ && FAILED(hr = Describe(closing_.Get(), Closing, CloseOpts))) return PassOnFailure(*this, hr);
        options_ = SpanOpts;
        return S_OK;
    });
}

// `Close` finds the span's closings in the text being searched; positions are those it reports, offsets
// into its source. Limit and Length are written only when the closing is found.
HRESULT DSpan::FindClose(IPatternIterator* Close, LONG Start, LONG* Limit, LONG* Length, VARIANT_BOOL* Found) {
    if (!Limit || !Length || !Found) return E_POINTER;
    *Found = VARIANT_FALSE;
    ObjectLockGuard guard(ObjectLock());
    if (!Close) return E_POINTER;
    return Guarded([&] {
        ComPtr<IPatternIterator> close;
        HRESULT hr = Close->QueryInterface(IID_IPatternIterator, close.PutVoid());
        if (FAILED(hr)) return hr;
        OccurrenceWalk closings(close.Get());
        if (FAILED(hr = closings.First(Start))) return PassOnFailure(*this, hr);
        if (closings.AtEnd()) return S_OK;
        if (options_ & soNested) {
            bool found = false;
            if (FAILED(hr = CountToBalance(opening_.Get(), close.Get(), closings, Start, found)))
                return PassOnFailure(*this, hr);
            if (!found) return S_OK;
        }
        *Found = VARIANT_TRUE;
        *Length = closings.Length();
        *Limit = closings.Offset() + closings.Length();
        return S_OK;
    });
}

HRESULT CreateSpan(IUnknown* outer, REFIID iid, void** ppv) { return CreateComObject<DSpan>(outer, iid, ppv); }

}  // namespace scrivix

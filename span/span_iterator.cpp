// The span iterator's operations. Every operation holds the iterator's lock for its whole length, also
// while it calls spans, pattern iterators and the source; the source's events come back on the editing
// thread and take the same lock again.
#include "span/span_iterator.h"

#include "frame/class_table.h"
#include "platform/bstr.h"
#include "span/called_failure.h"

#include <cstdint>

namespace scrivix {

HRESULT DSpanIterator::NotifyHandler::Modified(LONG Origin, LONG OldLength, LONG NewLength) {
    return owner_ ? owner_->SourceModified({Origin, OldLength, NewLength}) : S_OK;
}

// Entered through the interface, so that it is the same call as a client's Reset.
HRESULT DSpanIterator::NotifyHandler::Reset(LONG StartAt) {
    return owner_ ? static_cast<ISpanIterator*>(owner_)->Reset(StartAt) : S_OK;
}

HRESULT DSpanIterator::SourceModified(const SourceEdit& edit) {
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return S_OK;
    return AdjustSpanToEdit(at_, edit, [&](LONG& length) { return source_->Length(&length); });
}

// A later change of PatternIteratorClass does not touch the opening iterator: its class is fixed.
HRESULT DSpanIterator::FinalConstruct() {
    return Guarded([&] {
        const Bstr opening_iterator_class(u"Scrivix.PatternIterator");
        return CreateFromClassName(opening_iterator_class.Get(), openings_);
    });
}

HRESULT DSpanIterator::get_Source(ITextSegment** Source) {
    if (!Source) return E_POINTER;
    *Source = nullptr;
    ObjectLockGuard guard(ObjectLock());
    return source_ ? source_->QueryInterface(IID_ITextSegment, reinterpret_cast<void**>(Source)) : S_OK;
}

// The closing iterators and the opening iterator search the iterator's source, always; the current result
// stays as it is.
HRESULT DSpanIterator::put_Source(ITextSegment* Source) {
    ObjectLockGuard guard(ObjectLock());
    ComPtr<ITextSegment> source;
    if (Source && FAILED(Source->QueryInterface(IID_ITextSegment, source.PutVoid()))) source = nullptr;
    // Without the connection point the source is searched all the same, only its edits go unheard.
    source_.SetSource(source);
    for (const PatternEntry& entry : table_) {
        if (!entry.closing) continue;
        if (HRESULT hr = entry.closing->put_Source(source.Get()); FAILED(hr)) return hr;
    }
    return openings_->put_Source(source.Get());
}

HRESULT DSpanIterator::AddTarget(ISpan* Target, LONG* ID) { return Add(Kind::target, Target, ID); }

HRESULT DSpanIterator::AddIgnore(ISpan* Ignore, LONG* ID) { return Add(Kind::ignore, Ignore, ID); }

// The span keeps its number even when it cannot be searched (no ISpan, no opening): numbers are places
// in the list, given out in the order of adding.
HRESULT DSpanIterator::Add(Kind kind, ISpan* span, LONG* id) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        ComPtr<ISpan> added;
        if (span && FAILED(span->QueryInterface(IID_ISpan, added.PutVoid()))) added = nullptr;
        SpanList& list = ListOf(kind);
        list.push_back(added);
        const LONG index = static_cast<LONG>(list.size() - 1);
        if (id) *id = index;
        if (!added) return E_POINTER;

        ComPtr<IPattern> opening;
        HRESULT hr = added->get_Opening(opening.Put());
        if (FAILED(hr)) return PassOnFailure(*this, hr);
        if (!opening) return E_INVALIDARG;
        LONG number = -1;
        if (FAILED(hr = openings_->AddTarget(opening.Get(), &number))) return PassOnFailure(*this, hr);
        if (number < 0) return E_UNEXPECTED;
        if (static_cast<size_t>(number) >= table_.size()) table_.resize(static_cast<size_t>(number) + 1);
        PatternEntry& entry = table_[static_cast<size_t>(number)];
        entry = {kind, index, {}};

        ComPtr<IPattern> closing;
        if (FAILED(hr = added->get_Closing(closing.Put()))) return PassOnFailure(*this, hr);
        if (!closing) return S_OK;
        // A closing iterator that cannot be made leaves the span registered as a span without closing.
        const Bstr iterator_class = pattern_iterator_class_.Value();
        if (iterator_class.IsNull() || FAILED(CreateFromClassName(iterator_class.Get(), entry.closing))) {
            entry.closing = nullptr;
            return E_POINTER;
        }
        LONG closing_number = 0;
        if (FAILED(hr = entry.closing->AddTarget(closing.Get(), &closing_number))) return PassOnFailure(*this, hr);
        // An empty source is not yet an error: Source put binds every closing iterator later.
        entry.closing->put_Source(source_.Get().Get());
        return S_OK;
    });
}

HRESULT DSpanIterator::NewTarget(BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts, LONG* ID) {
    return MakeAndAdd(Kind::target, Opening, OpenOpts, Closing, CloseOpts, SpanOpts, ID);
}

HRESULT DSpanIterator::NewIgnore(BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts, LONG* ID) {
    return MakeAndAdd(Kind::ignore, Opening, OpenOpts, Closing, CloseOpts, SpanOpts, ID);
}

// The list keeps the only lasting reference to the new span.
HRESULT DSpanIterator::MakeAndAdd(Kind kind, BSTR opening, LONG open_opts, BSTR closing, LONG close_opts,
                                  LONG span_opts, LONG* id) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        const Bstr span_class(u"Scrivix.Span");
        ComPtr<ISpan> span;
        HRESULT hr = CreateFromClassName(span_class.Get(), span);
        if (FAILED(hr)) return hr;
        const Bstr pattern_class = pattern_class_.Value();
        if (FAILED(hr = span->put_PatternClass(pattern_class.Get())) ||
            FAILED(hr = span->Define(opening, open_opts, closing, close_opts, span_opts)))
            return PassOnFailure(*this, hr);
        return Add(kind, span.Get(), id);
    });
}

HRESULT DSpanIterator::get_Target(LONG Index, ISpan** Span) { return SpanAt(targets_, Index, Span); }

HRESULT DSpanIterator::get_Ignore(LONG Index, ISpan** Span) { return SpanAt(ignores_, Index, Span); }

HRESULT DSpanIterator::SpanAt(const SpanList& list, LONG index, ISpan** span) {
    if (!span) return E_POINTER;
    *span = nullptr;
    ObjectLockGuard guard(ObjectLock());
    if (index < 0 || static_cast<size_t>(index) >= list.size()) return Report(kInvalidPatternIndex);
    const ComPtr<ISpan>& slot = list[static_cast<size_t>(index)];
    return slot ? slot.CopyTo(span) : E_POINTER;
}

// The closing iterators are left as they are: each FindClose starts its own anew.
HRESULT DSpanIterator::Reset(LONG To) {
    ObjectLockGuard guard(ObjectLock());
    if (HRESULT hr = openings_->Reset(To); FAILED(hr)) return hr;
    at_.opening_start = at_.opening_end = at_.closing_start = at_.closing_end = To;
    at_.matched = -1;
    return S_OK;
}

HRESULT DSpanIterator::First(LONG Start, ITextSegment** Pattern) {
    ObjectLockGuard guard(ObjectLock());
    at_.matched = -1;
    HRESULT hr = Reset(Start);
    return FAILED(hr) ? hr : Next(Pattern);
}

HRESULT DSpanIterator::Next(ITextSegment** Result) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] { return Search(Result); });
}

// One Next. The opening iterator finds the next opening of any span. A target span's opening is a result
// at once when the span has no closing, else when its span finds the closing that belongs to it; an
// opening without closing is passed over and the search goes on just behind it. An ignore span's opening
// with its closing moves the search past the ignore span (up to or behind its closing, by its
// soIncludeClosing); an ignore opening without closing hides nothing. After a result the opening iterator
// stands on the result's opening, so that the openings inside it are found in turn.
HRESULT DSpanIterator::Search(ITextSegment** result) {
    if (!source_) return Report(kIteratorNotBound);
    if (targets_.empty()) return Report(kNoSpans);
    LONG source_length = 0;
    HRESULT hr = source_->Length(&source_length);
    if (FAILED(hr)) return PassOnFailure(*this, hr);
    at_.closing_start = at_.closing_end = source_length;

    for (;;) {
        VARIANT_BOOL at_end = VARIANT_FALSE;
        if (FAILED(hr = openings_->End(&at_end))) return PassOnFailure(*this, hr);
        if (at_end != VARIANT_FALSE) return S_OK;
        if (FAILED(hr = openings_->Next(nullptr))) return hr;
        LONG number = -1;
        if (FAILED(hr = openings_->MatchedBy(&number)) || FAILED(hr = openings_->End(&at_end)))
            return PassOnFailure(*this, hr);
        if (at_end != VARIANT_FALSE || number == -1) {
            at_.matched = -1;
            at_.opening_start = at_.opening_end = at_.closing_start = at_.closing_end = source_length;
            return result ? HandOut(0, result) : S_OK;
        }
        LONG offset = 0;
        LONG length = 0;
        if (FAILED(hr = openings_->Offset(&offset)) || FAILED(hr = openings_->Length(&length)))
            return PassOnFailure(*this, hr);
        const LONG body = offset + length;
        // Every number the opening iterator reports has its entry; one without (it could only come from an
        // AddTarget cut short by want of memory) belongs to no span and is passed over.
        if (static_cast<size_t>(number) >= table_.size() || table_[static_cast<size_t>(number)].index < 0) continue;
        const PatternEntry& entry = table_[static_cast<size_t>(number)];
        const ComPtr<ISpan>& span = ListOf(entry.kind)[static_cast<size_t>(entry.index)];

        if (!entry.closing) {
            if (entry.kind == Kind::ignore) continue;
            at_.matched = entry.index;
            at_.opening_start = offset;
            at_.opening_end = at_.closing_start = at_.closing_end = body;
            break;
        }
        LONG limit = 0;
        LONG closing_length = 0;
        VARIANT_BOOL closed = VARIANT_FALSE;
        if (FAILED(hr = span->FindClose(entry.closing.Get(), body, &limit, &closing_length, &closed)))
            return PassOnFailure(*this, hr);
        if (closed == VARIANT_FALSE) continue;
        if (entry.kind == Kind::target) {
            at_.matched = entry.index;
            at_.opening_start = offset;
            at_.opening_end = body;
            at_.closing_start = limit - closing_length;
            at_.closing_end = limit;
            break;
        }
        LONG options = 0;
        if (FAILED(hr = span->get_Options(&options))) return PassOnFailure(*this, hr);
        const LONG resume = (options & soIncludeClosing) ? limit : limit - closing_length;
        at_.opening_start = at_.opening_end = at_.closing_start = at_.closing_end = resume;
        if (FAILED(hr = openings_->Reset(resume))) return PassOnFailure(*this, hr);
    }
    if (!result) return S_OK;
    // The span's own Options choose what is handed out: its opening, its closing or the whole span.
    LONG options = 0;
    if (FAILED(hr = CurrentOptions(options))) return hr;
    return HandOut(options, result);
}

HRESULT DSpanIterator::CurrentOptions(LONG& options) {
    HRESULT hr = targets_[static_cast<size_t>(at_.matched)]->get_Options(&options);
    return FAILED(hr) ? PassOnFailure(*this, hr) : S_OK;
}

// Only the low byte of `what` is looked at; without a current result the whole of what is left.
void DSpanIterator::Selection(LONG what, LONG& start, LONG& end) const {
    start = at_.opening_start;
    end = at_.closing_end;
    if (at_.matched == -1) return;
    if (what & 0xFF & soOpeningOnly) {
        end = at_.opening_end;
    } else if (what & 0xFF & soClosingOnly) {
        start = at_.closing_start;
    }
}

HRESULT DSpanIterator::HandOut(LONG what, ITextSegment** segment) {
    *segment = nullptr;
    LONG start = 0;
    LONG end = 0;
    Selection(what, start, end);
    HRESULT hr = source_->SubSection(start, end, segment);
    return FAILED(hr) ? PassOnFailure(*this, hr) : hr;
}

HRESULT DSpanIterator::get_Current(SHORT What, ITextSegment** Current) {
    if (!Current) return E_POINTER;
    *Current = nullptr;
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return Report(kIteratorNotBound);
    return HandOut(What, Current);
}

HRESULT DSpanIterator::Replace(BSTR NewText, SHORT What) {
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return Report(kIteratorNotBound);
    if (at_.matched == -1) return Report(kNoCurrentSelection);
    LONG start = 0;
    LONG end = 0;
    Selection(What, start, end);
    // The source tells the edit before its Replace returns; the adjustment then drops the result.
    HRESULT hr = source_->Replace(start, end, NewText);
    return FAILED(hr) ? PassOnFailure(*this, hr) : hr;
}

HRESULT DSpanIterator::get_MatchedBy(LONG* Index) {
    if (!Index) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Index = at_.matched;
    return S_OK;
}

HRESULT DSpanIterator::End(VARIANT_BOOL* AtEnd) {
    if (!AtEnd) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    if (!source_) return E_POINTER;
    LONG length = 0;
    if (HRESULT hr = source_->Length(&length); FAILED(hr)) return PassOnFailure(*this, hr);
    *AtEnd = at_.opening_start == length ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

HRESULT DSpanIterator::get_Offset(LONG* Offset) {
    if (!Offset) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Offset = -1;
    if (at_.matched == -1) return S_OK;
    LONG options = 0;
    if (HRESULT hr = CurrentOptions(options); FAILED(hr)) return hr;
    *Offset = (options & soIncludeOpening) ? at_.opening_start : at_.opening_end;
    return S_OK;
}

HRESULT DSpanIterator::get_Length(LONG* Length) {
    if (!Length) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Length = 0;
    if (at_.matched == -1) return S_OK;
    LONG options = 0;
    if (HRESULT hr = CurrentOptions(options); FAILED(hr)) return hr;
    const int64_t end = (options & soIncludeClosing) ? at_.closing_end : at_.closing_start;
    const int64_t start = (options & soIncludeOpening) ? at_.opening_start : at_.opening_end;
    *Length = static_cast<LONG>(end - start);
    return S_OK;
}

// The opening iterator forgets the openings too, so that no opening of a removed span can be reported
// again, and its pattern numbers start again from 0 as the table does. Without a reset the search goes
// on from the start of the current opening.
HRESULT DSpanIterator::Clear(VARIANT_BOOL Reset) {
    ObjectLockGuard guard(ObjectLock());
    targets_.clear();
    ignores_.clear();
    table_.clear();
    if (HRESULT hr = openings_->Clear(VARIANT_FALSE); FAILED(hr)) return PassOnFailure(*this, hr);
    if (Reset != VARIANT_FALSE) return DSpanIterator::Reset(0);
    at_.matched = -1;
    return S_OK;
}

HRESULT CreateSpanIterator(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<DSpanIterator>(outer, iid, ppv);
}

}  // namespace scrivix

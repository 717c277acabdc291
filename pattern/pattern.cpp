// The pattern object's properties and searches, for both character widths. Every operation holds the
// object lock; the searches read the buffer in place between the buffer segment's Begin and End.
#include "pattern/pattern.h"

#include "buffer/buffer_segment.h"
#include "frame/class_table.h"
#include "platform/bstr.h"

namespace scrivix {
namespace {

UINT CompileFailureMessage(PatternError error) {
    switch (error) {
        case peIllegalExpression: return kIllegalExpression;
        case peNoMemory: return kNoMemoryForExpression;
        case peImproperPattern: return kImproperPattern;
        case peImproperClosure: return kImproperClosure;
        default: return kUnknownExpressionError;
    }
}

}  // namespace

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::get_Text(BSTR* Text) {
    if (!Text) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    HRESULT hr = Guarded([&] { return CopyToBstr(LiteralSearch<T>::ToOleText(text_), Text); });
    return hr == E_OUTOFMEMORY ? Report(kInsufficientMemory) : hr;
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::put_Text(BSTR Text) {
    ObjectLockGuard guard(ObjectLock());
    return Guarded([&] {
        std::basic_string<T> text = LiteralSearch<T>::FromOleText(Bstr::View(Text));
        LiteralSearch<T> literal(text, options_);
        text_ = std::move(text);
        literal_ = std::move(literal);
        return S_OK;
    });
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::get_LookAhead(LONG* Distance) {
    if (!Distance) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Distance = look_ahead_;
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::put_LookAhead(LONG Distance) {
    ObjectLockGuard guard(ObjectLock());
    look_ahead_ = Distance;
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::get_Options(LONG* Options) {
    if (!Options) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    *Options = options_;
    return S_OK;
}

// The program is built here and only here: a text put afterwards keeps searching with the old program.
template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::put_Options(LONG Options) {
    ObjectLockGuard guard(ObjectLock());
    options_ = Options;
    program_.reset();
    HRESULT hr = Guarded([&] {
        literal_ = LiteralSearch<T>(text_, options_);
        return S_OK;
    });
    if (FAILED(hr) || !IsExpression()) return hr;
    auto program = std::unique_ptr<DPatternTemplate<T>>(new (std::nothrow) DPatternTemplate<T>());
    const PatternError error = program ? program->Compile(text_) : peNoMemory;
    if (error != peNone) return Report(CompileFailureMessage(error));
    program_ = std::move(program);
    return S_OK;
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::Find(IBufferSegment* Source, LONG* Start, LONG* End, VARIANT_BOOL* Found) {
    return Search(Direction::forward, Source, Start, End, Found);
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::FindReverse(IBufferSegment* Source, LONG* Start, LONG* End, VARIANT_BOOL* Found) {
    return Search(Direction::backward, Source, Start, End, Found);
}

template <class T, const CLSID& Clsid>
HRESULT DPattern<T, Clsid>::Search(Direction direction, IBufferSegment* source, LONG* start, LONG* end,
                                   VARIANT_BOOL* found) {
    if (!start || !end || !found) return E_POINTER;
    ObjectLockGuard guard(ObjectLock());
    if (text_.empty()) return Report(kEmptyPattern);
    // A regular expression that failed to compile has nothing to search with.
    if (IsExpression() && !program_) return Report(kIllegalExpression);
    if (!source) return E_POINTER;
    // The library's own buffer segments are called as they are; any other object is asked first, so that
    // one that is no buffer segment fails here instead of being called through the wrong table.
    ComPtr<IBufferSegment> asked;
    IBufferSegment* segment = AsLibraryBufferSegment(source);
    HRESULT hr = S_OK;
    if (!segment) {
        hr = source->QueryInterface(IID_IBufferSegment, asked.PutVoid());
        if (FAILED(hr)) return hr == E_NOINTERFACE ? E_POINTER : hr;
        segment = asked.Get();
    }
    void* begin = nullptr;
    void* buffer_end = nullptr;
    if (FAILED(hr = segment->Begin(&begin)) || FAILED(hr = segment->End(&buffer_end))) return hr;
    const T* first = static_cast<const T*>(begin);
    const LONG n = static_cast<LONG>(static_cast<const T*>(buffer_end) - first);

    *found = VARIANT_FALSE;
    const T* match_start = nullptr;
    const T* match_end = nullptr;
    if (first && SearchBuffer(direction, first, n, *start, *end, match_start, match_end)) {
        *found = VARIANT_TRUE;
        *start = static_cast<LONG>(match_start - first);
        *end = static_cast<LONG>(match_end - first);
    }
    return S_OK;
}

template <class T, const CLSID& Clsid>
bool DPattern<T, Clsid>::SearchBuffer(Direction direction, const T* begin, LONG n, LONG start, LONG end,
                                      const T*& match_start, const T*& match_end) {
    if (direction == Direction::forward) {
        const T* limit = begin + PatternSearchLimit(start, end, look_ahead_, n);
        if (program_) return program_->FindForward(begin, begin + n, begin + start, limit, match_start, match_end);
        typename LiteralSearch<T>::Occurrence occurrence{};
        if (!literal_.FindForward(begin, begin + n, begin + start, limit, occurrence)) return false;
        match_start = occurrence.begin;
        match_end = occurrence.end;
        return true;
    }
    const T* lower = begin + PatternLowerLimit(start, end, look_ahead_);
    if (program_) return program_->FindBackward(begin, begin + n, lower, begin + end, match_start, match_end);
    typename LiteralSearch<T>::Occurrence occurrence{};
    if (!literal_.FindBackward(begin, begin + n, begin + end, lower, occurrence)) return false;
    match_start = occurrence.begin;
    match_end = occurrence.end;
    return true;
}

template class DPattern<char, CLSID_PatternA>;
template class DPattern<char16_t, CLSID_PatternU>;

HRESULT CreatePatternA(IUnknown* outer, REFIID iid, void** ppv) { return CreateComObject<PatternA>(outer, iid, ppv); }
HRESULT CreatePatternU(IUnknown* outer, REFIID iid, void** ppv) { return CreateComObject<PatternU>(outer, iid, ppv); }

}  // namespace scrivix

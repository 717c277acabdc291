// The library object's operations. Each makes a new object by a fixed class name (or the one given) and
// hands it over; the object keeps no state of its own and writes no error record.
#include "frame/library_object.h"

#include "frame/class_name.h"
#include "frame/class_table.h"
#include "platform/bstr.h"

namespace scrivix {
namespace {

template <class I>
HRESULT MakeByName(std::u16string_view name, I** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return Guarded([&] {
        Bstr class_name(name);
        return CreateFromClassName(class_name.Get(), uuidof<I>(), reinterpret_cast<void**>(out));
    });
}

}  // namespace

HRESULT DScrivixLibImp::get_Version(BSTR* Version) { return CopyToBstr(u"1,0,0,17", Version); }

HRESULT DScrivixLibImp::NewTextSegment(BSTR BufferClass, ITextSegment** NewSeg) {
    HRESULT hr = MakeByName(u"Scrivix.TextSegment", NewSeg);
    // The segment reports a class name that names nothing only when it first needs its buffer.
    if (SUCCEEDED(hr) && SysStringLen(BufferClass) > 0) (*NewSeg)->put_BufferClass(BufferClass);
    return hr;
}

HRESULT DScrivixLibImp::NewPattern(BSTR PatternClass, IPattern** Patern) {
    if (!Patern) return E_POINTER;
    *Patern = nullptr;
    if (!PatternClass) return E_INVALIDARG;
    return CreateFromClassName(PatternClass, IID_IPattern, reinterpret_cast<void**>(Patern));
}

HRESULT DScrivixLibImp::NewPatternIterator(IPatternIterator** NewIter) {
    return MakeByName(u"Scrivix.PatternIterator", NewIter);
}

HRESULT DScrivixLibImp::NewSpan(ISpan** Span) { return MakeByName(u"Scrivix.Span", Span); }

HRESULT CreateScrivixSvr(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<DScrivixSvr>(outer, iid, ppv);
}

HRESULT DScrivixLibImp::NewSpanIterator(ISpanIterator** NewIter) {
    return MakeByName(u"Scrivix.SpanIterator", NewIter);
}

}  // namespace scrivix

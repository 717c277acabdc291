// The library object: one entry point that reports the version and makes every kind of object. Its
// interface is implemented once (DScrivixLibImp) and offered by the plain automation object DScrivixSvr
// and by the control.
#pragma once

#include "frame/dispatch.h"
#include "frame/object.h"

namespace scrivix {

class DScrivixLibImp : public Dual<IScrivixLib> {
public:
    HRESULT STDMETHODCALLTYPE get_Version(BSTR* Version) override;
    HRESULT STDMETHODCALLTYPE NewTextSegment(BSTR BufferClass, ITextSegment** NewSeg) override;
    HRESULT STDMETHODCALLTYPE NewPattern(BSTR PatternClass, IPattern** Patern) override;
    HRESULT STDMETHODCALLTYPE NewPatternIterator(IPatternIterator** NewIter) override;
    HRESULT STDMETHODCALLTYPE NewSpan(ISpan** Span) override;
    HRESULT STDMETHODCALLTYPE NewSpanIterator(ISpanIterator** NewIter) override;
};

class DScrivixSvr : public ObjectRoot, public DScrivixLibImp, public SupportErrorInfo<IScrivixLib> {
public:
    using MainInterface = IScrivixLib;
    using Interfaces = InterfaceTable<Entry<IScrivixLib>, Entry<IDispatch, IScrivixLib>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return CLSID_ScrivixSvr; }
    static constexpr bool kAggregatable = false;
};

}  // namespace scrivix

// DSpan: a stretch of text from an occurrence of an opening pattern to the matching occurrence of a
// closing pattern (a quoted string, a comment, a bracketed group). It holds the two patterns and the span
// options and answers one question for the span iterator: given a pattern iterator over the closing
// occurrences and a start position, where does the span close? With soNested it counts the openings and
// closings in between to find the closing that balances the opening. It searches nothing itself: every
// occurrence comes from a pattern iterator.
#pragma once

#include "frame/class_name.h"
#include "frame/dispatch.h"
#include "frame/object.h"

namespace scrivix {

class DSpan : public ObjectRoot, public SupportErrorInfo<ISpan>, public Dual<ISpan> {
public:
    using MainInterface = ISpan;
    using Interfaces = InterfaceTable<Entry<ISpan>, Entry<IDispatch, ISpan>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return CLSID_Span; }
    static constexpr bool kAggregatable = true;

    DSpan() { pattern_class_.Put(nullptr); }

    HRESULT STDMETHODCALLTYPE get_Opening(IPattern** Opening) override;
    HRESULT STDMETHODCALLTYPE put_Opening(IUnknown* Opening) override;
    HRESULT STDMETHODCALLTYPE get_Closing(IPattern** Closing) override;
    HRESULT STDMETHODCALLTYPE put_Closing(IUnknown* Closing) override;
    HRESULT STDMETHODCALLTYPE get_Options(LONG* Options) override;
    HRESULT STDMETHODCALLTYPE put_Options(LONG Options) override;
    HRESULT STDMETHODCALLTYPE get_PatternClass(BSTR* ClassName) override { return pattern_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_PatternClass(BSTR ClassName) override { return pattern_class_.Put(ClassName); }
    HRESULT STDMETHODCALLTYPE Define(BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts,
                                     LONG SpanOpts) override;
    HRESULT STDMETHODCALLTYPE FindClose(IPatternIterator* Close, LONG Start, LONG* Limit, LONG* Length,
                                        VARIANT_BOOL* Found) override;

private:
    HRESULT GetPattern(const ComPtr<IPattern>& field, IPattern** out);
    HRESULT PutPattern(ComPtr<IPattern>& field, IUnknown* object);

    ComPtr<IPattern> opening_;
    ComPtr<IPattern> closing_;
    LONG options_ = 0;
    // Unset (null) until a client or the span iterator names the class Define makes patterns of.
    ClassNameProperty pattern_class_{u""};
};

}  // namespace scrivix

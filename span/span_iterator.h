// DSpanIterator: walks a source text segment and stops at every target span, in the order of the openings'
// positions, while it passes over whatever lies inside ignore spans (a bracket inside a string or a
// comment is not seen). For each stop it keeps the four positions of the span found (start and end of the
// opening occurrence, start and end of the closing occurrence) and hands out the span, its opening or its
// closing as a new text segment, or replaces it.
//
// It matches nothing itself. One pattern iterator, the opening iterator, looks for the openings of all
// spans at once (target and ignore spans alike, all as its targets); the pattern table tells what span the
// pattern number of a found opening belongs to. Each span with a closing pattern has a closing iterator of
// its own, which the span's FindClose moves to the closing that belongs to an opening.
//
// The iterator follows the edits of its source through the source's _ITextSegmentEvents
// (span_adjustment.h), and resets with the source.
#pragma once

#include "frame/class_name.h"
#include "frame/dispatch.h"
#include "frame/object.h"
#include "segment/notify.h"
#include "span/span_adjustment.h"

#include <vector>

namespace scrivix {

inline constexpr OLECHAR DefaultSpanPatternIteratorClass[] = u"Scrivix.PatternIterator";
inline constexpr OLECHAR DefaultSpanPatternClass[] = u"Scrivix.PatternA";

class DSpanIterator : public ObjectRoot, public SupportErrorInfo<ISpanIterator>, public Dual<ISpanIterator> {
public:
    using MainInterface = ISpanIterator;
    using Interfaces = InterfaceTable<Entry<ISpanIterator>, Entry<IDispatch, ISpanIterator>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return CLSID_SpanIterator; }
    static constexpr bool kAggregatable = true;

    // The sink through which the iterator hears its source: edits move its result, a Reset of the source
    // resets it as a client call would.
    class NotifyHandler : public DNotifyHandlerBase<ITextSegment, _ITextSegmentEvents, DSpanIterator> {
    public:
        HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override;
        HRESULT STDMETHODCALLTYPE Reset(LONG StartAt) override;
    };

    // Makes the opening iterator; without it there is no span iterator.
    HRESULT FinalConstruct();

    HRESULT STDMETHODCALLTYPE get_Current(SHORT What, ITextSegment** Current) override;
    HRESULT STDMETHODCALLTYPE Reset(LONG To) override;
    HRESULT STDMETHODCALLTYPE get_Source(ITextSegment** Source) override;
    HRESULT STDMETHODCALLTYPE put_Source(ITextSegment* Source) override;
    HRESULT STDMETHODCALLTYPE AddTarget(ISpan* Target, LONG* ID) override;
    HRESULT STDMETHODCALLTYPE AddIgnore(ISpan* Ignore, LONG* ID) override;
    HRESULT STDMETHODCALLTYPE Next(ITextSegment** Result) override;
    HRESULT STDMETHODCALLTYPE First(LONG Start, ITextSegment** Pattern) override;
    HRESULT STDMETHODCALLTYPE get_MatchedBy(LONG* Index) override;
    HRESULT STDMETHODCALLTYPE End(VARIANT_BOOL* AtEnd) override;
    HRESULT STDMETHODCALLTYPE get_Offset(LONG* Offset) override;
    HRESULT STDMETHODCALLTYPE get_Length(LONG* Length) override;
    HRESULT STDMETHODCALLTYPE get_Target(LONG Index, ISpan** Span) override;
    HRESULT STDMETHODCALLTYPE get_Ignore(LONG Index, ISpan** Span) override;
    HRESULT STDMETHODCALLTYPE Replace(BSTR NewText, SHORT What) override;
    HRESULT STDMETHODCALLTYPE get_PatternIteratorClass(BSTR* ClassName) override {
        return pattern_iterator_class_.Get(ClassName);
    }
    HRESULT STDMETHODCALLTYPE put_PatternIteratorClass(BSTR ClassName) override {
        return pattern_iterator_class_.Put(ClassName);
    }
    HRESULT STDMETHODCALLTYPE get_PatternClass(BSTR* ClassName) override { return pattern_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_PatternClass(BSTR ClassName) override { return pattern_class_.Put(ClassName); }
    HRESULT STDMETHODCALLTYPE NewTarget(BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts,
                                        LONG* ID) override;
    HRESULT STDMETHODCALLTYPE NewIgnore(BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts,
                                        LONG* ID) override;
    HRESULT STDMETHODCALLTYPE Clear(VARIANT_BOOL Reset) override;

private:
    enum class Kind : unsigned char { target, ignore };
    using SpanList = std::vector<ComPtr<ISpan>>;

    // What an opening that the opening iterator reports belongs to: a span of the target or ignore list,
    // and the span's closing iterator (none for a span without closing).
    struct PatternEntry {
        Kind kind = Kind::target;
        LONG index = -1;
        ComPtr<IPatternIterator> closing;
    };

    SpanList& ListOf(Kind kind) { return kind == Kind::target ? targets_ : ignores_; }
    HRESULT Add(Kind kind, ISpan* span, LONG* id);
    HRESULT MakeAndAdd(Kind kind, BSTR opening, LONG open_opts, BSTR closing, LONG close_opts, LONG span_opts,
                       LONG* id);
    HRESULT SpanAt(const SpanList& list, LONG index, ISpan** span);
    // The body of Next, under the lock.
    HRESULT Search(ITextSegment** result);
    // The part of the current result that `what` selects, as source positions.
    void Selection(LONG what, LONG& start, LONG& end) const;
    HRESULT HandOut(LONG what, ITextSegment** segment);
    // The Options of the current target span.
    HRESULT CurrentOptions(LONG& options);
    HRESULT SourceModified(const SourceEdit& edit);

    SpanPositions at_;
    SpanList targets_;
    SpanList ignores_;
    // Indexed by the pattern number the opening iterator gave out, which counts up from 0.
    std::vector<PatternEntry> table_;
    ComPtr<IPatternIterator> openings_;
    ClassNameProperty pattern_iterator_class_{DefaultSpanPatternIteratorClass};
    ClassNameProperty pattern_class_{DefaultSpanPatternClass};
    // Declared last, so destroyed first: the sink is disconnected before anything it reaches goes.
    DComEventsPtr<NotifyHandler, ITextSegment> source_{this};
};

}  // namespace scrivix

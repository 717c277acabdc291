// DPatternIterator: visits, from left to right, the occurrences of a list of target patterns in a source
// text segment while it steps over the occurrences of a list of ignore patterns, selects the occurrence
// or the text between occurrences (by its search mode), hands the selection out as a new segment and
// replaces it. It matches nothing itself: each search is a pattern's Find over a buffer segment that the
// source gives for the length of one Next. It follows the edits of its source through the source's
// _ITextSegmentEvents.
//
// Positions. The base B is where the iterator counts from, itself counted from the source's Origin: it is
// 0 after Reset and after a change of source, and moves only when an edit ends at or before it (text
// inserted or deleted in front of the iterator). The selection [S, F) and the resume position P count
// from B. So the buffer position of S is the source's Origin + B + S, and the source's own calls
// (SubSection, Replace) get B + S and B + F. A search covers the source's range only: an occurrence must
// begin before the source's end, and a target occurrence that runs on beyond the source's end is not
// reported. For a source that starts at 0 and ends at the buffer's end, and while B is 0, every one of
// these measures is the plain buffer position.
#pragma once

#include "frame/class_name.h"
#include "frame/dispatch.h"
#include "frame/object.h"
#include "iterator/iterator_adjustment.h"
#include "segment/notify.h"

#include <atomic>
#include <vector>

namespace scrivix {

inline constexpr OLECHAR DefaultIteratorPattern[] = u"Scrivix.PatternA";

class DPatternIterator : public ObjectRoot, public SupportErrorInfo<IPatternIterator>, public Dual<IPatternIterator> {
public:
    using MainInterface = IPatternIterator;
    using Interfaces =
        InterfaceTable<Entry<IPatternIterator>, Entry<IDispatch, IPatternIterator>, Entry<ISupportErrorInfo>>;
    static const CLSID& ClassId() { return CLSID_PatternIterator; }
    static constexpr bool kAggregatable = true;

    // The sink through which the iterator hears its source: edits move its positions, a Reset of the
    // source resets it as a client call would.
    class NotifyHandler : public DNotifyHandlerBase<ITextSegment, _ITextSegmentEvents, DPatternIterator> {
    public:
        HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override;
        HRESULT STDMETHODCALLTYPE Reset(LONG StartAt) override;
    };

    HRESULT STDMETHODCALLTYPE get_Current(ITextSegment** Current) override;
    HRESULT STDMETHODCALLTYPE First(LONG Start, ITextSegment** Found) override;
    HRESULT STDMETHODCALLTYPE Next(ITextSegment** Found) override;
    HRESULT STDMETHODCALLTYPE End(VARIANT_BOOL* AtEnd) override;
    HRESULT STDMETHODCALLTYPE Offset(LONG* Offset) override;
    HRESULT STDMETHODCALLTYPE Length(LONG* Length) override;
    HRESULT STDMETHODCALLTYPE MatchedBy(LONG* Index) override;
    HRESULT STDMETHODCALLTYPE get_Source(ITextSegment** Source) override;
    HRESULT STDMETHODCALLTYPE put_Source(ITextSegment* Source) override;
    HRESULT STDMETHODCALLTYPE AddTarget(IPattern* Pattern, LONG* ID) override;
    HRESULT STDMETHODCALLTYPE AddIgnore(IPattern* Pattern, LONG* ID) override;
    HRESULT STDMETHODCALLTYPE Reset(LONG StartAt) override;
    HRESULT STDMETHODCALLTYPE NewTarget(BSTR Text, LONG Options, LONG* ID) override;
    HRESULT STDMETHODCALLTYPE NewIgnore(BSTR Text, LONG Options, LONG* ID) override;
    HRESULT STDMETHODCALLTYPE get_PatternClass(BSTR* ClassName) override { return pattern_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_PatternClass(BSTR ClassName) override { return pattern_class_.Put(ClassName); }
    HRESULT STDMETHODCALLTYPE get_Target(LONG Index, IPattern** Pattern) override;
    HRESULT STDMETHODCALLTYPE get_Ignore(LONG Index, IPattern** Pattern) override;
    HRESULT STDMETHODCALLTYPE Clear(VARIANT_BOOL Reset) override;
    HRESULT STDMETHODCALLTYPE Replace(BSTR NewText) override;
    HRESULT STDMETHODCALLTYPE get_Mode(search_modes* Mode) override;
    HRESULT STDMETHODCALLTYPE put_Mode(search_modes Mode) override;

private:
    using PatternList = std::vector<ComPtr<IPattern>>;
    struct Occurrence;
    struct SearchWindow;

    // The body of Next, under the lock; a failure of a called object is returned as it came.
    HRESULT Search(ITextSegment** found);
    HRESULT OpenWindow(SearchWindow& window);
    // The selection as a new segment over the source, when `found` is wanted.
    void HandOut(ITextSegment** found);
    HRESULT SourceModified(const SourceEdit& edit);

    HRESULT Append(PatternList& list, IPattern* pattern, LONG* id);
    HRESULT MakeAndAppend(PatternList& list, BSTR text, LONG options, LONG* id);
    HRESULT PatternAt(const PatternList& list, LONG index, IPattern** pattern);

    IteratorPositions at_;
    // Where Next starts in mode smEndAtPattern: the end of the last target occurrence, counted from the
    // base; edits do not move it.
    LONG resume_ = 0;
    PatternList targets_;
    PatternList ignores_;
    ClassNameProperty pattern_class_{DefaultIteratorPattern};
    std::atomic<LONG> mode_{smPatternOnly};
    // Declared last, so destroyed first: the sink is disconnected before anything it reaches goes.
    DComEventsPtr<NotifyHandler, ITextSegment> source_{this};
};

}  // namespace scrivix

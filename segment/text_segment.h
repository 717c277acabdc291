// DTextSegment: the object clients work with, a range [Origin, Limit) of positions over one edit buffer.
// It makes its buffer by class name, gives and sets its text, grows by a count or up to the next
// occurrence of a pattern, cuts sub-sections (new segments over the same buffer), loads and writes files
// through the buffer, replaces text and starts a pattern iterator over itself. It stores no text: all
// text lives in the buffer.
//
// The range follows every edit of the buffer: the segment's sink hears the buffer's `Modified` and applies
// the rule of segment_adjustment.h; an edit that concerns the segment goes on to the segment's own
// listeners (iterators, clients) through `_ITextSegmentEvents`. The segment holds its buffer and its sink,
// the buffer holds only the sink, and the sink only a plain pointer back, so there is no cycle.
#pragma once

#include "frame/class_name.h"
#include "frame/connection_point.h"
#include "frame/dispatch.h"
#include "frame/object.h"
#include "segment/notify.h"

#include <atomic>

namespace scrivix {

inline constexpr OLECHAR DefaultBufferClass[] = u"Scrivix.EditBufferA";
inline constexpr OLECHAR DefaultPatternIteratorClass[] = u"Scrivix.PatternIterator";
inline constexpr OLECHAR DefaultPatternClass[] = u"Scrivix.PatternA";

class DTextSegment : public ObjectRoot,
                     public ConnectionPoints<DTextSegment, _ITextSegmentEvents>,
                     public SupportErrorInfo<ITextSegment>,
                     public Dual<ITextSegment> {
public:
    using MainInterface = ITextSegment;
    using Interfaces = InterfaceTable<Entry<ITextSegment>, Entry<IDispatch, ITextSegment>, Entry<ISupportErrorInfo>,
                                      Entry<IConnectionPointContainer>>;
    static const CLSID& ClassId() { return CLSID_TextSegment; }
    static constexpr bool kAggregatable = true;

    // The sink through which the segment hears its buffer's edits.
    class DNotifyHandler : public DNotifyHandlerBase<IEditBuffer, _IEditBufferEvents, DTextSegment> {
    public:
        HRESULT STDMETHODCALLTYPE Modified(LONG Origin, LONG OldLength, LONG NewLength) override;
    };

    HRESULT STDMETHODCALLTYPE get_Text(BSTR* Text) override;
    HRESULT STDMETHODCALLTYPE put_Text(BSTR Text) override;
    HRESULT STDMETHODCALLTYPE Origin(LONG* Offset) override;
    HRESULT STDMETHODCALLTYPE Limit(LONG* Lim) override;
    HRESULT STDMETHODCALLTYPE Length(LONG* Len) override;
    HRESULT STDMETHODCALLTYPE ExtendForwardBy(LONG Characters, LONG* Actual) override;
    HRESULT STDMETHODCALLTYPE ExtendBackwardBy(LONG Characters, LONG* Actual) override;
    HRESULT STDMETHODCALLTYPE ExtendForwardTo(IPattern* Pattern, VARIANT_BOOL Include, LONG* Distance) override;
    HRESULT STDMETHODCALLTYPE ExtendBackwardTo(IPattern* Pattern, VARIANT_BOOL Include, LONG* Distance) override;
    HRESULT STDMETHODCALLTYPE SubSection(LONG Start, LONG End, ITextSegment** Section) override;
    HRESULT STDMETHODCALLTYPE LoadFile(BSTR FileName, SHORT Mode, LONG* Actual) override;
    HRESULT STDMETHODCALLTYPE Replace(LONG From, LONG To, BSTR With) override;
    HRESULT STDMETHODCALLTYPE WriteFile(BSTR FileName, SHORT Mode, LONG* Actual) override;
    HRESULT STDMETHODCALLTYPE get_BufferClass(BSTR* ClassName) override;
    HRESULT STDMETHODCALLTYPE put_BufferClass(BSTR ClassName) override;
    HRESULT STDMETHODCALLTYPE SegmentBuffer(IUnknown** BuffLock) override;
    HRESULT STDMETHODCALLTYPE FindPattern(BSTR Pattern, LONG Options, BSTR Ignore, LONG IgOpts,
                                          IPatternIterator** Result) override;
    HRESULT STDMETHODCALLTYPE get_PatternIteratorClass(BSTR* ClassName) override {
        return pattern_iterator_class_.Get(ClassName);
    }
    HRESULT STDMETHODCALLTYPE put_PatternIteratorClass(BSTR ClassName) override {
        return pattern_iterator_class_.Put(ClassName);
    }
    HRESULT STDMETHODCALLTYPE get_PatternClass(BSTR* ClassName) override { return pattern_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_PatternClass(BSTR ClassName) override { return pattern_class_.Put(ClassName); }

private:
    enum class Direction { forward, backward };

    // The reaction to the buffer's Modified: adjusts the range and passes the edit on when it concerns
    // the segment.
    HRESULT BufferModified(LONG origin, LONG old_length, LONG new_length);
    // Drops the current buffer and binds a new one made from BufferClass, whose PatternClass becomes the
    // segment's. Under the lock. Without a new buffer the segment has none.
    HRESULT BindNewBuffer();
    // The buffer, taken under the lock by operations that run without it.
    ComPtr<IEditBuffer> Buffer();
    // The buffer's length; E_POINTER without a buffer. Under the lock.
    HRESULT BufferLength(LONG& length);
    // A buffer segment of the buffer's SegmentClass bound to [Origin, Limit); holds a read lock.
    HRESULT MakeBufferSegment(ComPtr<IBufferSegment>& view);
    // A pattern of PatternClass with `text` and `options` put, in that order.
    HRESULT MakePattern(BSTR text, LONG options, ComPtr<IPattern>& pattern);
    HRESULT ExtendTo(Direction direction, IPattern* pattern, VARIANT_BOOL include, LONG* distance);
    void FireModified(LONG origin, LONG old_length, LONG new_length);
    void FireReset();

    ClassNameProperty buffer_class_{DefaultBufferClass};
    ClassNameProperty pattern_iterator_class_{DefaultPatternIteratorClass};
    ClassNameProperty pattern_class_{DefaultPatternClass};
    // A position changed under the lock and read without it by Origin, Limit, Length and the unlocked
    // operations: each read and write is whole, and nothing more is promised (who needs the two positions
    // together takes the lock), so no fenced instruction is spent on them.
    class Position {
    public:
        operator LONG() const { return value_.load(std::memory_order_relaxed); }
        Position& operator=(LONG value) {
            value_.store(value, std::memory_order_relaxed);
            return *this;
        }

    private:
        std::atomic<LONG> value_{0};
    };
    Position origin_;
    Position limit_;
    // Last, so that it goes first: the sink is disconnected before anything it could reach is destroyed.
    DComEventsPtr<DNotifyHandler, IEditBuffer> buffer_{this};
};

}  // namespace scrivix

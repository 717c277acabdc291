// DEditBuffer: the text store of 8-bit or 16-bit characters. One template over the character type makes
// EditBufferA and EditBufferU. The buffer's text is one contiguous block from the task allocator (raw
// positions into it stay valid until the next change); writers change it under the write exclusion and
// tell the segments over it through `_IEditBufferEvents.Modified`.
#pragma once

#include "buffer/edit_buffer_locks.h"
#include "buffer/shared_allocator.h"
#include "frame/class_info.h"
#include "frame/class_name.h"
#include "frame/connection_point.h"
#include "frame/dispatch.h"
#include "frame/object.h"

#include <vector>

namespace scrivix {

inline constexpr OLECHAR DefaultANSIFileClass[] = u"Scrivix.FileStreamA";
inline constexpr OLECHAR DefaultUNICODEFileClass[] = u"Scrivix.FileStreamU";
inline constexpr OLECHAR DefaultANSISegment[] = u"Scrivix.BufferSegmentA";
inline constexpr OLECHAR DefaultUNICODESegment[] = u"Scrivix.BufferSegmentU";
inline constexpr OLECHAR DefaultANSIPattern[] = u"Scrivix.PatternA";
inline constexpr OLECHAR DefaultUNICODEPattern[] = u"Scrivix.PatternU";

// The largest length a buffer may reach: positions are 32-bit signed.
inline constexpr size_t kMaxBufferLength = 0x7FFFFFFF;

template <class T, const CLSID& Clsid, const OLECHAR* FileClass, const OLECHAR* SegmentClass,
          const OLECHAR* PatternClass>
class DEditBuffer : public DEditBufferLocks,
                    public ObjectRoot,
                    public ConnectionPoints<DEditBuffer<T, Clsid, FileClass, SegmentClass, PatternClass>,
                                            _IEditBufferEvents>,
                    public ProvideClassInfo2<DEditBuffer<T, Clsid, FileClass, SegmentClass, PatternClass>,
                                             _IEditBufferEvents>,
                    public SupportErrorInfo<IEditBuffer>,
                    public Dual<IEditBuffer> {
public:
    using Char = T;
    using MainInterface = IEditBuffer;
    using Interfaces = InterfaceTable<Entry<IEditBuffer>, Entry<IDispatch, IEditBuffer>, Entry<ISupportErrorInfo>,
                                      Entry<IConnectionPointContainer>, Entry<IProvideClassInfo2>>;
    static const CLSID& ClassId() { return Clsid; }
    static constexpr bool kAggregatable = true;

    HRESULT STDMETHODCALLTYPE LockForRead() override;
    HRESULT STDMETHODCALLTYPE UnlockFromRead() override;
    HRESULT STDMETHODCALLTYPE CharSize(SHORT* Size) override;
    HRESULT STDMETHODCALLTYPE get_Begin(void** Position) override;
    HRESULT STDMETHODCALLTYPE get_End(void** Position) override;
    HRESULT STDMETHODCALLTYPE Replace(LONG Origin, LONG Extent, BSTR NewText) override;
    HRESULT STDMETHODCALLTYPE Text(BSTR Content) override;
    HRESULT STDMETHODCALLTYPE ASCIIText(unsigned char* Content, LONG Length) override;
    HRESULT STDMETHODCALLTYPE Length(LONG* Length) override;
    HRESULT STDMETHODCALLTYPE FromStream(IUnknown* Stream, ULONG* Actual) override;
    HRESULT STDMETHODCALLTYPE LoadFile(BSTR FileName, SHORT Mode, ULONG* Actual) override;
    HRESULT STDMETHODCALLTYPE get_FileClass(BSTR* ClassName) override { return file_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_FileClass(BSTR ClassName) override { return file_class_.Put(ClassName); }
    HRESULT STDMETHODCALLTYPE SubSection(LONG Start, LONG End, BSTR* Section) override;
    HRESULT STDMETHODCALLTYPE WriteFile(LONG From, LONG To, BSTR FileName, SHORT Mode, ULONG* Actual) override;
    HRESULT STDMETHODCALLTYPE ToStream(LONG From, LONG To, IUnknown* Stream, ULONG* Actual) override;
    HRESULT STDMETHODCALLTYPE ProcessID(LONG* ID) override;
    HRESULT STDMETHODCALLTYPE get_SegmentClass(BSTR* ClassName) override { return segment_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_SegmentClass(BSTR ClassName) override { return segment_class_.Put(ClassName); }
    HRESULT STDMETHODCALLTYPE get_PatternClass(BSTR* ClassName) override { return pattern_class_.Get(ClassName); }
    HRESULT STDMETHODCALLTYPE put_PatternClass(BSTR ClassName) override { return pattern_class_.Put(ClassName); }

private:
    // What an edit did, as Modified tells it.
    struct Modification {
        LONG origin, old_length, new_length;
    };
    // Runs `change` on the text under the write exclusion and fires Modified for the Modification it
    // returns before leaving it. `change` looks at the text only there, so a writer that got in first
    // cannot invalidate it. A change that throws std::bad_alloc (no memory, or a text that would outgrow
    // 32-bit positions) reports message 10007, std::out_of_range reports 10000; neither fires anything.
    template <class Change>
    HRESULT Edit(Change&& change);
    void FireModified(LONG origin, LONG old_length, LONG new_length);
    LONG TextLength() const { return static_cast<LONG>(text_.size()); }

    // The characters, without a terminator: the block's address is the buffer's Begin.
    std::vector<T, shared_allocator<T>> text_;
    ClassNameProperty file_class_{FileClass};
    ClassNameProperty segment_class_{SegmentClass};
    ClassNameProperty pattern_class_{PatternClass};
};

using EditBufferA = DEditBuffer<char, CLSID_EditBufferA, DefaultANSIFileClass, DefaultANSISegment, DefaultANSIPattern>;
using EditBufferU =
    DEditBuffer<char16_t, CLSID_EditBufferU, DefaultUNICODEFileClass, DefaultUNICODESegment, DefaultUNICODEPattern>;

}  // namespace scrivix

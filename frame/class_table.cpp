// The classes of the module. A class whose implementation is not part of this build answers every
// creation with E_NOTIMPL, so that its class name resolves and the failure says what it is.
#include "frame/class_table.h"

#include <iterator>

namespace scrivix {
namespace {

HRESULT NotBuilt(IUnknown*, REFIID, void** ppv) {
    if (ppv) *ppv = nullptr;
    return E_NOTIMPL;
}

}  // namespace

std::span<ClassEntry> ClassTable() {
    static ClassEntry table[] = {
        {&CLSID_EditBufferA, "EditBufferA", 101, CreateEditBufferA, {}},
        {&CLSID_EditBufferU, "EditBufferU", 101, CreateEditBufferU, {}},
        {&CLSID_FileStreamA, "FileStreamA", 105, CreateFileStreamA, {}},
        {&CLSID_FileStreamU, "FileStreamU", 105, CreateFileStreamU, {}},
        {&CLSID_TextSegment, "TextSegment", 103, CreateTextSegment, {}},
        {&CLSID_PatternA, "PatternA", 106, CreatePatternA, {}},
        {&CLSID_PatternU, "PatternU", 106, CreatePatternU, {}},
        {&CLSID_PatternIterator, "PatternIterator", 107, CreatePatternIterator, {}},
        {&CLSID_BufferSegmentA, "BufferSegmentA", 108, CreateBufferSegmentA, {}},
        {&CLSID_BufferSegmentU, "BufferSegmentU", 108, CreateBufferSegmentU, {}},
        {&CLSID_Span, "Span", 109, CreateSpan, {}},
        {&CLSID_SpanIterator, "SpanIterator", 111, CreateSpanIterator, {}},
        {&CLSID_ScrivixCtl, "ScrivixCtl", 113, NotBuilt, {}},
        {&CLSID_ScrivixSvr, "ScrivixSvr", 110, CreateScrivixSvr, {}},
    };
    return table;
}

}  // namespace scrivix

// The module's table of classes, in the order in which class objects are looked up and classes are
// registered.
#pragma once

#include "frame/module.h"
#include "platform/com_ptr.h"

#include <span>

namespace scrivix {

struct ClassEntry {
    const CLSID* clsid;
    const char* name;  // the class's name in the type library; its ProgID is "Scrivix." + name
    UINT script;       // the REGISTRY resource that registers it
    ClassCreator creator;
    ComPtr<IClassFactory> class_object;  // made on first request
};

std::span<ClassEntry> ClassTable();

// The creators of the classes, each defined by its own subsystem.
HRESULT CreateEditBufferA(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateEditBufferU(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateFileStreamA(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateFileStreamU(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateBufferSegmentA(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateBufferSegmentU(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreatePatternA(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreatePatternU(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateTextSegment(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreatePatternIterator(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateSpan(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateSpanIterator(IUnknown* outer, REFIID iid, void** ppv);
HRESULT CreateScrivixSvr(IUnknown* outer, REFIID iid, void** ppv);

}  // namespace scrivix

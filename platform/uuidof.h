// uuidof<I>(): the interface id of interface type I. An interface without an id is a compile error.
#pragma once

#include <scrivix/scrivix.h>

namespace scrivix {

template <class I>
const IID& uuidof() = delete;

#define SCRIVIX_UUIDOF(I) \
    template <> \
    inline const IID& uuidof<I>() { \
        return IID_##I; \
    }

SCRIVIX_UUIDOF(IUnknown)
SCRIVIX_UUIDOF(IDispatch)
SCRIVIX_UUIDOF(IClassFactory)
SCRIVIX_UUIDOF(ISupportErrorInfo)
SCRIVIX_UUIDOF(IErrorInfo)
SCRIVIX_UUIDOF(ICreateErrorInfo)
SCRIVIX_UUIDOF(IConnectionPointContainer)
SCRIVIX_UUIDOF(IConnectionPoint)
SCRIVIX_UUIDOF(IEnumConnectionPoints)
SCRIVIX_UUIDOF(IEnumConnections)
SCRIVIX_UUIDOF(IProvideClassInfo)
SCRIVIX_UUIDOF(IProvideClassInfo2)
SCRIVIX_UUIDOF(ISequentialStream)
SCRIVIX_UUIDOF(IStream)
SCRIVIX_UUIDOF(ITypeLib)
SCRIVIX_UUIDOF(ITypeInfo)
SCRIVIX_UUIDOF(IEditBuffer)
SCRIVIX_UUIDOF(_IEditBufferEvents)
SCRIVIX_UUIDOF(IBufferSegment)
SCRIVIX_UUIDOF(IFile)
SCRIVIX_UUIDOF(IPattern)
SCRIVIX_UUIDOF(ITextSegment)
SCRIVIX_UUIDOF(_ITextSegmentEvents)
SCRIVIX_UUIDOF(IPatternIterator)
SCRIVIX_UUIDOF(ISpan)
SCRIVIX_UUIDOF(ISpanIterator)
SCRIVIX_UUIDOF(IScrivixLib)

#undef SCRIVIX_UUIDOF

}  // namespace scrivix

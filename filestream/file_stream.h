// DFileStream: the file object through which edit buffers load and save files. `IFile` on `IStream`: a
// named disk file opened in a mode, then read, written and positioned as a stream of bytes. FileStreamA
// and FileStreamU are the same object under two class identities; neither converts characters.
//
// The stream operations report no message: they record failures in the stream state (see ByteFile),
// which shows afterwards as short reads, a position of -1 from Seek, and Open failures.
//
// IFile is not dual (it extends IStream, not IDispatch), so the object answers no IDispatch: a dispatch
// view would need a vtable of the dual layout that IFile does not have. Automation clients reach files
// through the buffers and segments that use them.
#pragma once

#include "filestream/byte_file.h"
#include "frame/object.h"
#include "platform/bstr.h"

namespace scrivix {

class DFileStream : public ObjectRoot, public IFile, public SupportErrorInfo<IFile> {
public:
    using MainInterface = IFile;
    using Interfaces = InterfaceTable<Entry<IStream>, Entry<IFile>, Entry<ISupportErrorInfo>>;
    static constexpr bool kAggregatable = true;

    // ISequentialStream
    HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
    // IStream
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                     ULARGE_INTEGER* pcbWritten) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override;
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
    HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) override;
    // IFile
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* Name) override;
    HRESULT STDMETHODCALLTYPE put_Name(BSTR Name) override;
    HRESULT STDMETHODCALLTYPE Open(SHORT Mode, BSTR Name) override;
    HRESULT STDMETHODCALLTYPE Close() override;

private:
    ByteFile file_;
    // The stored name; an empty name is kept as none (null).
    Bstr name_;
};

// One class identity of the file stream.
template <const CLSID& Clsid>
class FileStreamClass : public DFileStream {
public:
    static const CLSID& ClassId() { return Clsid; }
};

using FileStreamA = FileStreamClass<CLSID_FileStreamA>;
using FileStreamU = FileStreamClass<CLSID_FileStreamU>;

}  // namespace scrivix

// The operations of the file stream and the creators of its two classes.
#include "filestream/file_stream.h"

#include "frame/class_table.h"
#include "platform/code_page.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

namespace scrivix {
namespace {

// CopyTo moves the bytes through a block of this size, so that copying a large file needs little memory.
constexpr size_t kCopyBlock = size_t{1} << 20;

// The format-flag word of a standard stream as it starts (skip white space, decimal), which nothing
// here changes; Stat reports it as the stream's state bits.
constexpr DWORD kFormatFlags = 0x201;

// A name that is empty is no name.
Bstr NameOf(BSTR name) { return SysStringLen(name) > 0 ? Bstr(Bstr::View(name)) : Bstr(); }

}  // namespace

HRESULT DFileStream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
    if (!pv && cb > 0) return E_POINTER;
    const size_t read = file_.Read(pv, cb);
    if (pcbRead) *pcbRead = static_cast<ULONG>(read);
    return S_OK;
}

HRESULT DFileStream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
    if (!pv && cb > 0) return E_POINTER;
    file_.Write(pv, cb);
    // Failures show in the stream state, not in the count.
    if (pcbWritten) *pcbWritten = cb;
    return S_OK;
}

HRESULT DFileStream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) {
    static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    // Only the low 32 bits of the offset count, as a signed value.
    const auto offset = static_cast<int32_t>(static_cast<uint32_t>(dlibMove.QuadPart));
    if (dwOrigin <= seek_end) {
        // The get position, then the put position. They are one position of the file, so a move from
        // the current position is made twice: Seek(3, seek_cur) advances by 6.
        file_.Seek(offset, kWhence[dwOrigin]);
        file_.Seek(offset, kWhence[dwOrigin]);
    }
    if (plibNewPosition) {
        const int64_t position = file_.Failed() ? -1 : file_.Position();
        // A failure reads as -1 in the low 32 bits. A position past 4 GiB is given whole rather than cut
        // to its low 32 bits, so that a buffer can tell that such a file is too large for it.
        plibNewPosition->QuadPart = position < 0 ? 0xFFFFFFFFu : static_cast<ULONGLONG>(position);
    }
    return S_OK;
}

HRESULT DFileStream::CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) {
    if (!pstm) return E_INVALIDARG;
    const ComPtr<IStream> target(pstm);
    const ULONGLONG wanted = std::min<ULONGLONG>(file_.Remaining(), cb.QuadPart);
    std::unique_ptr<char[]> block;
    if (wanted > 0) {
        block.reset(new (std::nothrow) char[std::min<ULONGLONG>(wanted, kCopyBlock)]);
        if (!block) return E_OUTOFMEMORY;
    }
    ULONGLONG read = 0, written = 0;
    HRESULT hr = S_OK;
    while (read < wanted) {
        const size_t got = file_.Read(block.get(), std::min<ULONGLONG>(wanted - read, kCopyBlock));
        if (got == 0) break;
        read += got;
        ULONG put = 0;
        hr = target->Write(block.get(), static_cast<ULONG>(got), &put);
        written += put;
        // A target that fails ends the copy; the counts tell the caller how far it got.
        if (FAILED(hr)) break;
    }
    if (pcbRead) pcbRead->QuadPart = read;
    if (pcbWritten) pcbWritten->QuadPart = written;
    return S_OK;
}

HRESULT DFileStream::Commit(DWORD) {
    // Writes reach the system as they are made: there is no buffer of ours to flush.
    return S_OK;
}

HRESULT DFileStream::Stat(STATSTG* pstatstg, DWORD) {
    if (!pstatstg) return E_POINTER;
    const std::u16string_view name = name_.View();
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(OLECHAR)));
    if (!copy) return E_OUTOFMEMORY;
    *std::copy(name.begin(), name.end(), copy) = u'\0';
    // Only these fields are given; in particular the size is not.
    pstatstg->pwcsName = copy;
    pstatstg->type = 0;
    pstatstg->cbSize.u.HighPart = 0;
    pstatstg->clsid = CLSID{};
    pstatstg->grfStateBits = kFormatFlags;
    return S_OK;
}

HRESULT DFileStream::Clone(IStream** ppstm) {
    if (ppstm) *ppstm = nullptr;
    return E_NOTIMPL;
}

HRESULT DFileStream::get_Name(BSTR* Name) {
    if (!Name) return E_POINTER;
    *Name = nullptr;
    return name_.IsNull() ? S_OK : CopyToBstr(name_.View(), Name);
}

HRESULT DFileStream::put_Name(BSTR Name) {
    return Guarded([&] {
        name_ = NameOf(Name);
        return S_OK;
    });
}

HRESULT DFileStream::Open(SHORT Mode, BSTR Name) {
    return Guarded([&] {
        if (file_.IsOpen()) return Report(kFileAlreadyOpen);
        if (SysStringLen(Name) > 0) name_ = Bstr(Bstr::View(Name));
        file_.Open(platform::Utf16ToUtf8(name_.View()), Mode);
        // The state is not cleared first: an earlier failure that left exactly one flag makes even a
        // successful open report, while end-of-file together with fail (a short read) does not.
        const unsigned state = file_.State();
        const bool one_flag = state == ByteFile::kEof || state == ByteFile::kFail || state == ByteFile::kBad;
        return one_flag || !file_.IsOpen() ? Report(kCouldNotOpenFile) : S_OK;
    });
}

HRESULT DFileStream::Close() {
    file_.Close();
    return S_OK;
}

HRESULT CreateFileStreamA(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<FileStreamA>(outer, iid, ppv);
}
HRESULT CreateFileStreamU(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<FileStreamU>(outer, iid, ppv);
}

}  // namespace scrivix

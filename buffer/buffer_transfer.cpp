// The edit buffer's transfers to and from streams and files, for both character widths: FromStream,
// ToStream, and LoadFile and WriteFile through a file object made from the buffer's FileClass.
//
// Characters travel without conversion: one byte each for 8-bit buffers; for 16-bit buffers a two-byte
// mark (written FF FE, skipped whatever it holds on reading) and then two bytes each in memory order.
//
// A load reads the whole stream into a new block first and swaps it in under the write exclusion only
// then: a stream that cannot be positioned or read, or that is larger than a buffer can hold, leaves the
// buffer exactly as it was, and readers are not held back while the bytes come in.
//
// These members are defined here rather than with the rest of the buffer, and instantiated here for the
// two classes, so that the file and stream logic stays together in one place.
#include "buffer/edit_buffer.h"

#include <algorithm>
#include <cstdint>

namespace scrivix {
namespace {

// The mark that opens a 16-bit buffer's stream: 0xFEFF in memory order.
constexpr char16_t kByteOrderMark = 0xFEFF;

// The stream behind an object: E_INVALIDARG for null or an object that answers no IStream.
HRESULT StreamOf(IUnknown* object, ComPtr<IStream>& stream) {
    if (!object) return E_INVALIDARG;
    const HRESULT hr = object->QueryInterface(IID_IStream, stream.PutVoid());
    return hr == E_NOINTERFACE ? E_INVALIDARG : hr;
}

// Moves the stream to `origin` and gives the position it reports.
HRESULT SeekTo(IStream& stream, DWORD origin, ULONGLONG& position) {
    LARGE_INTEGER zero{};
    ULARGE_INTEGER reported{};
    const HRESULT hr = stream.Seek(zero, origin, &reported);
    position = reported.QuadPart;
    return hr;
}

// The message that refuses a range outside 0 <= from <= to <= length, or 0 for a good range.
UINT RangeMessage(LONG from, LONG to, LONG length) {
    if (from < 0 || from > length) return kInvalidStart;
    if (to < from || to > length) return kInvalidEnd;
    return 0;
}

// Makes a file object of class `file_class` and opens `name` in `mode`. The file object reports its own
// failures; they pass through unchanged.
HRESULT OpenFile(const Bstr& file_class, BSTR name, int mode, ComPtr<IFile>& file) {
    if (file_class.IsNull()) return E_INVALIDARG;
    HRESULT hr = CreateFromClassName(file_class.Get(), file);
    if (SUCCEEDED(hr)) hr = file->Open(static_cast<SHORT>(mode), name);
    if (FAILED(hr)) file = nullptr;
    return hr;
}

}  // namespace

#define SCRIVIX_EDIT_BUFFER template <class T, const CLSID& Clsid, const OLECHAR* F, const OLECHAR* S, const OLECHAR* P>
#define SCRIVIX_EDIT_BUFFER_CLASS DEditBuffer<T, Clsid, F, S, P>

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::FromStream(IUnknown* Stream, ULONG* Actual) {
    if (Actual) *Actual = 0;
    ComPtr<IStream> stream;
    HRESULT hr = StreamOf(Stream, stream);
    if (FAILED(hr)) return hr;

    ULONGLONG size = 0, start = 0;
    if (FAILED(hr = SeekTo(*stream, STREAM_SEEK_END, size))) return hr;
    if (FAILED(hr = SeekTo(*stream, STREAM_SEEK_SET, start))) return hr;
    // A stream that cannot stand at its start (a file object whose state has failed reports -1) has
    // nothing to load from it.
    if (start != 0) return E_FAIL;

    // The 16-bit mark is skipped whatever it holds; an odd last byte is read but not kept.
    const ULONGLONG mark = sizeof(T) == 2 ? std::min<ULONGLONG>(size, 2) : 0;
    const ULONGLONG body = size - mark;
    if (body / sizeof(T) > kMaxBufferLength) return Report(kEditOutOfMemory);

    decltype(text_) block;
    try {
        block.resize(static_cast<size_t>((body + sizeof(T) - 1) / sizeof(T)));
    } catch (const std::bad_alloc&) {
        return Report(kEditOutOfMemory);
    }
    if (mark > 0) {
        char16_t skipped;
        if (FAILED(hr = stream->Read(&skipped, static_cast<ULONG>(mark), nullptr))) return hr;
    }
    ULONG read = 0;
    if (body > 0) {
        if (FAILED(hr = stream->Read(block.data(), static_cast<ULONG>(body), &read))) return hr;
        read = std::min<ULONG>(read, static_cast<ULONG>(body));
    }
    block.resize(read / sizeof(T));

    LONG old_length = 0;
    {
        WriteExclusion exclusion(*this);
        old_length = TextLength();
        text_.swap(block);
    }
    FireModified(0, old_length, static_cast<LONG>(read / sizeof(T)));
    if (Actual) *Actual = read;
    return hr;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::ToStream(LONG From, LONG To, IUnknown* Stream, ULONG* Actual) {
    if (Actual) *Actual = 0;
    ComPtr<IStream> stream;
    HRESULT hr = StreamOf(Stream, stream);
    if (FAILED(hr)) return hr;

    ReadLock lock(*this);
    if (const UINT message = RangeMessage(From, To, TextLength())) return Report(message);
    // The mark's status is not looked at: the call's result is that of the characters' transfer.
    if constexpr (sizeof(T) == 2) stream->Write(&kByteOrderMark, sizeof kByteOrderMark, nullptr);

    // The range goes out whole: a stream that takes fewer bytes than offered is given the rest, until it
    // fails or takes nothing.
    const char* next = reinterpret_cast<const char*>(text_.data() + From);
    ULONG left = static_cast<ULONG>((To - From) * sizeof(T));
    ULONG written = 0;
    while (left > 0) {
        ULONG put = 0;
        hr = stream->Write(next, left, &put);
        put = std::min(put, left);
        written += put;
        if (FAILED(hr) || put == 0) break;
        next += put;
        left -= put;
    }
    if (Actual) *Actual = written;
    return hr;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::LoadFile(BSTR FileName, SHORT Mode, ULONG* Actual) {
    if (Actual) *Actual = 0;
    return Guarded([&] {
        ComPtr<IFile> file;
        const HRESULT hr = OpenFile(file_class_.Value(), FileName, Mode | file_in, file);
        return FAILED(hr) ? hr : FromStream(file.Get(), Actual);
    });
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::WriteFile(LONG From, LONG To, BSTR FileName, SHORT Mode, ULONG* Actual) {
    if (Actual) *Actual = 0;
    // A bad range is refused before the file is opened, which may empty it; ToStream checks again under
    // its read lock.
    if (const UINT message = RangeMessage(From, To, TextLength())) return Report(message);
    return Guarded([&] {
        ComPtr<IFile> file;
        const HRESULT hr = OpenFile(file_class_.Value(), FileName, Mode | file_out, file);
        return FAILED(hr) ? hr : ToStream(From, To, file.Get(), Actual);
    });
}

#undef SCRIVIX_EDIT_BUFFER
#undef SCRIVIX_EDIT_BUFFER_CLASS

#define SCRIVIX_INSTANTIATE_TRANSFERS(Buffer)                                   \
    template HRESULT Buffer::FromStream(IUnknown*, ULONG*);                    \
    template HRESULT Buffer::ToStream(LONG, LONG, IUnknown*, ULONG*);          \
    template HRESULT Buffer::LoadFile(BSTR, SHORT, ULONG*);                    \
    template HRESULT Buffer::WriteFile(LONG, LONG, BSTR, SHORT, ULONG*);
SCRIVIX_INSTANTIATE_TRANSFERS(EditBufferA)
SCRIVIX_INSTANTIATE_TRANSFERS(EditBufferU)
#undef SCRIVIX_INSTANTIATE_TRANSFERS

}  // namespace scrivix

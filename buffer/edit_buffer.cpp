// The operations of the edit buffer, for both character widths.
#include "buffer/edit_buffer.h"

#include "frame/class_table.h"
#include "platform/code_page.h"
#include "platform/sync.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace scrivix {
namespace {

// Characters of a 16-bit text as a buffer of width T stores them on a whole-text put: 16-bit as they are,
// 8-bit by their low 8 bits.
template <class T>
void StoreUnits(const OLECHAR* from, size_t count, T* to) {
    if constexpr (sizeof(T) == 2) {
        std::copy_n(from, count, to);
    } else {
        std::transform(from, from + count, to, [](OLECHAR unit) { return static_cast<T>(unit & 0xFF); });
    }
}

// Characters of a 16-bit text as Replace inserts them: 8-bit buffers narrow by the ANSI code page.
template <class T>
void InsertUnits(const OLECHAR* from, size_t count, T* to) {
    if constexpr (sizeof(T) == 2) {
        std::copy_n(from, count, to);
    } else {
        platform::NarrowToAnsi(from, from + count, to);
    }
}

// Characters as SubSection hands them out: 8-bit characters widen by sign extension.
template <class T>
void ReadUnits(const T* from, size_t count, OLECHAR* to) {
    std::transform(from, from + count, to,
                   [](T c) { return static_cast<OLECHAR>(static_cast<int16_t>(static_cast<std::make_signed_t<T>>(c))); });
}

// Whether Extent characters from Origin lie within a text of `length` characters.
bool RangeFits(LONG origin, LONG extent, LONG length) {
    return extent >= 0 && origin >= 0 && origin <= length && extent <= length - origin;
}

}  // namespace

#define SCRIVIX_EDIT_BUFFER template <class T, const CLSID& Clsid, const OLECHAR* F, const OLECHAR* S, const OLECHAR* P>
#define SCRIVIX_EDIT_BUFFER_CLASS DEditBuffer<T, Clsid, F, S, P>

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::LockForRead() {
    LockRead();
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::UnlockFromRead() {
    UnlockRead();
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::CharSize(SHORT* Size) {
    if (!Size) return E_POINTER;
    *Size = sizeof(T);
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::get_Begin(void** Position) {
    if (!Position) return E_POINTER;
    *Position = text_.data();
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::get_End(void** Position) {
    if (!Position) return E_POINTER;
    *Position = text_.data() + text_.size();
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::Length(LONG* Length) {
    if (!Length) return E_POINTER;
    *Length = TextLength();
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
template <class Change>
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::Edit(Change&& change) {
    UINT failure = 0;
    {
        WriteExclusion exclusion(*this);
        try {
            const Modification made = change();
            FireModified(made.origin, made.old_length, made.new_length);
        } catch (const std::bad_alloc&) {
            failure = kEditOutOfMemory;
        } catch (const std::out_of_range&) {
            failure = kInvalidExtent;
        }
    }
    return failure ? Report(failure) : S_OK;
}

SCRIVIX_EDIT_BUFFER
void SCRIVIX_EDIT_BUFFER_CLASS::FireModified(LONG origin, LONG old_length, LONG new_length) {
    this->Fire([&](_IEditBufferEvents* sink) { return sink->Modified(origin, old_length, new_length); });
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::Replace(LONG Origin, LONG Extent, BSTR NewText) {
    // A bad range fails at once, without waiting for the exclusion.
    if (!RangeFits(Origin, Extent, TextLength())) return Report(kInvalidExtent);
    // The new text ends at its first zero unit.
    std::u16string_view inserted = Bstr::View(NewText);
    inserted = inserted.substr(0, inserted.find(u'\0'));
    return Edit([&] {
        // Checked again where it counts: another writer may have changed the length meanwhile.
        if (!RangeFits(Origin, Extent, TextLength())) throw std::out_of_range("Replace");
        const size_t n = inserted.size();
        if (n > kMaxBufferLength - (text_.size() - Extent)) throw std::bad_alloc();
        const auto at = text_.begin() + Origin;
        if (n > static_cast<size_t>(Extent))
            text_.insert(at + Extent, n - Extent, T());
        else
            text_.erase(at + n, at + Extent);
        InsertUnits(inserted.data(), n, text_.data() + Origin);
        return Modification{Origin, Extent, static_cast<LONG>(n)};
    });
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::Text(BSTR Content) {
    const std::u16string_view content = Bstr::View(Content);
    return Edit([&] {
        if (content.size() > kMaxBufferLength) throw std::bad_alloc();
        const LONG old_length = TextLength();
        text_.resize(content.size());
        StoreUnits(content.data(), content.size(), text_.data());
        return Modification{0, old_length, static_cast<LONG>(content.size())};
    });
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::ASCIIText(unsigned char* Content, LONG Length) {
    if (Length < -1) return E_INVALIDARG;
    if (Length > 0 && !Content) return E_POINTER;
    // A zero-terminated text is measured only as far as a buffer can reach.
    const size_t length = Length != -1 ? static_cast<size_t>(Length)
                          : Content    ? ::strnlen(reinterpret_cast<const char*>(Content), kMaxBufferLength + 1)
                                       : 0;
    return Edit([&] {
        if (length > kMaxBufferLength) throw std::bad_alloc();
        const LONG old_length = TextLength();
        text_.assign(Content, Content + length);
        return Modification{0, old_length, static_cast<LONG>(length)};
    });
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::SubSection(LONG Start, LONG End, BSTR* Section) {
    if (!Section) return E_POINTER;
    const LONG length = TextLength();
    if (Start < 0 || Start > length) return Report(kInvalidStart);
    if (End < Start || End > length) return Report(kInvalidEnd);
    SysFreeString(*Section);
    *Section = SysAllocStringLen(nullptr, static_cast<UINT>(End - Start));
    if (!*Section) return Report(kInsufficientMemory);
    ReadUnits(text_.data() + Start, End - Start, *Section);
    return S_OK;
}

SCRIVIX_EDIT_BUFFER
HRESULT SCRIVIX_EDIT_BUFFER_CLASS::ProcessID(LONG* ID) {
    if (!ID) return E_POINTER;
    *ID = platform::CurrentProcessId();
    return S_OK;
}

#undef SCRIVIX_EDIT_BUFFER
#undef SCRIVIX_EDIT_BUFFER_CLASS

// FromStream, LoadFile, WriteFile and ToStream are defined and instantiated in buffer_transfer.cpp.
template class DEditBuffer<char, CLSID_EditBufferA, DefaultANSIFileClass, DefaultANSISegment, DefaultANSIPattern>;
template class DEditBuffer<char16_t, CLSID_EditBufferU, DefaultUNICODEFileClass, DefaultUNICODESegment,
                           DefaultUNICODEPattern>;

HRESULT CreateEditBufferA(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<EditBufferA>(outer, iid, ppv);
}
HRESULT CreateEditBufferU(IUnknown* outer, REFIID iid, void** ppv) {
    return CreateComObject<EditBufferU>(outer, iid, ppv);
}

}  // namespace scrivix

// A client's own file class, "Scrivix.Test.MemoryFile", in a class server of its own: an IFile whose files
// live in memory, keyed by name. It links nothing of the library, as a module of another vendor would not,
// and knows the interface ids it answers by their values. Tests reach its files through objects of the
// class, and the mode of its last Open and its live objects through exported functions.
#include "support/client_module.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>

namespace {

// {7B3F6A10-2C4D-4E8F-9A1B-5C6D7E8F9020}
constexpr CLSID kMemoryFileClsid = {0x7B3F6A10, 0x2C4D, 0x4E8F, {0x9A, 0x1B, 0x5C, 0x6D, 0x7E, 0x8F, 0x90, 0x20}};
// {3A124C64-7E02-4F05-B7C1-DCE27F7695F5}
constexpr IID kIFile = {0x3A124C64, 0x7E02, 0x4F05, {0xB7, 0xC1, 0xDC, 0xE2, 0x7F, 0x76, 0x95, 0xF5}};

std::mutex mutex;
std::map<std::u16string, std::string> files;
SHORT last_mode = 0;

class MemoryFile final : public client::Object<MemoryFile, IFile> {
public:
    static constexpr IID kAnswers[] = {client::kIStream, kIFile};

    HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override {
        std::lock_guard guard(mutex);
        const std::string& bytes = files[name_];
        const size_t n = position_ < bytes.size() ? std::min<size_t>(cb, bytes.size() - position_) : 0;
        std::copy_n(bytes.data() + position_, n, static_cast<char*>(pv));
        position_ += n;
        if (pcbRead) *pcbRead = static_cast<ULONG>(n);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
        std::lock_guard guard(mutex);
        std::string& bytes = files[name_];
        bytes.replace(std::min(position_, bytes.size()), cb, static_cast<const char*>(pv), cb);
        position_ += cb;
        if (pcbWritten) *pcbWritten = cb;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* new_position) override {
        std::lock_guard guard(mutex);
        const size_t base = origin == STREAM_SEEK_SET ? 0 : origin == STREAM_SEEK_CUR ? position_ : files[name_].size();
        position_ = static_cast<size_t>(std::max<LONGLONG>(0, LONGLONG(base) + move.QuadPart));
        if (new_position) new_position->QuadPart = position_;
        return S_OK;
    }
    // Opening for writing without reading empties the file; opening for reading needs it to exist.
    HRESULT STDMETHODCALLTYPE Open(SHORT mode, BSTR name) override {
        std::lock_guard guard(mutex);
        last_mode = mode;
        name_ = name ? name : u"";
        if ((mode & (file_in | file_out)) == file_out) files[name_].clear();
        return files.count(name_) ? S_OK : static_cast<HRESULT>(0x80030002u);  // STG_E_FILENOTFOUND
    }
    HRESULT STDMETHODCALLTYPE Close() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }

    // Not needed by the buffer.
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Name(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Name(BSTR) override { return E_NOTIMPL; }

private:
    std::u16string name_;
    size_t position_ = 0;
};

}  // namespace

CLIENT_MODULE_EXPORT HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* ppv) {
    return client::GetClassObject<MemoryFile>(clsid, kMemoryFileClsid, iid, ppv);
}
CLIENT_MODULE_EXPORT SHORT ClientFileLastMode() { return last_mode; }
CLIENT_MODULE_EXPORT long ClientFileLiveObjects() { return client::live; }

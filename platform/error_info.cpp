// Error records: the platform's per-thread error information. A failing operation fills a record
// through ICreateErrorInfo and makes it current for its thread; the caller takes it through
// GetErrorInfo and reads it through IErrorInfo. The platform has no object frame of its own, so the
// record counts its references itself.
#include <scrivix/scrivix.h>

#include <atomic>
#include <mutex>
#include <new>
#include <string>

namespace {

class ErrorRecord final : public ICreateErrorInfo, public IErrorInfo {
public:
    // IUnknown, answered through ICreateErrorInfo, which is also the record's identity.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        if (ppvObject == nullptr) return E_POINTER;
        if (riid == IID_IUnknown || riid == IID_ICreateErrorInfo) {
            *ppvObject = static_cast<ICreateErrorInfo*>(this);
        } else if (riid == IID_IErrorInfo) {
            *ppvObject = static_cast<IErrorInfo*>(this);
        } else {
            *ppvObject = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    // ICreateErrorInfo. A null text counts as empty.
    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) override {
        std::lock_guard guard(mutex_);
        guid_ = rguid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) override { return Store(source_, szSource); }
    HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) override {
        return Store(description_, szDescription);
    }
    HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) override { return Store(help_file_, szHelpFile); }
    HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) override {
        std::lock_guard guard(mutex_);
        help_context_ = dwHelpContext;
        return S_OK;
    }

    // IErrorInfo. Each text comes back as a new string that the caller frees.
    HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override {
        if (pGUID == nullptr) return E_POINTER;
        std::lock_guard guard(mutex_);
        *pGUID = guid_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override { return Load(source_, pBstrSource); }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override {
        return Load(description_, pBstrDescription);
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override { return Load(help_file_, pBstrHelpFile); }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override {
        if (pdwHelpContext == nullptr) return E_POINTER;
        std::lock_guard guard(mutex_);
        *pdwHelpContext = help_context_;
        return S_OK;
    }

private:
    ~ErrorRecord() = default;

    HRESULT Store(std::u16string& field, LPCOLESTR text) {
        try {
            std::lock_guard guard(mutex_);
            field = text == nullptr ? u"" : text;
            return S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }

    HRESULT Load(const std::u16string& field, BSTR* text) {
        if (text == nullptr) return E_POINTER;
        std::lock_guard guard(mutex_);
        *text = SysAllocStringLen(field.data(), static_cast<UINT>(field.size()));
        return *text == nullptr ? E_OUTOFMEMORY : S_OK;
    }

    std::atomic<ULONG> references_{1};
    // A record may be read on one thread while another still fills it.
    std::mutex mutex_;
    GUID guid_{};
    std::u16string source_;
    std::u16string description_;
    std::u16string help_file_;
    DWORD help_context_ = 0;
};

// The current record of a thread; the thread's reference to it goes when the thread ends.
class CurrentRecord {
public:
    CurrentRecord() = default;
    CurrentRecord(const CurrentRecord&) = delete;
    CurrentRecord& operator=(const CurrentRecord&) = delete;
    // Releasing the last record may set another one (its owner reporting as it goes); that goes too.
    ~CurrentRecord() {
        while (record_ != nullptr) Replace(nullptr);
    }

    // Makes `record` current (it must carry a reference for this holder already) and drops the old one.
    // The old record is released only after the swap, since its release may set a new record in turn.
    void Replace(IErrorInfo* record) {
        IErrorInfo* const old = record_;
        record_ = record;
        if (old != nullptr) old->Release();
    }

    IErrorInfo* Take() {
        IErrorInfo* const record = record_;
        record_ = nullptr;
        return record;
    }

private:
    IErrorInfo* record_ = nullptr;
};

thread_local CurrentRecord current_record;

}  // namespace

extern "C" {

SCRIVIX_API HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
    if (pperrinfo == nullptr) return E_INVALIDARG;
    *pperrinfo = new (std::nothrow) ErrorRecord;
    return *pperrinfo == nullptr ? E_OUTOFMEMORY : S_OK;
}

SCRIVIX_API HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) {
    if (dwReserved != 0) return E_INVALIDARG;
    if (perrinfo != nullptr) perrinfo->AddRef();
    current_record.Replace(perrinfo);
    return S_OK;
}

SCRIVIX_API HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) {
    if (dwReserved != 0 || pperrinfo == nullptr) return E_INVALIDARG;
    *pperrinfo = current_record.Take();
    return *pperrinfo == nullptr ? S_FALSE : S_OK;
}

}  // extern "C"

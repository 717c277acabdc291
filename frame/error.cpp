// ReportError and the two forms of re-reporting.
#include "frame/error.h"

#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "frame/module.h"
#include "interfaces/messages.h"
#include "platform/code_page.h"
#include "platform/module_instance.h"

#include <array>
#include <string>

namespace scrivix {
namespace {

// Message texts are loaded into a buffer of this many characters; a longer text is cut to fit.
constexpr int kMessageBufferSize = 1024;

HRESULT SetRecord(REFCLSID clsid, LPCOLESTR description, DWORD help_context, LPCOLESTR help_file, REFIID iid) {
    ComPtr<ICreateErrorInfo> record;
    if (FAILED(CreateErrorInfo(record.Put()))) return S_OK;  // no record; the status is returned all the same
    record->SetGUID(iid);
    LPOLESTR prog_id = nullptr;
    if (SUCCEEDED(ProgIDFromCLSID(clsid, &prog_id)) && prog_id) {
        record->SetSource(prog_id);
        CoTaskMemFree(prog_id);
    }
    if (help_context != 0 && help_file) {
        record->SetHelpContext(help_context);
        record->SetHelpFile(const_cast<LPOLESTR>(help_file));
    }
    record->SetDescription(const_cast<LPOLESTR>(description));
    if (ComPtr<IErrorInfo> info = record.As<IErrorInfo>()) SetErrorInfo(0, info.Get());
    return S_OK;
}

}  // namespace

HRESULT ReportError(REFCLSID clsid, UINT number, DWORD help_context, LPCOLESTR help_file, REFIID iid,
                    HRESULT status) {
    std::array<OLECHAR, kMessageBufferSize> text{};
    if (platform::LoadStringW(ThisModule(), number, text.data(), kMessageBufferSize) <= 0) {
        const std::u16string_view unknown = u"Unknown Error";
        unknown.copy(text.data(), unknown.size());
    }
    if (status == 0) status = MessageStatus(number);
    SetRecord(clsid, text.data(), help_context, help_file, iid);
    return status;
}

HRESULT ReportError(REFCLSID clsid, LPCOLESTR description, DWORD help_context, LPCOLESTR help_file,
                    REFIID iid, HRESULT status) {
    SetRecord(clsid, description ? description : u"", help_context, help_file, iid);
    return status != 0 ? status : DISP_E_EXCEPTION;
}

HRESULT ReportMessage(REFCLSID clsid, REFIID iid, UINT number) {
    const MessageEntry* entry = FindMessage(number);
    return ReportError(clsid, number, entry ? entry->help_context : 0, kHelpFile, iid, 0);
}

HRESULT ReReportByNumber(REFCLSID clsid, HRESULT caught) {
    ComPtr<IErrorInfo> info;
    GetErrorInfo(0, info.Put());
    GUID iid = GUID_NULL;
    DWORD help_context = 0;
    Bstr help_file;
    if (info) {
        info->GetGUID(&iid);
        info->GetHelpContext(&help_context);
        info->GetHelpFile(help_file.Put());
    }
    return ReportError(clsid, static_cast<UINT>(caught) & 0xFFFFu, help_context, help_file.Get(), iid, 0);
}

HRESULT ReReportByText(REFCLSID clsid, REFIID iid, HRESULT caught) {
    (void)caught;
    ComPtr<IErrorInfo> info;
    GetErrorInfo(0, info.Put());
    Bstr description;
    DWORD help_context = 0;
    if (info) {
        info->GetDescription(description.Put());
        info->GetHelpContext(&help_context);
    }
    return ReportError(clsid, description.IsNull() ? u"" : description.Get(), help_context, kHelpFile, iid, 0);
}

}  // namespace scrivix

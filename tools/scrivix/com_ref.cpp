// Error records to messages, and the strings of the ownership layer.
#include "com_ref.h"

#include "text_codec.h"

#include <cstdio>

namespace scrivix_tool {

Bstr::Bstr(std::u16string_view text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (!text_ && !text.empty()) throw ToolError("out of memory");
}

std::string TakeErrorDescription() {
    IErrorInfo* raw = nullptr;
    if (GetErrorInfo(0, &raw) != S_OK || !raw) return {};
    Ref<IErrorInfo> record;
    *record.put() = raw;
    Bstr description;
    if (FAILED(record->GetDescription(description.put()))) return {};
    return Utf16ToUtf8(description.view());
}

void Check(HRESULT hr, std::string_view what) {
    if (SUCCEEDED(hr)) return;
    std::string message = TakeErrorDescription();
    if (message.empty()) {
        char status[32];
        std::snprintf(status, sizeof status, "status 0x%08X", static_cast<unsigned>(hr));
        message = status;
    }
    throw ToolError(std::string(what) + ": " + message);
}

}  // namespace scrivix_tool

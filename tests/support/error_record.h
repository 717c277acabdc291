// The calling thread's error record as plain values, for tests to compare field by field.
#pragma once

#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <string>

namespace scrivix::test {

struct ErrorRecord {
    GUID guid{};
    std::u16string source, description, help_file;
    DWORD help_context = 0;
};

// Takes the calling thread's error record (an empty record when there is none); taking it clears it.
inline ErrorRecord TakeErrorRecord() {
    ErrorRecord record;
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) != S_OK || !info) return record;
    Bstr source, description, help_file;
    info->GetGUID(&record.guid);
    info->GetSource(source.Put());
    info->GetDescription(description.Put());
    info->GetHelpFile(help_file.Put());
    info->GetHelpContext(&record.help_context);
    record.source = source.View();
    record.description = description.View();
    record.help_file = help_file.View();
    return record;
}

}  // namespace scrivix::test

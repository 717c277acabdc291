// Error reporting: a failure with a message sets the calling thread's error record (interface id, source
// ProgID, description, help file and context) and yields the status the operation returns.
#pragma once

#include <scrivix/scrivix.h>

namespace scrivix {

// Reports message `number` of the library's table. `status` 0 asks for the status derived from the
// number. A number the table lacks is described as "Unknown Error".
HRESULT ReportError(REFCLSID clsid, UINT number, DWORD help_context, LPCOLESTR help_file, REFIID iid,
                    HRESULT status);
// Reports a ready description text; the result is `status`, or DISP_E_EXCEPTION for 0.
HRESULT ReportError(REFCLSID clsid, LPCOLESTR description, DWORD help_context, LPCOLESTR help_file,
                    REFIID iid, HRESULT status);

// ReportError with the help context of the table and the library's help file.
HRESULT ReportMessage(REFCLSID clsid, REFIID iid, UINT number);

// Reports again under `clsid` a failure `caught` from another object, taking the thread's error record.
// By number: the caught status's low 16 bits as the message, the caught record's help context, help file
// and interface id. By text: the caught record's description and help context under `iid`.
HRESULT ReReportByNumber(REFCLSID clsid, HRESULT caught);
HRESULT ReReportByText(REFCLSID clsid, REFIID iid, HRESULT caught);

}  // namespace scrivix

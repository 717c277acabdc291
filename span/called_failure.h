// How the span classes pass on the failure of an object they called (a pattern, a pattern iterator, a
// span, the source segment): a failure that carries a message of the library's table is reported again
// under the caller's own class, by its number, so that the status stays what it was and the record names
// the caller; a failure that was re-reported with a text (DISP_E_EXCEPTION) is passed on by its text.
// Plain platform statuses (E_POINTER, E_OUTOFMEMORY, a class that is not registered, ...) carry no
// message and are returned as they came.
#pragma once

#include "frame/object.h"
#include "interfaces/messages.h"

namespace scrivix {

inline HRESULT PassOnFailure(const ObjectRoot& caller, HRESULT caught) {
    if (caught == DISP_E_EXCEPTION) return caller.ReReportByText(caught);
    const UINT number = static_cast<UINT>(caught) & 0xFFFFu;
    if (caught == MessageStatus(number) && FindMessage(number)) return caller.ReReportByNumber(caught);
    return caught;
}

}  // namespace scrivix

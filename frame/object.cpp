// The parts of the object frame that are the same for every class.
#include "frame/object.h"

#include "frame/error.h"
#include "frame/module.h"

namespace scrivix {

HRESULT ObjectRoot::InnerUnknown::QueryInterface(REFIID iid, void** ppv) {
    if (!ppv) return E_POINTER;
    if (iid == IID_IUnknown) {
        *ppv = static_cast<IUnknown*>(this);
        AddRef();
        return S_OK;
    }
    return owner_.InternalQueryInterface(iid, ppv);
}

HRESULT ObjectRoot::Report(UINT number) const {
    return ReportMessage(ClassIdOfObject(), MainInterfaceId(), number);
}

HRESULT ObjectRoot::ReReportByNumber(HRESULT caught) const {
    return scrivix::ReReportByNumber(ClassIdOfObject(), caught);
}

HRESULT ObjectRoot::ReReportByText(HRESULT caught) const {
    return scrivix::ReReportByText(ClassIdOfObject(), MainInterfaceId(), caught);
}

}  // namespace scrivix

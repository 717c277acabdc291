// The interface ids of the platform's own interfaces, with the values they have on Windows, so that
// components and clients written for that platform find the same interfaces under the same ids.
#include <scrivix/scrivix.h>

namespace {

// The core interfaces of the object model share one pattern: {xxxxxxxx-0000-0000-C000-000000000046}.
constexpr GUID CoreInterface(uint32_t data1) { return {data1, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}; }

}  // namespace

extern "C" {

SCRIVIX_API extern const GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};

SCRIVIX_API extern const IID IID_IUnknown = CoreInterface(0x00000000);
SCRIVIX_API extern const IID IID_IClassFactory = CoreInterface(0x00000001);
SCRIVIX_API extern const IID IID_IStream = CoreInterface(0x0000000C);
SCRIVIX_API extern const IID IID_IDispatch = CoreInterface(0x00020400);
SCRIVIX_API extern const IID IID_ITypeInfo = CoreInterface(0x00020401);
SCRIVIX_API extern const IID IID_ITypeLib = CoreInterface(0x00020402);
SCRIVIX_API extern const IID IID_ISupportErrorInfo =
    {0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
SCRIVIX_API extern const IID IID_IErrorInfo =
    {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
SCRIVIX_API extern const IID IID_ICreateErrorInfo =
    {0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
SCRIVIX_API extern const IID IID_IProvideClassInfo =
    {0xB196B283, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IConnectionPointContainer =
    {0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IEnumConnectionPoints =
    {0xB196B285, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IConnectionPoint =
    {0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IEnumConnections =
    {0xB196B287, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IProvideClassInfo2 =
    {0xA6BC3AC0, 0xDBAA, 0x11CE, {0x9D, 0xE3, 0x00, 0xAA, 0x00, 0x4B, 0xB8, 0x51}};
SCRIVIX_API extern const IID IID_ISequentialStream =
    {0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};

// Controls and their containers.
SCRIVIX_API extern const IID IID_IPersist = CoreInterface(0x0000010C);
SCRIVIX_API extern const IID IID_IViewObject = CoreInterface(0x0000010D);
SCRIVIX_API extern const IID IID_IDataObject = CoreInterface(0x0000010E);
SCRIVIX_API extern const IID IID_IAdviseSink = CoreInterface(0x0000010F);
SCRIVIX_API extern const IID IID_IOleObject = CoreInterface(0x00000112);
SCRIVIX_API extern const IID IID_IOleInPlaceObject = CoreInterface(0x00000113);
SCRIVIX_API extern const IID IID_IOleWindow = CoreInterface(0x00000114);
SCRIVIX_API extern const IID IID_IOleInPlaceUIWindow = CoreInterface(0x00000115);
SCRIVIX_API extern const IID IID_IOleInPlaceFrame = CoreInterface(0x00000116);
SCRIVIX_API extern const IID IID_IOleInPlaceActiveObject = CoreInterface(0x00000117);
SCRIVIX_API extern const IID IID_IOleClientSite = CoreInterface(0x00000118);
SCRIVIX_API extern const IID IID_IOleInPlaceSite = CoreInterface(0x00000119);
SCRIVIX_API extern const IID IID_IViewObject2 = CoreInterface(0x00000127);
SCRIVIX_API extern const IID IID_IOleControl =
    {0xB196B288, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IOleControlSite =
    {0xB196B289, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
SCRIVIX_API extern const IID IID_IOleInPlaceObjectWindowless =
    {0x1C2056CC, 0x5EF4, 0x101B, {0x8B, 0xC8, 0x00, 0xAA, 0x00, 0x3E, 0x3B, 0x29}};
SCRIVIX_API extern const IID IID_IAdviseSinkEx =
    {0x3AF24290, 0x0C96, 0x11CE, {0xA0, 0xCF, 0x00, 0xAA, 0x00, 0x60, 0x0A, 0xB8}};
SCRIVIX_API extern const IID IID_IViewObjectEx =
    {0x3AF24292, 0x0C96, 0x11CE, {0xA0, 0xCF, 0x00, 0xAA, 0x00, 0x60, 0x0A, 0xB8}};
SCRIVIX_API extern const IID IID_IPersistStreamInit =
    {0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};
SCRIVIX_API extern const IID IID_IQuickActivate =
    {0xCF51ED10, 0x62FE, 0x11CF, {0xBF, 0x86, 0x00, 0xA0, 0xC9, 0x03, 0x48, 0x36}};

}  // extern "C"

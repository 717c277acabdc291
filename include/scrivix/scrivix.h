// Scrivix: in-process text-processing components.
//
// The one header a client needs: the component platform's types and functions (under their Win32 names),
// every interface of the library in slot order, the GUID symbols, the enumerations of the type library
// and the module's entry points. It compiles as C++17 and includes only the standard library.
//
// Interfaces are declared from method lists (SCRIVIX_INTERFACE) so that the number of slots of each
// vtable is counted by the compiler and pinned by a static_assert next to the declaration.
#ifndef SCRIVIX_SCRIVIX_H
#define SCRIVIX_SCRIVIX_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(SCRIVIX_BUILDING_LIBRARY)
#define SCRIVIX_API __attribute__((visibility("default")))
#else
#define SCRIVIX_API
#endif

// ---------------------------------------------------------------------------------------------------------
// Fixed-width platform types (x86-64 Linux).

typedef int32_t HRESULT;
typedef int32_t SCODE;
typedef int32_t LONG;
typedef int32_t DISPID;
typedef int32_t MEMBERID;
typedef int32_t BOOL;
typedef int32_t INT;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint32_t LCID;
typedef uint32_t UINT;
typedef uint32_t REGSAM;
typedef uint32_t HREFTYPE;
typedef int16_t SHORT;
typedef int16_t VARIANT_BOOL;
typedef uint16_t WORD;
typedef uint16_t VARTYPE;
typedef uint16_t USHORT;
typedef uint8_t BYTE;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef float FLOAT;
typedef double DOUBLE;
typedef double DATE;
typedef size_t SIZE_T;
typedef char16_t WCHAR;
typedef char16_t OLECHAR;
typedef OLECHAR* BSTR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef void* LPVOID;
typedef void* PVOID;
typedef DWORD* LPDWORD;
typedef BYTE* LPBYTE;

static_assert(sizeof(OLECHAR) == 2, "OLECHAR is a 16-bit unit");
static_assert(sizeof(LONG) == 4, "LONG is 32 bits");
static_assert(sizeof(SHORT) == 2, "SHORT is 16 bits");

constexpr VARIANT_BOOL VARIANT_TRUE = -1;
constexpr VARIANT_BOOL VARIANT_FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
typedef CLSID* LPCLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
static_assert(sizeof(GUID) == 16, "GUID is 16 bytes");

// Compared as 16 bytes, which the compiler turns into two word compares.
inline bool operator==(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }

union LARGE_INTEGER {
    struct { DWORD LowPart; LONG HighPart; } u;
    LONGLONG QuadPart;
};
union ULARGE_INTEGER {
    struct { DWORD LowPart; DWORD HighPart; } u;
    ULONGLONG QuadPart;
};
struct FILETIME { DWORD dwLowDateTime; DWORD dwHighDateTime; };
typedef FILETIME* PFILETIME;
struct SECURITY_ATTRIBUTES { DWORD nLength; LPVOID lpSecurityDescriptor; BOOL bInheritHandle; };
typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef struct HINSTANCE__* HINSTANCE;

// ---------------------------------------------------------------------------------------------------------
// Status codes.

#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#define E_FAIL static_cast<HRESULT>(0x80004005u)

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004u);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
constexpr HRESULT E_HANDLE = static_cast<HRESULT>(0x80070006u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111u);
constexpr HRESULT REGDB_E_READREGDB = static_cast<HRESULT>(0x80040150u);
constexpr HRESULT REGDB_E_WRITEREGDB = static_cast<HRESULT>(0x80040151u);
constexpr HRESULT REGDB_E_KEYMISSING = static_cast<HRESULT>(0x80040152u);
constexpr HRESULT REGDB_E_INVALIDVALUE = static_cast<HRESULT>(0x80040153u);
constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);
constexpr HRESULT REGDB_E_IIDNOTREG = static_cast<HRESULT>(0x80040155u);
constexpr HRESULT OLE_E_NOTRUNNING = static_cast<HRESULT>(0x80040005u);
constexpr HRESULT DATA_E_FORMATETC = static_cast<HRESULT>(0x80040064u);
constexpr HRESULT OLEOBJ_S_CANNOT_DOVERB_NOW = static_cast<HRESULT>(0x00040181u);
constexpr HRESULT CO_E_CLASSSTRING = static_cast<HRESULT>(0x800401F3u);
constexpr HRESULT CO_E_DLLNOTFOUND = static_cast<HRESULT>(0x800401F8u);
constexpr HRESULT CO_E_ERRORINDLL = static_cast<HRESULT>(0x800401F9u);
constexpr HRESULT CONNECT_E_NOCONNECTION = static_cast<HRESULT>(0x80040200u);
constexpr HRESULT CONNECT_E_ADVISELIMIT = static_cast<HRESULT>(0x80040201u);
constexpr HRESULT CONNECT_E_CANNOTCONNECT = static_cast<HRESULT>(0x80040202u);
constexpr HRESULT DISP_E_UNKNOWNINTERFACE = static_cast<HRESULT>(0x80020001u);
constexpr HRESULT DISP_E_MEMBERNOTFOUND = static_cast<HRESULT>(0x80020003u);
constexpr HRESULT DISP_E_PARAMNOTFOUND = static_cast<HRESULT>(0x80020004u);
constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005u);
constexpr HRESULT DISP_E_UNKNOWNNAME = static_cast<HRESULT>(0x80020006u);
constexpr HRESULT DISP_E_NONAMEDARGS = static_cast<HRESULT>(0x80020007u);
constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008u);
constexpr HRESULT DISP_E_EXCEPTION = static_cast<HRESULT>(0x80020009u);
constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000Au);
constexpr HRESULT DISP_E_BADINDEX = static_cast<HRESULT>(0x8002000Bu);
constexpr HRESULT DISP_E_UNKNOWNLCID = static_cast<HRESULT>(0x8002000Cu);
constexpr HRESULT DISP_E_BADPARAMCOUNT = static_cast<HRESULT>(0x8002000Eu);
constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = static_cast<HRESULT>(0x8002000Fu);
constexpr HRESULT TYPE_E_REGISTRYACCESS = static_cast<HRESULT>(0x8002801Cu);
constexpr HRESULT TYPE_E_LIBNOTREGISTERED = static_cast<HRESULT>(0x8002801Du);
constexpr HRESULT TYPE_E_ELEMENTNOTFOUND = static_cast<HRESULT>(0x8002802Bu);
constexpr HRESULT TYPE_E_INVALIDSTATE = static_cast<HRESULT>(0x80028029u);
constexpr HRESULT TYPE_E_CANTLOADLIBRARY = static_cast<HRESULT>(0x80029C4Au);
constexpr HRESULT STG_E_INVALIDFUNCTION = static_cast<HRESULT>(0x80030001u);
constexpr HRESULT STG_E_FILENOTFOUND = static_cast<HRESULT>(0x80030002u);
constexpr HRESULT STG_E_ACCESSDENIED = static_cast<HRESULT>(0x80030005u);
constexpr HRESULT STG_E_INVALIDPOINTER = static_cast<HRESULT>(0x80030009u);
constexpr HRESULT STG_E_WRITEFAULT = static_cast<HRESULT>(0x8003001Du);
constexpr HRESULT STG_E_READFAULT = static_cast<HRESULT>(0x8003001Eu);
constexpr HRESULT STG_E_INVALIDPARAMETER = static_cast<HRESULT>(0x80030057u);
constexpr HRESULT STG_E_MEDIUMFULL = static_cast<HRESULT>(0x80030070u);

// Win32 error codes returned by the registry functions.
constexpr LONG ERROR_SUCCESS = 0;
constexpr LONG ERROR_FILE_NOT_FOUND = 2;
constexpr LONG ERROR_ACCESS_DENIED = 5;
constexpr LONG ERROR_INVALID_HANDLE = 6;
constexpr LONG ERROR_OUTOFMEMORY = 14;
constexpr LONG ERROR_INVALID_PARAMETER = 87;
constexpr LONG ERROR_MORE_DATA = 234;
constexpr LONG ERROR_NO_MORE_ITEMS = 259;

// ---------------------------------------------------------------------------------------------------------
// Constants of creation, automation and the registry.

enum CLSCTX : DWORD {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10,
    CLSCTX_INPROC = 0x3,
    CLSCTX_SERVER = 0x15,
    CLSCTX_ALL = 0x17,
};
enum COINIT : DWORD {
    COINIT_MULTITHREADED = 0x0,
    COINIT_APARTMENTTHREADED = 0x2,
};

enum VARENUM : VARTYPE {
    VT_EMPTY = 0, VT_NULL = 1, VT_I2 = 2, VT_I4 = 3, VT_R4 = 4, VT_R8 = 5, VT_CY = 6, VT_DATE = 7,
    VT_BSTR = 8, VT_DISPATCH = 9, VT_ERROR = 10, VT_BOOL = 11, VT_VARIANT = 12, VT_UNKNOWN = 13,
    VT_DECIMAL = 14, VT_I1 = 16, VT_UI1 = 17, VT_UI2 = 18, VT_UI4 = 19, VT_I8 = 20, VT_UI8 = 21,
    VT_INT = 22, VT_UINT = 23, VT_VOID = 24, VT_HRESULT = 25, VT_PTR = 26, VT_SAFEARRAY = 27,
    VT_CARRAY = 28, VT_USERDEFINED = 29, VT_LPSTR = 30, VT_LPWSTR = 31,
    VT_ARRAY = 0x2000, VT_BYREF = 0x4000, VT_TYPEMASK = 0xFFF,
};

constexpr WORD DISPATCH_METHOD = 0x1;
constexpr WORD DISPATCH_PROPERTYGET = 0x2;
constexpr WORD DISPATCH_PROPERTYPUT = 0x4;
constexpr WORD DISPATCH_PROPERTYPUTREF = 0x8;
constexpr DISPID DISPID_UNKNOWN = -1;
constexpr DISPID DISPID_VALUE = 0;
constexpr DISPID DISPID_PROPERTYPUT = -3;
constexpr DISPID DISPID_NEWENUM = -4;
constexpr USHORT VARIANT_NOVALUEPROP = 0x1;
constexpr USHORT VARIANT_ALPHABOOL = 0x2;

constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;
constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
// The predefined root key; the only hive of this platform.
inline HKEY const HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(static_cast<intptr_t>(static_cast<LONG>(0x80000000u)));

// ---------------------------------------------------------------------------------------------------------
// Interface declaration helpers.

#define STDMETHODCALLTYPE
#define SCRIVIX_DECLARE_METHOD(ret, name, params) virtual ret STDMETHODCALLTYPE name params = 0;
#define SCRIVIX_COUNT_METHOD(ret, name, params) +1
// Declares interface NAME deriving from BASE with the methods of METHODS(M) appended, in order, after the
// slots of BASE; NAME::slot_count is the total number of vtable slots.
#define SCRIVIX_INTERFACE(NAME, BASE, METHODS) \
    struct NAME : BASE { \
        METHODS(SCRIVIX_DECLARE_METHOD) \
        static constexpr int slot_count = BASE::slot_count METHODS(SCRIVIX_COUNT_METHOD); \
    };

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
    static constexpr int slot_count = 3;
};
typedef IUnknown* LPUNKNOWN;

struct IDispatch;
struct ITypeInfo;
struct ITypeLib;
struct ITypeComp;
struct IStream;
struct IConnectionPoint;
struct IConnectionPointContainer;

// ---------------------------------------------------------------------------------------------------------
// Automation data.

struct DECIMAL {
    WORD wReserved;
    BYTE scale;
    BYTE sign;
    ULONG Hi32;
    ULONGLONG Lo64;
};
union CY {
    struct { ULONG Lo; LONG Hi; } u;
    LONGLONG int64;
};

struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        VARIANT* pvarVal;
        PVOID byref;
        char cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        struct { PVOID pvRecord; PVOID pRecInfo; } brecVal;
    };
};
typedef VARIANT VARIANTARG;
static_assert(sizeof(VARIANT) == 24, "VARIANT is 24 bytes");
static_assert(offsetof(VARIANT, lVal) == 8, "the value of a VARIANT starts at offset 8");

struct DISPPARAMS {
    VARIANTARG* rgvarg;          // arguments, last first
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};

struct CONNECTDATA {
    IUnknown* pUnk;
    DWORD dwCookie;
};

enum STREAM_SEEK : DWORD { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 };
enum STGTY : DWORD { STGTY_STORAGE = 1, STGTY_STREAM = 2, STGTY_LOCKBYTES = 3, STGTY_PROPERTY = 4 };
enum STATFLAG : DWORD { STATFLAG_DEFAULT = 0, STATFLAG_NONAME = 1, STATFLAG_NOOPEN = 2 };
struct STATSTG {
    LPOLESTR pwcsName;
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
};

// Type descriptions served by ITypeLib and ITypeInfo (the 64-bit layouts of the platform).
enum SYSKIND { SYS_WIN16 = 0, SYS_WIN32 = 1, SYS_MAC = 2, SYS_WIN64 = 3 };
enum TYPEKIND {
    TKIND_ENUM = 0, TKIND_RECORD = 1, TKIND_MODULE = 2, TKIND_INTERFACE = 3, TKIND_DISPATCH = 4,
    TKIND_COCLASS = 5, TKIND_ALIAS = 6, TKIND_UNION = 7, TKIND_MAX = 8,
};
enum FUNCKIND { FUNC_VIRTUAL = 0, FUNC_PUREVIRTUAL = 1, FUNC_NONVIRTUAL = 2, FUNC_STATIC = 3, FUNC_DISPATCH = 4 };
enum INVOKEKIND {
    INVOKE_FUNC = 1, INVOKE_PROPERTYGET = 2, INVOKE_PROPERTYPUT = 4, INVOKE_PROPERTYPUTREF = 8,
};
enum CALLCONV { CC_FASTCALL = 0, CC_CDECL = 1, CC_STDCALL = 4 };
enum VARKIND { VAR_PERINSTANCE = 0, VAR_STATIC = 1, VAR_CONST = 2, VAR_DISPATCH = 3 };
enum LIBFLAGS { LIBFLAG_FRESTRICTED = 0x1, LIBFLAG_FCONTROL = 0x2, LIBFLAG_FHIDDEN = 0x4, LIBFLAG_FHASDISKIMAGE = 0x8 };
enum TYPEFLAGS {
    TYPEFLAG_FAPPOBJECT = 0x1, TYPEFLAG_FCANCREATE = 0x2, TYPEFLAG_FLICENSED = 0x4,
    TYPEFLAG_FPREDECLID = 0x8, TYPEFLAG_FHIDDEN = 0x10, TYPEFLAG_FCONTROL = 0x20,
    TYPEFLAG_FDUAL = 0x40, TYPEFLAG_FNONEXTENSIBLE = 0x80, TYPEFLAG_FOLEAUTOMATION = 0x100,
    TYPEFLAG_FRESTRICTED = 0x200, TYPEFLAG_FAGGREGATABLE = 0x400, TYPEFLAG_FDISPATCHABLE = 0x1000,
};
enum IMPLTYPEFLAGS { IMPLTYPEFLAG_FDEFAULT = 0x1, IMPLTYPEFLAG_FSOURCE = 0x2, IMPLTYPEFLAG_FRESTRICTED = 0x4 };
constexpr USHORT PARAMFLAG_NONE = 0x0;
constexpr USHORT PARAMFLAG_FIN = 0x1;
constexpr USHORT PARAMFLAG_FOUT = 0x2;
constexpr USHORT PARAMFLAG_FLCID = 0x4;
constexpr USHORT PARAMFLAG_FRETVAL = 0x8;
constexpr USHORT PARAMFLAG_FOPT = 0x10;
constexpr USHORT PARAMFLAG_FHASDEFAULT = 0x20;
constexpr MEMBERID MEMBERID_NIL = -1;

struct TYPEDESC;
struct SAFEARRAYBOUND { ULONG cElements; LONG lLbound; };
struct ARRAYDESC;
struct TYPEDESC {
    union {
        TYPEDESC* lptdesc;
        ARRAYDESC* lpadesc;
        HREFTYPE hreftype;
    };
    VARTYPE vt;
};
struct ARRAYDESC {
    TYPEDESC tdescElem;
    USHORT cDims;
    SAFEARRAYBOUND rgbounds[1];
};
struct PARAMDESCEX {
    ULONG cBytes;
    VARIANTARG varDefaultValue;
};
struct PARAMDESC {
    PARAMDESCEX* pparamdescex;
    USHORT wParamFlags;
};
struct IDLDESC {
    uintptr_t dwReserved;
    USHORT wIDLFlags;
};
struct ELEMDESC {
    TYPEDESC tdesc;
    union {
        IDLDESC idldesc;
        PARAMDESC paramdesc;
    };
};
struct FUNCDESC {
    MEMBERID memid;
    SCODE* lprgscode;
    ELEMDESC* lprgelemdescParam;
    FUNCKIND funckind;
    INVOKEKIND invkind;
    CALLCONV callconv;
    SHORT cParams;
    SHORT cParamsOpt;
    SHORT oVft;
    SHORT cScodes;
    ELEMDESC elemdescFunc;
    WORD wFuncFlags;
};
struct VARDESC {
    MEMBERID memid;
    LPOLESTR lpstrSchema;
    union {
        ULONG oInst;
        VARIANT* lpvarValue;
    };
    ELEMDESC elemdescVar;
    WORD wVarFlags;
    VARKIND varkind;
};
struct TYPEATTR {
    GUID guid;
    LCID lcid;
    DWORD dwReserved;
    MEMBERID memidConstructor;
    MEMBERID memidDestructor;
    LPOLESTR lpstrSchema;
    ULONG cbSizeInstance;
    TYPEKIND typekind;
    WORD cFuncs;
    WORD cVars;
    WORD cImplTypes;
    WORD cbSizeVft;
    WORD cbAlignment;
    WORD wTypeFlags;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    TYPEDESC tdescAlias;
    IDLDESC idldescType;
};
struct TLIBATTR {
    GUID guid;
    LCID lcid;
    SYSKIND syskind;
    WORD wMajorVerNum;
    WORD wMinorVerNum;
    WORD wLibFlags;
};

// ---------------------------------------------------------------------------------------------------------
// Platform interfaces, with the platform's method orders.

#define SCRIVIX_IDispatch_METHODS(M) \
    M(HRESULT, GetTypeInfoCount, (UINT* pctinfo)) \
    M(HRESULT, GetTypeInfo, (UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo)) \
    M(HRESULT, GetIDsOfNames, (REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId)) \
    M(HRESULT, Invoke, (DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams, \
                        VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr))
SCRIVIX_INTERFACE(IDispatch, IUnknown, SCRIVIX_IDispatch_METHODS)

#define SCRIVIX_IClassFactory_METHODS(M) \
    M(HRESULT, CreateInstance, (IUnknown* pUnkOuter, REFIID riid, void** ppvObject)) \
    M(HRESULT, LockServer, (BOOL fLock))
SCRIVIX_INTERFACE(IClassFactory, IUnknown, SCRIVIX_IClassFactory_METHODS)

#define SCRIVIX_ISupportErrorInfo_METHODS(M) \
    M(HRESULT, InterfaceSupportsErrorInfo, (REFIID riid))
SCRIVIX_INTERFACE(ISupportErrorInfo, IUnknown, SCRIVIX_ISupportErrorInfo_METHODS)

#define SCRIVIX_IErrorInfo_METHODS(M) \
    M(HRESULT, GetGUID, (GUID* pGUID)) \
    M(HRESULT, GetSource, (BSTR* pBstrSource)) \
    M(HRESULT, GetDescription, (BSTR* pBstrDescription)) \
    M(HRESULT, GetHelpFile, (BSTR* pBstrHelpFile)) \
    M(HRESULT, GetHelpContext, (DWORD* pdwHelpContext))
SCRIVIX_INTERFACE(IErrorInfo, IUnknown, SCRIVIX_IErrorInfo_METHODS)

#define SCRIVIX_ICreateErrorInfo_METHODS(M) \
    M(HRESULT, SetGUID, (REFGUID rguid)) \
    M(HRESULT, SetSource, (LPOLESTR szSource)) \
    M(HRESULT, SetDescription, (LPOLESTR szDescription)) \
    M(HRESULT, SetHelpFile, (LPOLESTR szHelpFile)) \
    M(HRESULT, SetHelpContext, (DWORD dwHelpContext))
SCRIVIX_INTERFACE(ICreateErrorInfo, IUnknown, SCRIVIX_ICreateErrorInfo_METHODS)

#define SCRIVIX_IEnumConnections_METHODS(M) \
    M(HRESULT, Next, (ULONG cConnections, CONNECTDATA* rgcd, ULONG* pcFetched)) \
    M(HRESULT, Skip, (ULONG cConnections)) \
    M(HRESULT, Reset, ()) \
    M(HRESULT, Clone, (struct IEnumConnections** ppEnum))
SCRIVIX_INTERFACE(IEnumConnections, IUnknown, SCRIVIX_IEnumConnections_METHODS)

#define SCRIVIX_IConnectionPoint_METHODS(M) \
    M(HRESULT, GetConnectionInterface, (IID* pIID)) \
    M(HRESULT, GetConnectionPointContainer, (IConnectionPointContainer** ppCPC)) \
    M(HRESULT, Advise, (IUnknown* pUnkSink, DWORD* pdwCookie)) \
    M(HRESULT, Unadvise, (DWORD dwCookie)) \
    M(HRESULT, EnumConnections, (IEnumConnections** ppEnum))
SCRIVIX_INTERFACE(IConnectionPoint, IUnknown, SCRIVIX_IConnectionPoint_METHODS)

#define SCRIVIX_IEnumConnectionPoints_METHODS(M) \
    M(HRESULT, Next, (ULONG cConnections, IConnectionPoint** ppCP, ULONG* pcFetched)) \
    M(HRESULT, Skip, (ULONG cConnections)) \
    M(HRESULT, Reset, ()) \
    M(HRESULT, Clone, (struct IEnumConnectionPoints** ppEnum))
SCRIVIX_INTERFACE(IEnumConnectionPoints, IUnknown, SCRIVIX_IEnumConnectionPoints_METHODS)

#define SCRIVIX_IConnectionPointContainer_METHODS(M) \
    M(HRESULT, EnumConnectionPoints, (IEnumConnectionPoints** ppEnum)) \
    M(HRESULT, FindConnectionPoint, (REFIID riid, IConnectionPoint** ppCP))
SCRIVIX_INTERFACE(IConnectionPointContainer, IUnknown, SCRIVIX_IConnectionPointContainer_METHODS)

#define SCRIVIX_IProvideClassInfo_METHODS(M) \
    M(HRESULT, GetClassInfo, (ITypeInfo** ppTI))
SCRIVIX_INTERFACE(IProvideClassInfo, IUnknown, SCRIVIX_IProvideClassInfo_METHODS)

constexpr DWORD GUIDKIND_DEFAULT_SOURCE_DISP_IID = 1;
#define SCRIVIX_IProvideClassInfo2_METHODS(M) \
    M(HRESULT, GetGUID, (DWORD dwGuidKind, GUID* pGUID))
SCRIVIX_INTERFACE(IProvideClassInfo2, IProvideClassInfo, SCRIVIX_IProvideClassInfo2_METHODS)

#define SCRIVIX_ISequentialStream_METHODS(M) \
    M(HRESULT, Read, (void* pv, ULONG cb, ULONG* pcbRead)) \
    M(HRESULT, Write, (const void* pv, ULONG cb, ULONG* pcbWritten))
SCRIVIX_INTERFACE(ISequentialStream, IUnknown, SCRIVIX_ISequentialStream_METHODS)

#define SCRIVIX_IStream_METHODS(M) \
    M(HRESULT, Seek, (LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition)) \
    M(HRESULT, SetSize, (ULARGE_INTEGER libNewSize)) \
    M(HRESULT, CopyTo, (IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten)) \
    M(HRESULT, Commit, (DWORD grfCommitFlags)) \
    M(HRESULT, Revert, ()) \
    M(HRESULT, LockRegion, (ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType)) \
    M(HRESULT, UnlockRegion, (ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType)) \
    M(HRESULT, Stat, (STATSTG* pstatstg, DWORD grfStatFlag)) \
    M(HRESULT, Clone, (IStream** ppstm))
SCRIVIX_INTERFACE(IStream, ISequentialStream, SCRIVIX_IStream_METHODS)

#define SCRIVIX_ITypeInfo_METHODS(M) \
    M(HRESULT, GetTypeAttr, (TYPEATTR** ppTypeAttr)) \
    M(HRESULT, GetTypeComp, (ITypeComp** ppTComp)) \
    M(HRESULT, GetFuncDesc, (UINT index, FUNCDESC** ppFuncDesc)) \
    M(HRESULT, GetVarDesc, (UINT index, VARDESC** ppVarDesc)) \
    M(HRESULT, GetNames, (MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames)) \
    M(HRESULT, GetRefTypeOfImplType, (UINT index, HREFTYPE* pRefType)) \
    M(HRESULT, GetImplTypeFlags, (UINT index, INT* pImplTypeFlags)) \
    M(HRESULT, GetIDsOfNames, (LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId)) \
    M(HRESULT, Invoke, (PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams, \
                        VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr)) \
    M(HRESULT, GetDocumentation, (MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString, \
                                  DWORD* pdwHelpContext, BSTR* pBstrHelpFile)) \
    M(HRESULT, GetDllEntry, (MEMBERID memid, INVOKEKIND invKind, BSTR* pBstrDllName, BSTR* pBstrName, \
                             WORD* pwOrdinal)) \
    M(HRESULT, GetRefTypeInfo, (HREFTYPE hRefType, ITypeInfo** ppTInfo)) \
    M(HRESULT, AddressOfMember, (MEMBERID memid, INVOKEKIND invKind, PVOID* ppv)) \
    M(HRESULT, CreateInstance, (IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj)) \
    M(HRESULT, GetMops, (MEMBERID memid, BSTR* pBstrMops)) \
    M(HRESULT, GetContainingTypeLib, (ITypeLib** ppTLib, UINT* pIndex)) \
    M(void, ReleaseTypeAttr, (TYPEATTR* pTypeAttr)) \
    M(void, ReleaseFuncDesc, (FUNCDESC* pFuncDesc)) \
    M(void, ReleaseVarDesc, (VARDESC* pVarDesc))
SCRIVIX_INTERFACE(ITypeInfo, IUnknown, SCRIVIX_ITypeInfo_METHODS)

#define SCRIVIX_ITypeLib_METHODS(M) \
    M(UINT, GetTypeInfoCount, ()) \
    M(HRESULT, GetTypeInfo, (UINT index, ITypeInfo** ppTInfo)) \
    M(HRESULT, GetTypeInfoType, (UINT index, TYPEKIND* pTKind)) \
    M(HRESULT, GetTypeInfoOfGuid, (REFGUID guid, ITypeInfo** ppTinfo)) \
    M(HRESULT, GetLibAttr, (TLIBATTR** ppTLibAttr)) \
    M(HRESULT, GetTypeComp, (ITypeComp** ppTComp)) \
    M(HRESULT, GetDocumentation, (INT index, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext, \
                                  BSTR* pBstrHelpFile)) \
    M(HRESULT, IsName, (LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName)) \
    M(HRESULT, FindName, (LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo** ppTInfo, MEMBERID* rgMemId, \
                          USHORT* pcFound)) \
    M(void, ReleaseTLibAttr, (TLIBATTR* pTLibAttr))
SCRIVIX_INTERFACE(ITypeLib, IUnknown, SCRIVIX_ITypeLib_METHODS)

// ---------------------------------------------------------------------------------------------------------
// Control data: windows, drawing surfaces and data transfer, as the OLE control interfaces take them.

typedef uintptr_t ULONG_PTR;
typedef uintptr_t WPARAM;
typedef intptr_t LPARAM;
typedef intptr_t LRESULT;
typedef WORD CLIPFORMAT;
typedef DWORD OLE_COLOR;
typedef struct HWND__* HWND;
typedef struct HDC__* HDC;
typedef struct HMENU__* HMENU;
typedef struct HACCEL__* HACCEL;
typedef struct HPALETTE__* HPALETTE;
typedef struct HBITMAP__* HBITMAP;
typedef struct HMETAFILE__* HMETAFILE;
typedef struct HENHMETAFILE__* HENHMETAFILE;
typedef void* HGLOBAL;
typedef HGLOBAL HMETAFILEPICT;
typedef HGLOBAL HOLEMENU;

struct POINT { LONG x; LONG y; };
struct POINTL { LONG x; LONG y; };
struct POINTF { FLOAT x; FLOAT y; };
struct SIZE { LONG cx; LONG cy; };
typedef SIZE SIZEL;
typedef SIZEL* LPSIZEL;
struct RECT { LONG left; LONG top; LONG right; LONG bottom; };
typedef RECT* LPRECT;
typedef const RECT* LPCRECT;
struct RECTL { LONG left; LONG top; LONG right; LONG bottom; };
typedef RECTL* LPRECTL;
typedef const RECTL* LPCRECTL;
typedef RECT BORDERWIDTHS;
typedef BORDERWIDTHS* LPBORDERWIDTHS;
typedef const BORDERWIDTHS* LPCBORDERWIDTHS;

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
};
typedef MSG* LPMSG;

struct PALETTEENTRY { BYTE peRed; BYTE peGreen; BYTE peBlue; BYTE peFlags; };
struct LOGPALETTE {
    WORD palVersion;
    WORD palNumEntries;
    PALETTEENTRY palPalEntry[1];
};

// A device description: the offsets locate zero-terminated names and the device mode inside tdData.
struct DVTARGETDEVICE {
    DWORD tdSize;
    WORD tdDriverNameOffset;
    WORD tdDeviceNameOffset;
    WORD tdPortNameOffset;
    WORD tdExtDevmodeOffset;
    BYTE tdData[1];
};

struct FORMATETC {
    CLIPFORMAT cfFormat;
    DVTARGETDEVICE* ptd;
    DWORD dwAspect;
    LONG lindex;
    DWORD tymed;
};

struct METAFILEPICT {
    LONG mm;
    LONG xExt;
    LONG yExt;
    HMETAFILE hMF;
};

struct IStorage;
struct STGMEDIUM {
    DWORD tymed;
    union {
        HBITMAP hBitmap;
        HMETAFILEPICT hMetaFilePict;
        HENHMETAFILE hEnhMetaFile;
        HGLOBAL hGlobal;
        LPOLESTR lpszFileName;
        IStream* pstm;
        IStorage* pstg;
    };
    IUnknown* pUnkForRelease;
};

struct CONTROLINFO {
    ULONG cb;
    HACCEL hAccel;
    USHORT cAccel;
    DWORD dwFlags;
};

struct OLEINPLACEFRAMEINFO {
    UINT cb;
    BOOL fMDIApp;
    HWND hwndFrame;
    HACCEL haccel;
    UINT cAccelEntries;
};
typedef OLEINPLACEFRAMEINFO* LPOLEINPLACEFRAMEINFO;

struct OLEMENUGROUPWIDTHS { LONG width[6]; };
typedef OLEMENUGROUPWIDTHS* LPOLEMENUGROUPWIDTHS;

struct DVEXTENTINFO {
    ULONG cb;
    DWORD dwExtentMode;
    SIZEL sizelProposed;
};

// Interfaces a control only passes along or hands to the container; the library implements none of them.
struct IMoniker;
struct IOleContainer;
struct IEnumOLEVERB;
struct IEnumSTATDATA;
struct IEnumFORMATETC;
struct IDropTarget;
struct IPropertyNotifySink;
struct IFont;
struct IOleUndoManager;
struct IBindHost;
struct IServiceProvider;

struct IOleClientSite;
struct IAdviseSinkEx;
struct IOleControlSite;

// What a container tells a control in one call instead of many (IQuickActivate).
struct QACONTAINER {
    ULONG cbSize;
    IOleClientSite* pClientSite;
    IAdviseSinkEx* pAdviseSink;
    IPropertyNotifySink* pPropertyNotifySink;
    IUnknown* pUnkEventSink;
    DWORD dwAmbientFlags;
    OLE_COLOR colorFore;
    OLE_COLOR colorBack;
    IFont* pFont;
    IOleUndoManager* pUndoMgr;
    DWORD dwAppearance;
    LONG lcid;
    HPALETTE hpal;
    IBindHost* pBindHost;
    IOleControlSite* pOleControlSite;
    IServiceProvider* pServiceProvider;
};

// What the control answers to it.
struct QACONTROL {
    ULONG cbSize;
    DWORD dwMiscStatus;
    DWORD dwViewStatus;
    DWORD dwEventCookie;
    DWORD dwPropNotifyCookie;
    DWORD dwPointerActivationPolicy;
};

constexpr LONG OLEIVERB_PRIMARY = 0;
constexpr LONG OLEIVERB_SHOW = -1;
constexpr LONG OLEIVERB_OPEN = -2;
constexpr LONG OLEIVERB_HIDE = -3;
constexpr LONG OLEIVERB_UIACTIVATE = -4;
constexpr LONG OLEIVERB_INPLACEACTIVATE = -5;
constexpr LONG OLEIVERB_DISCARDUNDOSTATE = -6;
constexpr LONG OLEIVERB_PROPERTIES = -7;

enum DVASPECT : DWORD { DVASPECT_CONTENT = 1, DVASPECT_THUMBNAIL = 2, DVASPECT_ICON = 4, DVASPECT_DOCPRINT = 8 };
enum TYMED : DWORD {
    TYMED_NULL = 0, TYMED_HGLOBAL = 1, TYMED_FILE = 2, TYMED_ISTREAM = 4, TYMED_ISTORAGE = 8, TYMED_GDI = 16,
    TYMED_MFPICT = 32, TYMED_ENHMF = 64,
};
constexpr CLIPFORMAT CF_METAFILEPICT = 3;
enum DATADIR : DWORD { DATADIR_GET = 1, DATADIR_SET = 2 };
enum OLECLOSE : DWORD { OLECLOSE_SAVEIFDIRTY = 0, OLECLOSE_NOSAVE = 1, OLECLOSE_PROMPTSAVE = 2 };
enum USERCLASSTYPE : DWORD { USERCLASSTYPE_FULL = 1, USERCLASSTYPE_SHORT = 2, USERCLASSTYPE_APPNAME = 3 };
enum OLEWHICHMK : DWORD { OLEWHICHMK_CONTAINER = 1, OLEWHICHMK_OBJREL = 2, OLEWHICHMK_OBJFULL = 3 };
enum OLEGETMONIKER : DWORD {
    OLEGETMONIKER_ONLYIFTHERE = 1, OLEGETMONIKER_FORCEASSIGN = 2, OLEGETMONIKER_UNASSIGN = 3,
    OLEGETMONIKER_TEMPFORUSER = 4,
};
enum OLEMISC : DWORD {
    OLEMISC_RECOMPOSEONRESIZE = 0x1, OLEMISC_ONLYICONIC = 0x2, OLEMISC_INSERTNOTREPLACE = 0x4,
    OLEMISC_STATIC = 0x8, OLEMISC_CANTLINKINSIDE = 0x10, OLEMISC_CANLINKBYOLE1 = 0x20,
    OLEMISC_ISLINKOBJECT = 0x40, OLEMISC_INSIDEOUT = 0x80, OLEMISC_ACTIVATEWHENVISIBLE = 0x100,
    OLEMISC_RENDERINGISDEVICEINDEPENDENT = 0x200, OLEMISC_INVISIBLEATRUNTIME = 0x400,
    OLEMISC_ALWAYSRUN = 0x800, OLEMISC_ACTSLIKEBUTTON = 0x1000, OLEMISC_ACTSLIKELABEL = 0x2000,
    OLEMISC_NOUIACTIVATE = 0x4000, OLEMISC_ALIGNABLE = 0x8000, OLEMISC_SIMPLEFRAME = 0x10000,
    OLEMISC_SETCLIENTSITEFIRST = 0x20000, OLEMISC_IMEMODE = 0x40000,
};
enum VIEWSTATUS : DWORD {
    VIEWSTATUS_OPAQUE = 1, VIEWSTATUS_SOLIDBKGND = 2, VIEWSTATUS_DVASPECTOPAQUE = 4,
    VIEWSTATUS_DVASPECTTRANSPARENT = 8, VIEWSTATUS_SURFACE = 16, VIEWSTATUS_3DSURFACE = 32,
};
enum HITRESULT : DWORD { HITRESULT_OUTSIDE = 0, HITRESULT_TRANSPARENT = 1, HITRESULT_CLOSE = 2, HITRESULT_HIT = 3 };
enum DVEXTENTMODE : DWORD { DVEXTENT_CONTENT = 0, DVEXTENT_INTEGRAL = 1 };
enum QACONTAINERFLAGS : DWORD {
    QACONTAINER_SHOWHATCHING = 0x1, QACONTAINER_SHOWGRABHANDLES = 0x2, QACONTAINER_USERMODE = 0x4,
    QACONTAINER_DISPLAYASDEFAULT = 0x8, QACONTAINER_UIDEAD = 0x10, QACONTAINER_AUTOCLIP = 0x20,
    QACONTAINER_MESSAGEREFLECT = 0x40, QACONTAINER_SUPPORTSMNEMONICS = 0x80,
};

constexpr HRESULT OLE_S_USEREG = static_cast<HRESULT>(0x00040000u);
constexpr HRESULT OLE_E_ADVISENOTSUPPORTED = static_cast<HRESULT>(0x80040003u);
constexpr HRESULT OLE_E_NOCONNECTION = static_cast<HRESULT>(0x80040004u);
constexpr HRESULT OLE_E_BLANK = static_cast<HRESULT>(0x80040007u);
constexpr HRESULT OLE_E_INVALIDRECT = static_cast<HRESULT>(0x8004000Du);
constexpr HRESULT DV_E_FORMATETC = DATA_E_FORMATETC;
constexpr HRESULT DV_E_LINDEX = static_cast<HRESULT>(0x80040068u);
constexpr HRESULT DV_E_TYMED = static_cast<HRESULT>(0x80040069u);
constexpr HRESULT DV_E_DVASPECT = static_cast<HRESULT>(0x8004006Bu);
constexpr HRESULT VIEW_E_DRAW = static_cast<HRESULT>(0x80040140u);
constexpr HRESULT OLEOBJ_E_NOVERBS = static_cast<HRESULT>(0x80040180u);
constexpr HRESULT OLEOBJ_E_INVALIDVERB = static_cast<HRESULT>(0x80040181u);
constexpr HRESULT OLEOBJ_S_INVALIDVERB = static_cast<HRESULT>(0x00040180u);

// ---------------------------------------------------------------------------------------------------------
// OLE control and view interfaces, with the platform's method orders: those the control implements and
// those of the container that it calls.

#define SCRIVIX_IOleWindow_METHODS(M) \
    M(HRESULT, GetWindow, (HWND* phwnd)) \
    M(HRESULT, ContextSensitiveHelp, (BOOL fEnterMode))
SCRIVIX_INTERFACE(IOleWindow, IUnknown, SCRIVIX_IOleWindow_METHODS)

#define SCRIVIX_IOleInPlaceObject_METHODS(M) \
    M(HRESULT, InPlaceDeactivate, ()) \
    M(HRESULT, UIDeactivate, ()) \
    M(HRESULT, SetObjectRects, (LPCRECT lprcPosRect, LPCRECT lprcClipRect)) \
    M(HRESULT, ReactivateAndUndo, ())
SCRIVIX_INTERFACE(IOleInPlaceObject, IOleWindow, SCRIVIX_IOleInPlaceObject_METHODS)

#define SCRIVIX_IOleInPlaceObjectWindowless_METHODS(M) \
    M(HRESULT, OnWindowMessage, (UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* plResult)) \
    M(HRESULT, GetDropTarget, (IDropTarget** ppDropTarget))
SCRIVIX_INTERFACE(IOleInPlaceObjectWindowless, IOleInPlaceObject, SCRIVIX_IOleInPlaceObjectWindowless_METHODS)

struct IOleInPlaceActiveObject;

#define SCRIVIX_IOleInPlaceUIWindow_METHODS(M) \
    M(HRESULT, GetBorder, (LPRECT lprectBorder)) \
    M(HRESULT, RequestBorderSpace, (LPCBORDERWIDTHS pborderwidths)) \
    M(HRESULT, SetBorderSpace, (LPCBORDERWIDTHS pborderwidths)) \
    M(HRESULT, SetActiveObject, (IOleInPlaceActiveObject* pActiveObject, LPCOLESTR pszObjName))
SCRIVIX_INTERFACE(IOleInPlaceUIWindow, IOleWindow, SCRIVIX_IOleInPlaceUIWindow_METHODS)

#define SCRIVIX_IOleInPlaceActiveObject_METHODS(M) \
    M(HRESULT, TranslateAccelerator, (LPMSG lpmsg)) \
    M(HRESULT, OnFrameWindowActivate, (BOOL fActivate)) \
    M(HRESULT, OnDocWindowActivate, (BOOL fActivate)) \
    M(HRESULT, ResizeBorder, (LPCRECT prcBorder, IOleInPlaceUIWindow* pUIWindow, BOOL fFrameWindow)) \
    M(HRESULT, EnableModeless, (BOOL fEnable))
SCRIVIX_INTERFACE(IOleInPlaceActiveObject, IOleWindow, SCRIVIX_IOleInPlaceActiveObject_METHODS)

#define SCRIVIX_IOleInPlaceFrame_METHODS(M) \
    M(HRESULT, InsertMenus, (HMENU hmenuShared, LPOLEMENUGROUPWIDTHS lpMenuWidths)) \
    M(HRESULT, SetMenu, (HMENU hmenuShared, HOLEMENU holemenu, HWND hwndActiveObject)) \
    M(HRESULT, RemoveMenus, (HMENU hmenuShared)) \
    M(HRESULT, SetStatusText, (LPCOLESTR pszStatusText)) \
    M(HRESULT, EnableModeless, (BOOL fEnable)) \
    M(HRESULT, TranslateAccelerator, (LPMSG lpmsg, WORD wID))
SCRIVIX_INTERFACE(IOleInPlaceFrame, IOleInPlaceUIWindow, SCRIVIX_IOleInPlaceFrame_METHODS)

#define SCRIVIX_IOleInPlaceSite_METHODS(M) \
    M(HRESULT, CanInPlaceActivate, ()) \
    M(HRESULT, OnInPlaceActivate, ()) \
    M(HRESULT, OnUIActivate, ()) \
    M(HRESULT, GetWindowContext, (IOleInPlaceFrame** ppFrame, IOleInPlaceUIWindow** ppDoc, LPRECT lprcPosRect, \
                                  LPRECT lprcClipRect, LPOLEINPLACEFRAMEINFO lpFrameInfo)) \
    M(HRESULT, Scroll, (SIZE scrollExtant)) \
    M(HRESULT, OnUIDeactivate, (BOOL fUndoable)) \
    M(HRESULT, OnInPlaceDeactivate, ()) \
    M(HRESULT, DiscardUndoState, ()) \
    M(HRESULT, DeactivateAndUndo, ()) \
    M(HRESULT, OnPosRectChange, (LPCRECT lprcPosRect))
SCRIVIX_INTERFACE(IOleInPlaceSite, IOleWindow, SCRIVIX_IOleInPlaceSite_METHODS)

#define SCRIVIX_IOleClientSite_METHODS(M) \
    M(HRESULT, SaveObject, ()) \
    M(HRESULT, GetMoniker, (DWORD dwAssign, DWORD dwWhichMoniker, IMoniker** ppmk)) \
    M(HRESULT, GetContainer, (IOleContainer** ppContainer)) \
    M(HRESULT, ShowObject, ()) \
    M(HRESULT, OnShowWindow, (BOOL fShow)) \
    M(HRESULT, RequestNewObjectLayout, ())
SCRIVIX_INTERFACE(IOleClientSite, IUnknown, SCRIVIX_IOleClientSite_METHODS)

#define SCRIVIX_IOleControlSite_METHODS(M) \
    M(HRESULT, OnControlInfoChanged, ()) \
    M(HRESULT, LockInPlaceActive, (BOOL fLock)) \
    M(HRESULT, GetExtendedControl, (IDispatch** ppDisp)) \
    M(HRESULT, TransformCoords, (POINTL* pPtlHimetric, POINTF* pPtfContainer, DWORD dwFlags)) \
    M(HRESULT, TranslateAccelerator, (MSG* pMsg, DWORD grfModifiers)) \
    M(HRESULT, OnFocus, (BOOL fGotFocus)) \
    M(HRESULT, ShowPropertyFrame, ())
SCRIVIX_INTERFACE(IOleControlSite, IUnknown, SCRIVIX_IOleControlSite_METHODS)

// The notifications of an advise sink return nothing: the sender does not wait for an answer.
#define SCRIVIX_IAdviseSink_METHODS(M) \
    M(void, OnDataChange, (FORMATETC* pFormatetc, STGMEDIUM* pStgmed)) \
    M(void, OnViewChange, (DWORD dwAspect, LONG lindex)) \
    M(void, OnRename, (IMoniker* pmk)) \
    M(void, OnSave, ()) \
    M(void, OnClose, ())
SCRIVIX_INTERFACE(IAdviseSink, IUnknown, SCRIVIX_IAdviseSink_METHODS)

#define SCRIVIX_IAdviseSinkEx_METHODS(M) \
    M(void, OnViewStatusChange, (DWORD dwViewStatus))
SCRIVIX_INTERFACE(IAdviseSinkEx, IAdviseSink, SCRIVIX_IAdviseSinkEx_METHODS)

#define SCRIVIX_IOleControl_METHODS(M) \
    M(HRESULT, GetControlInfo, (CONTROLINFO* pCI)) \
    M(HRESULT, OnMnemonic, (MSG* pMsg)) \
    M(HRESULT, OnAmbientPropertyChange, (DISPID dispID)) \
    M(HRESULT, FreezeEvents, (BOOL bFreeze))
SCRIVIX_INTERFACE(IOleControl, IUnknown, SCRIVIX_IOleControl_METHODS)

#define SCRIVIX_IDataObject_METHODS(M) \
    M(HRESULT, GetData, (FORMATETC* pformatetcIn, STGMEDIUM* pmedium)) \
    M(HRESULT, GetDataHere, (FORMATETC* pformatetc, STGMEDIUM* pmedium)) \
    M(HRESULT, QueryGetData, (FORMATETC* pformatetc)) \
    M(HRESULT, GetCanonicalFormatEtc, (FORMATETC* pformatectIn, FORMATETC* pformatetcOut)) \
    M(HRESULT, SetData, (FORMATETC* pformatetc, STGMEDIUM* pmedium, BOOL fRelease)) \
    M(HRESULT, EnumFormatEtc, (DWORD dwDirection, IEnumFORMATETC** ppenumFormatEtc)) \
    M(HRESULT, DAdvise, (FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink, DWORD* pdwConnection)) \
    M(HRESULT, DUnadvise, (DWORD dwConnection)) \
    M(HRESULT, EnumDAdvise, (IEnumSTATDATA** ppenumAdvise))
SCRIVIX_INTERFACE(IDataObject, IUnknown, SCRIVIX_IDataObject_METHODS)

#define SCRIVIX_IOleObject_METHODS(M) \
    M(HRESULT, SetClientSite, (IOleClientSite* pClientSite)) \
    M(HRESULT, GetClientSite, (IOleClientSite** ppClientSite)) \
    M(HRESULT, SetHostNames, (LPCOLESTR szContainerApp, LPCOLESTR szContainerObj)) \
    M(HRESULT, Close, (DWORD dwSaveOption)) \
    M(HRESULT, SetMoniker, (DWORD dwWhichMoniker, IMoniker* pmk)) \
    M(HRESULT, GetMoniker, (DWORD dwAssign, DWORD dwWhichMoniker, IMoniker** ppmk)) \
    M(HRESULT, InitFromData, (IDataObject* pDataObject, BOOL fCreation, DWORD dwReserved)) \
    M(HRESULT, GetClipboardData, (DWORD dwReserved, IDataObject** ppDataObject)) \
    M(HRESULT, DoVerb, (LONG iVerb, LPMSG lpmsg, IOleClientSite* pActiveSite, LONG lindex, HWND hwndParent, \
                        LPCRECT lprcPosRect)) \
    M(HRESULT, EnumVerbs, (IEnumOLEVERB** ppEnumOleVerb)) \
    M(HRESULT, Update, ()) \
    M(HRESULT, IsUpToDate, ()) \
    M(HRESULT, GetUserClassID, (CLSID* pClsid)) \
    M(HRESULT, GetUserType, (DWORD dwFormOfType, LPOLESTR* pszUserType)) \
    M(HRESULT, SetExtent, (DWORD dwDrawAspect, SIZEL* psizel)) \
    M(HRESULT, GetExtent, (DWORD dwDrawAspect, SIZEL* psizel)) \
    M(HRESULT, Advise, (IAdviseSink* pAdvSink, DWORD* pdwConnection)) \
    M(HRESULT, Unadvise, (DWORD dwConnection)) \
    M(HRESULT, EnumAdvise, (IEnumSTATDATA** ppenumAdvise)) \
    M(HRESULT, GetMiscStatus, (DWORD dwAspect, DWORD* pdwStatus)) \
    M(HRESULT, SetColorScheme, (LOGPALETTE* pLogpal))
SCRIVIX_INTERFACE(IOleObject, IUnknown, SCRIVIX_IOleObject_METHODS)

#define SCRIVIX_IViewObject_METHODS(M) \
    M(HRESULT, Draw, (DWORD dwDrawAspect, LONG lindex, void* pvAspect, DVTARGETDEVICE* ptd, HDC hdcTargetDev, \
                      HDC hdcDraw, LPCRECTL lprcBounds, LPCRECTL lprcWBounds, \
                      BOOL(STDMETHODCALLTYPE* pfnContinue)(ULONG_PTR dwContinue), ULONG_PTR dwContinue)) \
    M(HRESULT, GetColorSet, (DWORD dwDrawAspect, LONG lindex, void* pvAspect, DVTARGETDEVICE* ptd, \
                             HDC hicTargetDev, LOGPALETTE** ppColorSet)) \
    M(HRESULT, Freeze, (DWORD dwDrawAspect, LONG lindex, void* pvAspect, DWORD* pdwFreeze)) \
    M(HRESULT, Unfreeze, (DWORD dwFreeze)) \
    M(HRESULT, SetAdvise, (DWORD aspects, DWORD advf, IAdviseSink* pAdvSink)) \
    M(HRESULT, GetAdvise, (DWORD* pAspects, DWORD* pAdvf, IAdviseSink** ppAdvSink))
SCRIVIX_INTERFACE(IViewObject, IUnknown, SCRIVIX_IViewObject_METHODS)

#define SCRIVIX_IViewObject2_METHODS(M) \
    M(HRESULT, GetExtent, (DWORD dwDrawAspect, LONG lindex, DVTARGETDEVICE* ptd, LPSIZEL lpsizel))
SCRIVIX_INTERFACE(IViewObject2, IViewObject, SCRIVIX_IViewObject2_METHODS)

#define SCRIVIX_IViewObjectEx_METHODS(M) \
    M(HRESULT, GetRect, (DWORD dwAspect, LPRECTL pRect)) \
    M(HRESULT, GetViewStatus, (DWORD* pdwStatus)) \
    M(HRESULT, QueryHitPoint, (DWORD dwAspect, LPCRECT pRectBounds, POINT ptlLoc, LONG lCloseHint, \
                               DWORD* pHitResult)) \
    M(HRESULT, QueryHitRect, (DWORD dwAspect, LPCRECT pRectBounds, LPCRECT pRectLoc, LONG lCloseHint, \
                              DWORD* pHitResult)) \
    M(HRESULT, GetNaturalExtent, (DWORD dwAspect, LONG lindex, DVTARGETDEVICE* ptd, HDC hicTargetDev, \
                                  DVEXTENTINFO* pExtentInfo, LPSIZEL pSizel))
SCRIVIX_INTERFACE(IViewObjectEx, IViewObject2, SCRIVIX_IViewObjectEx_METHODS)

#define SCRIVIX_IPersist_METHODS(M) \
    M(HRESULT, GetClassID, (CLSID* pClassID))
SCRIVIX_INTERFACE(IPersist, IUnknown, SCRIVIX_IPersist_METHODS)

#define SCRIVIX_IPersistStreamInit_METHODS(M) \
    M(HRESULT, IsDirty, ()) \
    M(HRESULT, Load, (IStream* pStm)) \
    M(HRESULT, Save, (IStream* pStm, BOOL fClearDirty)) \
    M(HRESULT, GetSizeMax, (ULARGE_INTEGER* pCbSize)) \
    M(HRESULT, InitNew, ())
SCRIVIX_INTERFACE(IPersistStreamInit, IPersist, SCRIVIX_IPersistStreamInit_METHODS)

#define SCRIVIX_IQuickActivate_METHODS(M) \
    M(HRESULT, QuickActivate, (QACONTAINER* pQaContainer, QACONTROL* pQaControl)) \
    M(HRESULT, SetContentExtent, (LPSIZEL pSizel)) \
    M(HRESULT, GetContentExtent, (LPSIZEL pSizel))
SCRIVIX_INTERFACE(IQuickActivate, IUnknown, SCRIVIX_IQuickActivate_METHODS)

static_assert(IOleWindow::slot_count == 5, "IOleWindow slots");
static_assert(IOleInPlaceObject::slot_count == 9, "IOleInPlaceObject slots");
static_assert(IOleInPlaceObjectWindowless::slot_count == 11, "IOleInPlaceObjectWindowless slots");
static_assert(IOleInPlaceUIWindow::slot_count == 9, "IOleInPlaceUIWindow slots");
static_assert(IOleInPlaceActiveObject::slot_count == 10, "IOleInPlaceActiveObject slots");
static_assert(IOleInPlaceFrame::slot_count == 15, "IOleInPlaceFrame slots");
static_assert(IOleInPlaceSite::slot_count == 15, "IOleInPlaceSite slots");
static_assert(IOleClientSite::slot_count == 9, "IOleClientSite slots");
static_assert(IOleControlSite::slot_count == 10, "IOleControlSite slots");
static_assert(IAdviseSink::slot_count == 8, "IAdviseSink slots");
static_assert(IAdviseSinkEx::slot_count == 9, "IAdviseSinkEx slots");
static_assert(IOleControl::slot_count == 7, "IOleControl slots");
static_assert(IDataObject::slot_count == 12, "IDataObject slots");
static_assert(IOleObject::slot_count == 24, "IOleObject slots");
static_assert(IViewObject::slot_count == 9, "IViewObject slots");
static_assert(IViewObject2::slot_count == 10, "IViewObject2 slots");
static_assert(IViewObjectEx::slot_count == 15, "IViewObjectEx slots");
static_assert(IPersist::slot_count == 4, "IPersist slots");
static_assert(IPersistStreamInit::slot_count == 9, "IPersistStreamInit slots");
static_assert(IQuickActivate::slot_count == 6, "IQuickActivate slots");

// ---------------------------------------------------------------------------------------------------------
// Enumerations of the type library ScrivixLib.

enum open_modes {
    file_in = 1,
    file_out = 2,
    file_ate = 4,
    file_app = 8,
    file_trunc = 16,
    file_binary = 32,
};
enum seek_dir {
    seek_beg = 0,
    seek_cur = 1,
    seek_end = 2,
};
enum pattern_options {
    poNone = 0,
    poExclude = 1,
    poWholeWord = 2,
    poIgnoreCase = 4,
    poSkipSpaces = 8,
    poRegExpression = 16,
};
enum span_options {
    soIncludeOpening = 1,
    soIncludeClosing = 2,
    soDefault = 4,
    soNested = 8,
    soOpeningOnly = 16,
    soClosingOnly = 32,
};
enum search_modes {
    smPatternOnly = 0,
    smEndAtPattern = 1,
    smEndAfterPattern = 3,
};
static_assert(sizeof(search_modes) == 4, "search_modes is a 32-bit enumeration");

// ---------------------------------------------------------------------------------------------------------
// The library's interfaces. Dual interfaces derive from IDispatch; IFile extends IStream.

struct ITextSegment;
struct IPattern;
struct IPatternIterator;
struct ISpan;
struct ISpanIterator;

#define SCRIVIX_IEditBuffer_METHODS(M) \
    M(HRESULT, LockForRead, ()) \
    M(HRESULT, UnlockFromRead, ()) \
    M(HRESULT, CharSize, (SHORT* Size)) \
    M(HRESULT, get_Begin, (void** Position)) \
    M(HRESULT, get_End, (void** Position)) \
    M(HRESULT, Replace, (LONG Origin, LONG Extent, BSTR NewText)) \
    M(HRESULT, Text, (BSTR Content)) \
    M(HRESULT, ASCIIText, (unsigned char* Content, LONG Length)) \
    M(HRESULT, Length, (LONG* Length)) \
    M(HRESULT, FromStream, (IUnknown* Stream, ULONG* Actual)) \
    M(HRESULT, LoadFile, (BSTR FileName, SHORT Mode, ULONG* Actual)) \
    M(HRESULT, get_FileClass, (BSTR* ClassName)) \
    M(HRESULT, put_FileClass, (BSTR ClassName)) \
    M(HRESULT, SubSection, (LONG Start, LONG End, BSTR* Section)) \
    M(HRESULT, WriteFile, (LONG From, LONG To, BSTR FileName, SHORT Mode, ULONG* Actual)) \
    M(HRESULT, ToStream, (LONG From, LONG To, IUnknown* Stream, ULONG* Actual)) \
    M(HRESULT, ProcessID, (LONG* ID)) \
    M(HRESULT, get_SegmentClass, (BSTR* ClassName)) \
    M(HRESULT, put_SegmentClass, (BSTR ClassName)) \
    M(HRESULT, get_PatternClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternClass, (BSTR ClassName))
SCRIVIX_INTERFACE(IEditBuffer, IDispatch, SCRIVIX_IEditBuffer_METHODS)

#define SCRIVIX__IEditBufferEvents_METHODS(M) \
    M(HRESULT, Modified, (LONG Origin, LONG OldLength, LONG NewLength))
SCRIVIX_INTERFACE(_IEditBufferEvents, IDispatch, SCRIVIX__IEditBufferEvents_METHODS)

#define SCRIVIX_IBufferSegment_METHODS(M) \
    M(HRESULT, get_MaxSize, (LONG* Size)) \
    M(HRESULT, put_MaxSize, (LONG Size)) \
    M(HRESULT, Begin, (void** Position)) \
    M(HRESULT, End, (void** Position)) \
    M(HRESULT, CharacterSize, (SHORT* Size)) \
    M(HRESULT, SegBegin, (void** Position)) \
    M(HRESULT, SegEnd, (void** Position)) \
    M(HRESULT, NextSegment, (void** Position)) \
    M(HRESULT, PrevSegment, (void** Position)) \
    M(HRESULT, get_Source, (LONG Origin, LONG Limit, IUnknown** Buffer)) \
    M(HRESULT, put_Source, (LONG Origin, LONG Limit, IUnknown* Buffer)) \
    M(HRESULT, Length, (LONG* Length))
SCRIVIX_INTERFACE(IBufferSegment, IDispatch, SCRIVIX_IBufferSegment_METHODS)

#define SCRIVIX_IFile_METHODS(M) \
    M(HRESULT, get_Name, (BSTR* Name)) \
    M(HRESULT, put_Name, (BSTR Name)) \
    M(HRESULT, Open, (SHORT Mode, BSTR Name)) \
    M(HRESULT, Close, ())
SCRIVIX_INTERFACE(IFile, IStream, SCRIVIX_IFile_METHODS)

#define SCRIVIX_IPattern_METHODS(M) \
    M(HRESULT, get_Text, (BSTR* Text)) \
    M(HRESULT, put_Text, (BSTR Text)) \
    M(HRESULT, get_LookAhead, (LONG* Distance)) \
    M(HRESULT, put_LookAhead, (LONG Distance)) \
    M(HRESULT, get_Options, (LONG* Options)) \
    M(HRESULT, put_Options, (LONG Options)) \
    M(HRESULT, Find, (IBufferSegment* Source, LONG* Start, LONG* End, VARIANT_BOOL* Found)) \
    M(HRESULT, FindReverse, (IBufferSegment* Source, LONG* Start, LONG* End, VARIANT_BOOL* Found))
SCRIVIX_INTERFACE(IPattern, IDispatch, SCRIVIX_IPattern_METHODS)

#define SCRIVIX_ITextSegment_METHODS(M) \
    M(HRESULT, get_Text, (BSTR* Text)) \
    M(HRESULT, put_Text, (BSTR Text)) \
    M(HRESULT, Origin, (LONG* Origin)) \
    M(HRESULT, Limit, (LONG* Limit)) \
    M(HRESULT, Length, (LONG* Length)) \
    M(HRESULT, ExtendForwardBy, (LONG Characters, LONG* Actual)) \
    M(HRESULT, ExtendBackwardBy, (LONG Characters, LONG* Actual)) \
    M(HRESULT, ExtendForwardTo, (IPattern* Pattern, VARIANT_BOOL Include, LONG* Distance)) \
    M(HRESULT, ExtendBackwardTo, (IPattern* Pattern, VARIANT_BOOL Include, LONG* Distance)) \
    M(HRESULT, SubSection, (LONG Start, LONG End, ITextSegment** Section)) \
    M(HRESULT, LoadFile, (BSTR FileName, SHORT Mode, LONG* Actual)) \
    M(HRESULT, Replace, (LONG From, LONG To, BSTR With)) \
    M(HRESULT, WriteFile, (BSTR FileName, SHORT Mode, LONG* Actual)) \
    M(HRESULT, get_BufferClass, (BSTR* ClassName)) \
    M(HRESULT, put_BufferClass, (BSTR ClassName)) \
    M(HRESULT, SegmentBuffer, (IUnknown** BuffLock)) \
    M(HRESULT, FindPattern, (BSTR Pattern, LONG Options, BSTR Ignore, LONG IgOpts, IPatternIterator** Result)) \
    M(HRESULT, get_PatternIteratorClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternIteratorClass, (BSTR ClassName)) \
    M(HRESULT, get_PatternClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternClass, (BSTR ClassName))
SCRIVIX_INTERFACE(ITextSegment, IDispatch, SCRIVIX_ITextSegment_METHODS)

#define SCRIVIX__ITextSegmentEvents_METHODS(M) \
    M(HRESULT, Modified, (LONG Origin, LONG OldLength, LONG NewLength)) \
    M(HRESULT, Reset, (LONG StartAt))
SCRIVIX_INTERFACE(_ITextSegmentEvents, IDispatch, SCRIVIX__ITextSegmentEvents_METHODS)

#define SCRIVIX_IPatternIterator_METHODS(M) \
    M(HRESULT, get_Current, (ITextSegment** Current)) \
    M(HRESULT, First, (LONG Start, ITextSegment** Found)) \
    M(HRESULT, Next, (ITextSegment** Found)) \
    M(HRESULT, End, (VARIANT_BOOL* AtEnd)) \
    M(HRESULT, Offset, (LONG* Offset)) \
    M(HRESULT, Length, (LONG* Length)) \
    M(HRESULT, MatchedBy, (LONG* Index)) \
    M(HRESULT, get_Source, (ITextSegment** Source)) \
    M(HRESULT, put_Source, (ITextSegment* Source)) \
    M(HRESULT, AddTarget, (IPattern* Pattern, LONG* ID)) \
    M(HRESULT, AddIgnore, (IPattern* Pattern, LONG* ID)) \
    M(HRESULT, Reset, (LONG StartAt)) \
    M(HRESULT, NewTarget, (BSTR Text, LONG Options, LONG* ID)) \
    M(HRESULT, NewIgnore, (BSTR Text, LONG Options, LONG* ID)) \
    M(HRESULT, get_PatternClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternClass, (BSTR ClassName)) \
    M(HRESULT, get_Target, (LONG Index, IPattern** Pattern)) \
    M(HRESULT, get_Ignore, (LONG Index, IPattern** Pattern)) \
    M(HRESULT, Clear, (VARIANT_BOOL Reset)) \
    M(HRESULT, Replace, (BSTR NewText)) \
    M(HRESULT, get_Mode, (search_modes* Mode)) \
    M(HRESULT, put_Mode, (search_modes Mode))
SCRIVIX_INTERFACE(IPatternIterator, IDispatch, SCRIVIX_IPatternIterator_METHODS)

#define SCRIVIX_ISpan_METHODS(M) \
    M(HRESULT, get_Opening, (IPattern** Opening)) \
    M(HRESULT, put_Opening, (IUnknown* Opening)) \
    M(HRESULT, get_Closing, (IPattern** Closing)) \
    M(HRESULT, put_Closing, (IUnknown* Closing)) \
    M(HRESULT, get_Options, (LONG* Options)) \
    M(HRESULT, put_Options, (LONG Options)) \
    M(HRESULT, get_PatternClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternClass, (BSTR ClassName)) \
    M(HRESULT, Define, (BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts)) \
    M(HRESULT, FindClose, (IPatternIterator* Close, LONG Start, LONG* Limit, LONG* Length, VARIANT_BOOL* Found))
SCRIVIX_INTERFACE(ISpan, IDispatch, SCRIVIX_ISpan_METHODS)

#define SCRIVIX_ISpanIterator_METHODS(M) \
    M(HRESULT, get_Current, (SHORT What, ITextSegment** Current)) \
    M(HRESULT, Reset, (LONG To)) \
    M(HRESULT, get_Source, (ITextSegment** Source)) \
    M(HRESULT, put_Source, (ITextSegment* Source)) \
    M(HRESULT, AddTarget, (ISpan* Span, LONG* ID)) \
    M(HRESULT, AddIgnore, (ISpan* Span, LONG* ID)) \
    M(HRESULT, Next, (ITextSegment** Result)) \
    M(HRESULT, First, (LONG Start, ITextSegment** Pattern)) \
    M(HRESULT, get_MatchedBy, (LONG* Index)) \
    M(HRESULT, End, (VARIANT_BOOL* AtEnd)) \
    M(HRESULT, get_Offset, (LONG* Offset)) \
    M(HRESULT, get_Length, (LONG* Length)) \
    M(HRESULT, get_Target, (LONG Index, ISpan** Span)) \
    M(HRESULT, get_Ignore, (LONG Index, ISpan** Span)) \
    M(HRESULT, Replace, (BSTR NewText, SHORT What)) \
    M(HRESULT, get_PatternIteratorClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternIteratorClass, (BSTR ClassName)) \
    M(HRESULT, get_PatternClass, (BSTR* ClassName)) \
    M(HRESULT, put_PatternClass, (BSTR ClassName)) \
    M(HRESULT, NewTarget, (BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts, LONG* ID)) \
    M(HRESULT, NewIgnore, (BSTR Opening, LONG OpenOpts, BSTR Closing, LONG CloseOpts, LONG SpanOpts, LONG* ID)) \
    M(HRESULT, Clear, (VARIANT_BOOL Reset))
SCRIVIX_INTERFACE(ISpanIterator, IDispatch, SCRIVIX_ISpanIterator_METHODS)

#define SCRIVIX_IScrivixLib_METHODS(M) \
    M(HRESULT, get_Version, (BSTR* Version)) \
    M(HRESULT, NewTextSegment, (BSTR BufferClass, ITextSegment** NewSeg)) \
    M(HRESULT, NewPattern, (BSTR PatternClass, IPattern** Patern)) \
    M(HRESULT, NewPatternIterator, (IPatternIterator** NewIter)) \
    M(HRESULT, NewSpan, (ISpan** Span)) \
    M(HRESULT, NewSpanIterator, (ISpanIterator** NewIter))
SCRIVIX_INTERFACE(IScrivixLib, IDispatch, SCRIVIX_IScrivixLib_METHODS)

// Slot counts of the vtables, pinned.
static_assert(IUnknown::slot_count == 3, "IUnknown slots");
static_assert(IDispatch::slot_count == 7, "IDispatch slots");
static_assert(IClassFactory::slot_count == 5, "IClassFactory slots");
static_assert(ISupportErrorInfo::slot_count == 4, "ISupportErrorInfo slots");
static_assert(IErrorInfo::slot_count == 8, "IErrorInfo slots");
static_assert(ICreateErrorInfo::slot_count == 8, "ICreateErrorInfo slots");
static_assert(IConnectionPointContainer::slot_count == 5, "IConnectionPointContainer slots");
static_assert(IConnectionPoint::slot_count == 8, "IConnectionPoint slots");
static_assert(IEnumConnectionPoints::slot_count == 7, "IEnumConnectionPoints slots");
static_assert(IEnumConnections::slot_count == 7, "IEnumConnections slots");
static_assert(IProvideClassInfo::slot_count == 4, "IProvideClassInfo slots");
static_assert(IProvideClassInfo2::slot_count == 5, "IProvideClassInfo2 slots");
static_assert(ISequentialStream::slot_count == 5, "ISequentialStream slots");
static_assert(IStream::slot_count == 14, "IStream slots");
static_assert(ITypeInfo::slot_count == 22, "ITypeInfo slots");
static_assert(ITypeLib::slot_count == 13, "ITypeLib slots");
static_assert(IEditBuffer::slot_count == 28, "IEditBuffer slots");
static_assert(_IEditBufferEvents::slot_count == 8, "_IEditBufferEvents slots");
static_assert(IBufferSegment::slot_count == 19, "IBufferSegment slots");
static_assert(IFile::slot_count == 18, "IFile slots");
static_assert(IPattern::slot_count == 15, "IPattern slots");
static_assert(ITextSegment::slot_count == 28, "ITextSegment slots");
static_assert(_ITextSegmentEvents::slot_count == 9, "_ITextSegmentEvents slots");
static_assert(IPatternIterator::slot_count == 29, "IPatternIterator slots");
static_assert(ISpan::slot_count == 17, "ISpan slots");
static_assert(ISpanIterator::slot_count == 29, "ISpanIterator slots");
static_assert(IScrivixLib::slot_count == 13, "IScrivixLib slots");

// ---------------------------------------------------------------------------------------------------------
// GUID symbols.

extern "C" {
SCRIVIX_API extern const GUID GUID_NULL;
SCRIVIX_API extern const IID IID_IUnknown;
SCRIVIX_API extern const IID IID_IDispatch;
SCRIVIX_API extern const IID IID_IClassFactory;
SCRIVIX_API extern const IID IID_ISupportErrorInfo;
SCRIVIX_API extern const IID IID_IErrorInfo;
SCRIVIX_API extern const IID IID_ICreateErrorInfo;
SCRIVIX_API extern const IID IID_IConnectionPointContainer;
SCRIVIX_API extern const IID IID_IConnectionPoint;
SCRIVIX_API extern const IID IID_IEnumConnectionPoints;
SCRIVIX_API extern const IID IID_IEnumConnections;
SCRIVIX_API extern const IID IID_IProvideClassInfo;
SCRIVIX_API extern const IID IID_IProvideClassInfo2;
SCRIVIX_API extern const IID IID_ISequentialStream;
SCRIVIX_API extern const IID IID_IStream;
SCRIVIX_API extern const IID IID_ITypeLib;
SCRIVIX_API extern const IID IID_ITypeInfo;
SCRIVIX_API extern const IID IID_IOleWindow;
SCRIVIX_API extern const IID IID_IOleInPlaceObject;
SCRIVIX_API extern const IID IID_IOleInPlaceObjectWindowless;
SCRIVIX_API extern const IID IID_IOleInPlaceUIWindow;
SCRIVIX_API extern const IID IID_IOleInPlaceActiveObject;
SCRIVIX_API extern const IID IID_IOleInPlaceFrame;
SCRIVIX_API extern const IID IID_IOleInPlaceSite;
SCRIVIX_API extern const IID IID_IOleClientSite;
SCRIVIX_API extern const IID IID_IOleControlSite;
SCRIVIX_API extern const IID IID_IAdviseSink;
SCRIVIX_API extern const IID IID_IAdviseSinkEx;
SCRIVIX_API extern const IID IID_IOleControl;
SCRIVIX_API extern const IID IID_IDataObject;
SCRIVIX_API extern const IID IID_IOleObject;
SCRIVIX_API extern const IID IID_IViewObject;
SCRIVIX_API extern const IID IID_IViewObject2;
SCRIVIX_API extern const IID IID_IViewObjectEx;
SCRIVIX_API extern const IID IID_IPersist;
SCRIVIX_API extern const IID IID_IPersistStreamInit;
SCRIVIX_API extern const IID IID_IQuickActivate;

SCRIVIX_API extern const GUID LIBID_ScrivixLib;
SCRIVIX_API extern const IID IID_IEditBuffer;
SCRIVIX_API extern const IID IID__IEditBufferEvents;
SCRIVIX_API extern const IID IID_IBufferSegment;
SCRIVIX_API extern const IID IID_IFile;
SCRIVIX_API extern const IID IID_IPattern;
SCRIVIX_API extern const IID IID_ITextSegment;
SCRIVIX_API extern const IID IID__ITextSegmentEvents;
SCRIVIX_API extern const IID IID_IPatternIterator;
SCRIVIX_API extern const IID IID_ISpan;
SCRIVIX_API extern const IID IID_ISpanIterator;
SCRIVIX_API extern const IID IID_IScrivixLib;

SCRIVIX_API extern const CLSID CLSID_EditBufferA;
SCRIVIX_API extern const CLSID CLSID_EditBufferU;
SCRIVIX_API extern const CLSID CLSID_FileStreamA;
SCRIVIX_API extern const CLSID CLSID_FileStreamU;
SCRIVIX_API extern const CLSID CLSID_TextSegment;
SCRIVIX_API extern const CLSID CLSID_PatternA;
SCRIVIX_API extern const CLSID CLSID_PatternU;
SCRIVIX_API extern const CLSID CLSID_PatternIterator;
SCRIVIX_API extern const CLSID CLSID_BufferSegmentA;
SCRIVIX_API extern const CLSID CLSID_BufferSegmentU;
SCRIVIX_API extern const CLSID CLSID_Span;
SCRIVIX_API extern const CLSID CLSID_SpanIterator;
SCRIVIX_API extern const CLSID CLSID_ScrivixCtl;
SCRIVIX_API extern const CLSID CLSID_ScrivixSvr;
}

// ---------------------------------------------------------------------------------------------------------
// Platform functions.

extern "C" {
// Automation strings: a 32-bit byte length precedes the characters; a null BSTR counts as empty.
SCRIVIX_API BSTR SysAllocString(const OLECHAR* psz);
SCRIVIX_API BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
SCRIVIX_API BSTR SysAllocStringByteLen(LPCSTR psz, UINT len);
SCRIVIX_API void SysFreeString(BSTR bstrString);
SCRIVIX_API UINT SysStringLen(BSTR pbstr);
SCRIVIX_API UINT SysStringByteLen(BSTR bstr);

// The task allocator: memory handed between components.
SCRIVIX_API LPVOID CoTaskMemAlloc(SIZE_T cb);
SCRIVIX_API LPVOID CoTaskMemRealloc(LPVOID pv, SIZE_T cb);
SCRIVIX_API void CoTaskMemFree(LPVOID pv);

SCRIVIX_API void VariantInit(VARIANTARG* pvarg);
SCRIVIX_API HRESULT VariantClear(VARIANTARG* pvarg);
SCRIVIX_API HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc);
SCRIVIX_API HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt);

// Objects.
SCRIVIX_API HRESULT CoInitialize(LPVOID pvReserved);
SCRIVIX_API HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
SCRIVIX_API void CoUninitialize();
SCRIVIX_API HRESULT CoCreateInstance(REFCLSID rclsid, LPUNKNOWN pUnkOuter, DWORD dwClsContext, REFIID riid,
                                     LPVOID* ppv);
SCRIVIX_API HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, LPVOID pvReserved, REFIID riid,
                                     LPVOID* ppv);
SCRIVIX_API HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid);
SCRIVIX_API HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid);
SCRIVIX_API HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID);
SCRIVIX_API int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);
SCRIVIX_API BOOL IsEqualGUID(REFGUID rguid1, REFGUID rguid2);
SCRIVIX_API HRESULT OleRun(LPUNKNOWN pUnknown);

// Per-thread error records.
SCRIVIX_API HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo);
SCRIVIX_API HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
SCRIVIX_API HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);

// Type libraries.
SCRIVIX_API HRESULT LoadTypeLib(LPCOLESTR szFile, ITypeLib** pptlib);
SCRIVIX_API HRESULT LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib);
SCRIVIX_API HRESULT RegisterTypeLib(ITypeLib* ptlib, LPCOLESTR szFullPath, LPCOLESTR szHelpDir);

// The registry: one hive, HKEY_CLASSES_ROOT. Results are Win32 error codes.
SCRIVIX_API LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult);
SCRIVIX_API LONG RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions,
                                 REGSAM samDesired, const SECURITY_ATTRIBUTES* lpSecurityAttributes,
                                 PHKEY phkResult, LPDWORD lpdwDisposition);
SCRIVIX_API LONG RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                                  LPBYTE lpData, LPDWORD lpcbData);
SCRIVIX_API LONG RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                                DWORD cbData);
SCRIVIX_API LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                               LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime);
SCRIVIX_API LONG RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey);
SCRIVIX_API LONG RegCloseKey(HKEY hKey);

// The module's entry points.
SCRIVIX_API HRESULT DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
SCRIVIX_API HRESULT DllCanUnloadNow();
SCRIVIX_API HRESULT DllRegisterServer();
SCRIVIX_API HRESULT DllUnregisterServer();
}

#endif  // SCRIVIX_SCRIVIX_H

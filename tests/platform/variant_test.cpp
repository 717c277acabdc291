// Variants: ownership (clear, copy, by-reference values, objects) and the conversion rules of
// VariantChangeType, mostly as a table written in a small notation: "I4:42" is a variant of type VT_I4
// holding 42, and text is UTF-8.
#include "platform/code_page.h"

#include <scrivix/scrivix.h>

#include <gtest/gtest.h>

#include <atomic>
#include <charconv>
#include <cstring>
#include <map>
#include <string>

namespace {

using scrivix::platform::Utf16ToUtf8;
using scrivix::platform::Utf8ToUtf16;

const std::map<std::string, VARTYPE> kTypeNames = {
    {"EMPTY", VT_EMPTY}, {"NULL", VT_NULL}, {"I1", VT_I1},     {"UI1", VT_UI1},   {"I2", VT_I2},
    {"UI2", VT_UI2},     {"I4", VT_I4},     {"UI4", VT_UI4},   {"INT", VT_INT},   {"UINT", VT_UINT},
    {"I8", VT_I8},       {"UI8", VT_UI8},   {"R4", VT_R4},     {"R8", VT_R8},     {"BOOL", VT_BOOL},
    {"BSTR", VT_BSTR},   {"DATE", VT_DATE}, {"ERROR", VT_ERROR},
};

// Builds a variant from the notation; the caller clears it.
VARIANT Make(const std::string& notation) {
    const size_t colon = notation.find(':');
    const std::string value = colon == std::string::npos ? "" : notation.substr(colon + 1);
    VARIANT v;
    VariantInit(&v);
    v.vt = kTypeNames.at(notation.substr(0, colon));
    switch (v.vt) {
    case VT_I1: v.cVal = static_cast<char>(std::stoi(value)); break;
    case VT_UI1: v.bVal = static_cast<BYTE>(std::stoul(value)); break;
    case VT_I2: case VT_BOOL: v.iVal = static_cast<SHORT>(std::stoi(value)); break;
    case VT_UI2: v.uiVal = static_cast<USHORT>(std::stoul(value)); break;
    case VT_I4: case VT_INT: case VT_ERROR: v.lVal = std::stoi(value); break;
    case VT_UI4: case VT_UINT: v.ulVal = static_cast<ULONG>(std::stoul(value)); break;
    case VT_I8: v.llVal = std::stoll(value); break;
    case VT_UI8: v.ullVal = std::stoull(value); break;
    case VT_R4: v.fltVal = std::stof(value); break;
    case VT_R8: case VT_DATE: v.dblVal = std::stod(value); break;
    case VT_BSTR: v.bstrVal = SysAllocString(Utf8ToUtf16(value).c_str()); break;
    }
    return v;
}

// Writes a variant in the notation.
std::string Show(const VARIANT& v) {
    const auto shortest = [](double value) {
        char text[32];
        return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
    };
    std::string name = "vt " + std::to_string(v.vt);
    for (const auto& [type_name, type] : kTypeNames)
        if (type == v.vt) name = type_name;
    switch (v.vt) {
    case VT_I1: return name + ":" + std::to_string(static_cast<int8_t>(v.cVal));
    case VT_UI1: return name + ":" + std::to_string(v.bVal);
    case VT_I2: case VT_BOOL: return name + ":" + std::to_string(v.iVal);
    case VT_UI2: return name + ":" + std::to_string(v.uiVal);
    case VT_I4: case VT_INT: case VT_ERROR: return name + ":" + std::to_string(v.lVal);
    case VT_UI4: case VT_UINT: return name + ":" + std::to_string(v.ulVal);
    case VT_I8: return name + ":" + std::to_string(v.llVal);
    case VT_UI8: return name + ":" + std::to_string(v.ullVal);
    case VT_R4: return name + ":" + shortest(v.fltVal);
    case VT_R8: case VT_DATE: return name + ":" + shortest(v.dblVal);
    case VT_BSTR: return name + ":" + Utf16ToUtf8({v.bstrVal, SysStringLen(v.bstrVal)});
    default: return name;
    }
}

// Converts `from` into `to` and gives the result in the notation, or the failure; a failure must leave
// `to` as it was, and no conversion may touch its source.
std::string Change(VARIANT& to, VARIANT& from, VARTYPE type, USHORT flags = 0) {
    static const std::map<HRESULT, std::string> failures = {{DISP_E_OVERFLOW, "overflow"},
        {DISP_E_TYPEMISMATCH, "mismatch"}, {DISP_E_BADVARTYPE, "bad type"}, {E_INVALIDARG, "invalid argument"}};
    const std::string before = Show(to), source = Show(from);
    const HRESULT status = VariantChangeType(&to, &from, flags, type);
    if (&to != &from) { EXPECT_EQ(Show(from), source); }
    if (status == S_OK) return Show(to);
    EXPECT_EQ(Show(to), before);
    return failures.count(status) ? failures.at(status) : "status " + std::to_string(status);
}

// A variant holding a reference to `target`.
VARIANT Ref(VARTYPE type, void* target) {
    VARIANT v;
    v.vt = VT_BYREF | type;
    v.byref = target;
    return v;
}

struct Conversion {
    const char* from;
    VARTYPE to;
    const char* result;  // in the notation, or the failure
    USHORT flags = 0;
};

const Conversion kConversions[] = {
    // Integers between widths.
    {"I4:42", VT_I2, "I2:42"}, {"I4:32768", VT_I2, "overflow"}, {"I4:-32769", VT_I2, "overflow"},
    {"I4:255", VT_UI1, "UI1:255"}, {"I4:256", VT_UI1, "overflow"}, {"I2:-1", VT_UI1, "overflow"},
    {"I4:-128", VT_I1, "I1:-128"}, {"I4:128", VT_I1, "overflow"}, {"I4:-5", VT_INT, "INT:-5"},
    {"INT:-1", VT_UINT, "overflow"}, {"UI4:4294967295", VT_I4, "overflow"},
    {"UI4:4294967295", VT_I8, "I8:4294967295"}, {"I8:-9223372036854775808", VT_UI8, "overflow"},
    {"UI8:18446744073709551615", VT_I8, "overflow"}, {"UI8:18446744073709551615", VT_R8, "R8:18446744073709551616"},
    // Floating values become integers rounding half to even.
    {"R8:2.5", VT_I4, "I4:2"}, {"R8:3.5", VT_I4, "I4:4"}, {"R8:-2.5", VT_I4, "I4:-2"}, {"R4:1.5", VT_I2, "I2:2"},
    {"R8:-0.5", VT_UI1, "UI1:0"}, {"R8:2147483647.4", VT_I4, "I4:2147483647"}, {"R8:2147483647.5", VT_I4, "overflow"},
    {"R8:-2147483648.5", VT_I4, "I4:-2147483648"}, {"R8:1e19", VT_UI8, "UI8:10000000000000000000"},
    {"R8:nan", VT_I4, "overflow"}, {"R8:0.25", VT_R4, "R4:0.25"}, {"R8:1e300", VT_R4, "overflow"},
    // Truth values are -1 and 0.
    {"BOOL:-1", VT_I4, "I4:-1"}, {"BOOL:0", VT_I2, "I2:0"}, {"BOOL:-1", VT_R8, "R8:-1"},
    {"BOOL:-1", VT_UI1, "overflow"}, {"I4:2", VT_BOOL, "BOOL:-1"}, {"R8:0.1", VT_BOOL, "BOOL:-1"},
    {"BOOL:-1", VT_BSTR, "BSTR:-1"}, {"BOOL:0", VT_BSTR, "BSTR:0"},
    {"BOOL:-1", VT_BSTR, "BSTR:True", VARIANT_ALPHABOOL}, {"BOOL:0", VT_BSTR, "BSTR:False", VARIANT_ALPHABOOL},
    {"BSTR:True", VT_BOOL, "BOOL:-1"}, {"BSTR: false ", VT_BOOL, "BOOL:0"}, {"BSTR:0", VT_BOOL, "BOOL:0"},
    {"BSTR:-3.5", VT_BOOL, "BOOL:-1"}, {"BSTR:yes", VT_BOOL, "mismatch"},
    // Numbers to text.
    {"I4:-42", VT_BSTR, "BSTR:-42"}, {"UI8:18446744073709551615", VT_BSTR, "BSTR:18446744073709551615"},
    {"R8:2.5", VT_BSTR, "BSTR:2.5"}, {"R8:0.1", VT_BSTR, "BSTR:0.1"},
    {"R8:3.14159265358979323", VT_BSTR, "BSTR:3.14159265358979"},
    {"R8:123456789012345", VT_BSTR, "BSTR:123456789012345"}, {"R8:1e15", VT_BSTR, "BSTR:1E+15"},
    {"R8:1e-5", VT_BSTR, "BSTR:1E-05"}, {"R4:0.1", VT_BSTR, "BSTR:0.1"}, {"R4:3.14159265", VT_BSTR, "BSTR:3.141593"},
    {"EMPTY", VT_BSTR, "BSTR:"},
    // Text to numbers.
    {"BSTR:42", VT_I4, "I4:42"}, {"BSTR:  -42\t", VT_I4, "I4:-42"}, {"BSTR:+7", VT_UI1, "UI1:7"},
    {"BSTR:12.5", VT_I4, "I4:12"}, {"BSTR:13.5", VT_I4, "I4:14"}, {"BSTR:1e3", VT_I2, "I2:1000"},
    {"BSTR:2.5E-1", VT_R8, "R8:0.25"}, {"BSTR:.5", VT_R4, "R4:0.5"}, {"BSTR:-0", VT_UI4, "UI4:0"},
    {"BSTR:9223372036854775807", VT_I8, "I8:9223372036854775807"},
    {"BSTR:-9223372036854775808", VT_I8, "I8:-9223372036854775808"}, {"BSTR:9223372036854775808", VT_I8, "overflow"},
    {"BSTR:18446744073709551615", VT_UI8, "UI8:18446744073709551615"},
    {"BSTR:18446744073709551616", VT_UI8, "overflow"}, {"BSTR:99999999999999999999", VT_R8, "R8:1e+20"},
    {"BSTR:1e400", VT_R8, "overflow"}, {"BSTR:-1", VT_UI4, "overflow"},
    // Text that is no number.
    {"BSTR:", VT_I4, "mismatch"}, {"BSTR:abc", VT_I4, "mismatch"}, {"BSTR:12abc", VT_I4, "mismatch"},
    {"BSTR:1 2", VT_I4, "mismatch"}, {"BSTR:--1", VT_I4, "mismatch"}, {"BSTR:0x10", VT_I4, "mismatch"},
    {"BSTR:1e", VT_R8, "mismatch"}, {"BSTR:inf", VT_R8, "mismatch"}, {"BSTR:\uFF11", VT_I4, "mismatch"},
    // Empty, and types that do not convert.
    {"EMPTY", VT_I4, "I4:0"}, {"EMPTY", VT_BOOL, "BOOL:0"}, {"I4:5", VT_EMPTY, "EMPTY"}, {"NULL", VT_NULL, "NULL"},
    {"NULL", VT_I4, "mismatch"}, {"I4:1", VT_NULL, "mismatch"}, {"DATE:1", VT_BSTR, "mismatch"},
    {"I4:1", VT_CY, "mismatch"}, {"I4:1", VT_UNKNOWN, "mismatch"},
    // Types that are no target.
    {"I4:1", VT_VARIANT, "bad type"}, {"I4:1", VT_DECIMAL, "bad type"}, {"I4:1", 0x0FFF, "bad type"},
    {"I4:1", VT_BYREF | VT_I4, "bad type"}, {"I4:1", VT_ARRAY | VT_I4, "bad type"},
};

TEST(Variant, ConversionTable) {
    for (const Conversion& row : kConversions) {
        VARIANT from = Make(row.from), to = Make("I2:77");
        EXPECT_EQ(Change(to, from, row.to, row.flags), row.result) << row.from << " to vt " << row.to;
        VariantClear(&from);
        VariantClear(&to);
    }
}

// The destination.

TEST(Variant, DestinationMayBeTheSourceOldOneIsFreedAndBadArgumentsRefused) {
    VARIANT v = Make("BSTR:123");
    EXPECT_EQ(Change(v, v, VT_I4), "I4:123");
    EXPECT_EQ(Change(v, v, VT_BSTR), "BSTR:123");
    EXPECT_EQ(Change(v, v, VT_BSTR), "BSTR:123");
    VARIANT from = Make("I4:1");
    EXPECT_EQ(Change(v, from, VT_BSTR), "BSTR:1");  // the old string is freed
    VariantClear(&v);
    v.vt = 0x0FFF;
    EXPECT_EQ(Change(v, from, VT_I2), "bad type");
    from.vt = 0x0FFF;
    VariantInit(&v);
    EXPECT_EQ(Change(v, from, VT_I2), "bad type");
    EXPECT_EQ(VariantChangeType(nullptr, &v, 0, VT_I2), E_INVALIDARG);
    EXPECT_EQ(VariantChangeType(&v, nullptr, 0, VT_I2), E_INVALIDARG);
}

// Values held by reference.

TEST(Variant, ByReferenceSourcesAreReadThrough) {
    SHORT number = 12;
    BSTR text = SysAllocString(u"34");
    VARIANT inner = Ref(VT_I2, &number), to = Make("EMPTY"), from = Ref(VT_I2, &number);
    EXPECT_EQ(Change(to, from, VT_BSTR), "BSTR:12");
    from = Ref(VT_BSTR, &text);
    EXPECT_EQ(Change(to, from, VT_BSTR), "BSTR:34");
    EXPECT_NE(to.bstrVal, text);
    from = Ref(VT_VARIANT, &inner);
    EXPECT_EQ(Change(to, from, VT_R8), "R8:12");
    VARIANT too_deep = Ref(VT_VARIANT, &from);
    EXPECT_EQ(Change(to, too_deep, VT_I4), "bad type");
    from = Ref(VT_I4, nullptr);
    EXPECT_EQ(Change(to, from, VT_I4), "invalid argument");
    from = Ref(VT_DECIMAL, &number);
    EXPECT_EQ(Change(to, from, VT_I4), "mismatch");
    // Clearing a reference leaves what it points at alone.
    from = Ref(VT_BSTR, &text);
    EXPECT_EQ(VariantClear(&from), S_OK);
    EXPECT_EQ(from.vt, VT_EMPTY);
    EXPECT_EQ(SysStringLen(text), 2u);
    SysFreeString(text);
    VariantClear(&to);
}

// Ownership.

TEST(Variant, CopyIsDeepForStringsAndShallowForReferences) {
    VARIANT from = Make("EMPTY"), to = Make("BSTR:old");
    from.vt = VT_BSTR;
    from.bstrVal = SysAllocStringByteLen("abc", 3);
    EXPECT_EQ(VariantCopy(&to, &from), S_OK);
    EXPECT_EQ(to.vt, VT_BSTR);
    EXPECT_NE(to.bstrVal, from.bstrVal);
    EXPECT_EQ(SysStringByteLen(to.bstrVal), 3u);
    EXPECT_EQ(std::memcmp(to.bstrVal, "abc", 3), 0);
    EXPECT_EQ(VariantCopy(&to, &to), S_OK);
    VARIANT reference = Ref(VT_BSTR, &from.bstrVal);
    EXPECT_EQ(VariantCopy(&to, &reference), S_OK);
    EXPECT_EQ(to.pbstrVal, &from.bstrVal);
    VariantClear(&to);
    VariantClear(&from);
    from.vt = 0x0FFF;
    EXPECT_EQ(VariantCopy(&to, &from), DISP_E_BADVARTYPE);
    EXPECT_EQ(VariantClear(&from), DISP_E_BADVARTYPE);
    EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
    EXPECT_EQ(VariantCopy(nullptr, &to), E_INVALIDARG);
}

// An object that counts its references and answers IDispatch only when asked to.
class CountedObject final : public IDispatch {
public:
    explicit CountedObject(bool dispatchable) : dispatchable_(dispatchable) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        const bool answers = riid == IID_IUnknown || (dispatchable_ && riid == IID_IDispatch);
        *object = answers ? static_cast<IDispatch*>(this) : nullptr;
        if (answers) AddRef();
        return answers ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    std::atomic<ULONG> references{1};

private:
    bool dispatchable_;
};

TEST(Variant, ObjectsAreReferencedAndQueried) {
    CountedObject object(true), plain(false);
    VARIANT from = Make("EMPTY"), to = Make("EMPTY");
    from.vt = VT_UNKNOWN;
    from.punkVal = &object;
    EXPECT_EQ(VariantCopy(&to, &from), S_OK);
    EXPECT_EQ(object.references, 2u);
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), S_OK);
    EXPECT_EQ(to.vt, VT_DISPATCH);
    EXPECT_EQ(to.pdispVal, &object);
    EXPECT_EQ(object.references, 2u);
    EXPECT_EQ(Change(to, to, VT_I4), "mismatch");
    EXPECT_EQ(VariantClear(&to), S_OK);
    EXPECT_EQ(object.references, 1u);
    from.punkVal = &plain;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(plain.references, 1u);
    // Null objects convert to null objects, and empty to a null object.
    from.punkVal = nullptr;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), S_OK);
    EXPECT_EQ(to.vt, VT_DISPATCH);
    EXPECT_EQ(to.pdispVal, nullptr);
    VariantInit(&from);
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_UNKNOWN), S_OK);
    EXPECT_EQ(to.vt, VT_UNKNOWN);
    EXPECT_EQ(to.punkVal, nullptr);
    // By reference: read through, referenced anew, and the reference itself never released.
    IUnknown* held = &object;
    from = Ref(VT_UNKNOWN, &held);
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), S_OK);
    EXPECT_EQ(object.references, 2u);
    VariantClear(&from);
    VariantClear(&to);
    EXPECT_EQ(object.references, 1u);
}

}  // namespace

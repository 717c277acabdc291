// Variants: ownership (clear, copy, by-reference values) and the conversion rules of VariantChangeType,
// mostly as a table written in a small notation: "I4:42" is a variant of type VT_I4 holding 42.
#include <scrivix/scrivix.h>

#include <gtest/gtest.h>

#include <atomic>
#include <charconv>
#include <cstring>
#include <map>
#include <string>

namespace {

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
    case VT_BSTR: v.bstrVal = SysAllocString(std::u16string(value.begin(), value.end()).c_str()); break;
    }
    return v;
}

std::string Shortest(double value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

// Writes a variant in the notation.
std::string Show(const VARIANT& v) {
    std::string name = "?";
    for (const auto& [type_name, type] : kTypeNames)
        if (type == v.vt) name = type_name;
    switch (v.vt) {
    case VT_EMPTY: case VT_NULL: return name;
    case VT_I1: return name + ":" + std::to_string(static_cast<int8_t>(v.cVal));
    case VT_UI1: return name + ":" + std::to_string(v.bVal);
    case VT_I2: case VT_BOOL: return name + ":" + std::to_string(v.iVal);
    case VT_UI2: return name + ":" + std::to_string(v.uiVal);
    case VT_I4: case VT_INT: case VT_ERROR: return name + ":" + std::to_string(v.lVal);
    case VT_UI4: case VT_UINT: return name + ":" + std::to_string(v.ulVal);
    case VT_I8: return name + ":" + std::to_string(v.llVal);
    case VT_UI8: return name + ":" + std::to_string(v.ullVal);
    case VT_R4: return name + ":" + Shortest(v.fltVal);
    case VT_R8: case VT_DATE: return name + ":" + Shortest(v.dblVal);
    case VT_BSTR: return name + ":" + std::string(v.bstrVal, v.bstrVal + SysStringLen(v.bstrVal));
    default: return "vt " + std::to_string(v.vt);
    }
}

struct Conversion {
    const char* from;
    VARTYPE to;
    const char* result;  // in the notation, or null when `status` is a failure
    HRESULT status = S_OK;
    USHORT flags = 0;
};

const Conversion kConversions[] = {
    // Integers between widths.
    {"I4:42", VT_I2, "I2:42"},
    {"I4:32768", VT_I2, nullptr, DISP_E_OVERFLOW},
    {"I4:-32769", VT_I2, nullptr, DISP_E_OVERFLOW},
    {"I4:255", VT_UI1, "UI1:255"},
    {"I4:256", VT_UI1, nullptr, DISP_E_OVERFLOW},
    {"I2:-1", VT_UI1, nullptr, DISP_E_OVERFLOW},
    {"I4:-128", VT_I1, "I1:-128"},
    {"I4:128", VT_I1, nullptr, DISP_E_OVERFLOW},
    {"I4:-5", VT_INT, "INT:-5"},
    {"INT:-1", VT_UINT, nullptr, DISP_E_OVERFLOW},
    {"UI4:4294967295", VT_I4, nullptr, DISP_E_OVERFLOW},
    {"UI4:4294967295", VT_I8, "I8:4294967295"},
    {"I8:-9223372036854775808", VT_UI8, nullptr, DISP_E_OVERFLOW},
    {"UI8:18446744073709551615", VT_I8, nullptr, DISP_E_OVERFLOW},
    {"UI8:18446744073709551615", VT_R8, "R8:18446744073709551616"},
    // Floating values become integers rounding half to even.
    {"R8:2.5", VT_I4, "I4:2"},
    {"R8:3.5", VT_I4, "I4:4"},
    {"R8:-2.5", VT_I4, "I4:-2"},
    {"R4:1.5", VT_I2, "I2:2"},
    {"R8:-0.5", VT_UI1, "UI1:0"},
    {"R8:2147483647.4", VT_I4, "I4:2147483647"},
    {"R8:2147483647.5", VT_I4, nullptr, DISP_E_OVERFLOW},
    {"R8:-2147483648.5", VT_I4, "I4:-2147483648"},
    {"R8:1e19", VT_UI8, "UI8:10000000000000000000"},
    {"R8:nan", VT_I4, nullptr, DISP_E_OVERFLOW},
    {"R8:0.25", VT_R4, "R4:0.25"},
    {"R8:1e300", VT_R4, nullptr, DISP_E_OVERFLOW},
    // Truth values are -1 and 0.
    {"BOOL:-1", VT_I4, "I4:-1"},
    {"BOOL:0", VT_I2, "I2:0"},
    {"BOOL:-1", VT_R8, "R8:-1"},
    {"BOOL:-1", VT_UI1, nullptr, DISP_E_OVERFLOW},
    {"I4:2", VT_BOOL, "BOOL:-1"},
    {"R8:0.1", VT_BOOL, "BOOL:-1"},
    {"BOOL:-1", VT_BSTR, "BSTR:-1"},
    {"BOOL:0", VT_BSTR, "BSTR:0"},
    {"BOOL:-1", VT_BSTR, "BSTR:True", S_OK, VARIANT_ALPHABOOL},
    {"BOOL:0", VT_BSTR, "BSTR:False", S_OK, VARIANT_ALPHABOOL},
    {"BSTR:True", VT_BOOL, "BOOL:-1"},
    {"BSTR: false ", VT_BOOL, "BOOL:0"},
    {"BSTR:0", VT_BOOL, "BOOL:0"},
    {"BSTR:-3.5", VT_BOOL, "BOOL:-1"},
    {"BSTR:yes", VT_BOOL, nullptr, DISP_E_TYPEMISMATCH},
    // Numbers to text.
    {"I4:-42", VT_BSTR, "BSTR:-42"},
    {"UI8:18446744073709551615", VT_BSTR, "BSTR:18446744073709551615"},
    {"R8:2.5", VT_BSTR, "BSTR:2.5"},
    {"R8:0.1", VT_BSTR, "BSTR:0.1"},
    {"R8:3.14159265358979323", VT_BSTR, "BSTR:3.14159265358979"},
    {"R8:123456789012345", VT_BSTR, "BSTR:123456789012345"},
    {"R8:1e15", VT_BSTR, "BSTR:1E+15"},
    {"R8:1e-5", VT_BSTR, "BSTR:1E-05"},
    {"R4:0.1", VT_BSTR, "BSTR:0.1"},
    {"R4:3.14159265", VT_BSTR, "BSTR:3.141593"},
    {"EMPTY", VT_BSTR, "BSTR:"},
    // Text to numbers.
    {"BSTR:42", VT_I4, "I4:42"},
    {"BSTR:  -42\t", VT_I4, "I4:-42"},
    {"BSTR:+7", VT_UI1, "UI1:7"},
    {"BSTR:12.5", VT_I4, "I4:12"},
    {"BSTR:13.5", VT_I4, "I4:14"},
    {"BSTR:1e3", VT_I2, "I2:1000"},
    {"BSTR:2.5E-1", VT_R8, "R8:0.25"},
    {"BSTR:.5", VT_R4, "R4:0.5"},
    {"BSTR:-0", VT_UI4, "UI4:0"},
    {"BSTR:9223372036854775807", VT_I8, "I8:9223372036854775807"},
    {"BSTR:-9223372036854775808", VT_I8, "I8:-9223372036854775808"},
    {"BSTR:9223372036854775808", VT_I8, nullptr, DISP_E_OVERFLOW},
    {"BSTR:18446744073709551615", VT_UI8, "UI8:18446744073709551615"},
    {"BSTR:18446744073709551616", VT_UI8, nullptr, DISP_E_OVERFLOW},
    {"BSTR:99999999999999999999", VT_R8, "R8:1e+20"},
    {"BSTR:1e400", VT_R8, nullptr, DISP_E_OVERFLOW},
    {"BSTR:-1", VT_UI4, nullptr, DISP_E_OVERFLOW},
    // Text that is no number.
    {"BSTR:", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:abc", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:12abc", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:1 2", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:--1", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:0x10", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:1e", VT_R8, nullptr, DISP_E_TYPEMISMATCH},
    {"BSTR:inf", VT_R8, nullptr, DISP_E_TYPEMISMATCH},
    // Empty, and types that do not convert.
    {"EMPTY", VT_I4, "I4:0"},
    {"EMPTY", VT_BOOL, "BOOL:0"},
    {"I4:5", VT_EMPTY, "EMPTY"},
    {"NULL", VT_NULL, "NULL"},
    {"NULL", VT_I4, nullptr, DISP_E_TYPEMISMATCH},
    {"I4:1", VT_NULL, nullptr, DISP_E_TYPEMISMATCH},
    {"DATE:1", VT_BSTR, nullptr, DISP_E_TYPEMISMATCH},
    {"I4:1", VT_CY, nullptr, DISP_E_TYPEMISMATCH},
    {"I4:1", VT_UNKNOWN, nullptr, DISP_E_TYPEMISMATCH},
    // Types that are no target.
    {"I4:1", VT_VARIANT, nullptr, DISP_E_BADVARTYPE},
    {"I4:1", VT_DECIMAL, nullptr, DISP_E_BADVARTYPE},
    {"I4:1", 0x0FFF, nullptr, DISP_E_BADVARTYPE},
    {"I4:1", VT_BYREF | VT_I4, nullptr, DISP_E_BADVARTYPE},
    {"I4:1", VT_ARRAY | VT_I4, nullptr, DISP_E_BADVARTYPE},
};

TEST(Variant, ConversionTable) {
    for (const Conversion& row : kConversions) {
        VARIANT from = Make(row.from);
        const std::string source = Show(from);
        VARIANT to = Make("I2:77");
        EXPECT_EQ(VariantChangeType(&to, &from, row.flags, row.to), row.status) << row.from << " to vt " << row.to;
        EXPECT_EQ(Show(to), row.result != nullptr ? row.result : "I2:77") << row.from << " to vt " << row.to;
        EXPECT_EQ(Show(from), source);
        VariantClear(&from);
        VariantClear(&to);
    }
}

TEST(Variant, TextBeyondAsciiIsNoNumber) {
    VARIANT from;
    from.vt = VT_BSTR;
    from.bstrVal = SysAllocString(u"\uFF11");
    VARIANT to;
    VariantInit(&to);
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_I4), DISP_E_TYPEMISMATCH);
    VariantClear(&from);
}

// The destination.

TEST(Variant, DestinationMayBeTheSource) {
    VARIANT v = Make("BSTR:123");
    EXPECT_EQ(VariantChangeType(&v, &v, 0, VT_I4), S_OK);
    EXPECT_EQ(Show(v), "I4:123");
    EXPECT_EQ(VariantChangeType(&v, &v, 0, VT_BSTR), S_OK);
    EXPECT_EQ(VariantChangeType(&v, &v, 0, VT_BSTR), S_OK);
    EXPECT_EQ(Show(v), "BSTR:123");
    VariantClear(&v);
}

TEST(Variant, OldDestinationIsFreedAndBadDestinationRefused) {
    VARIANT from = Make("I4:1");
    VARIANT to = Make("BSTR:old");
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_BSTR), S_OK);
    EXPECT_EQ(Show(to), "BSTR:1");
    VariantClear(&to);
    to.vt = 0x0FFF;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_I2), DISP_E_BADVARTYPE);
    from.vt = 0x0FFF;
    VariantInit(&to);
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_I2), DISP_E_BADVARTYPE);
    EXPECT_EQ(VariantChangeType(nullptr, &to, 0, VT_I2), E_INVALIDARG);
    EXPECT_EQ(VariantChangeType(&to, nullptr, 0, VT_I2), E_INVALIDARG);
}

// Values held by reference.

TEST(Variant, ByReferenceSourcesAreReadThrough) {
    SHORT number = 12;
    BSTR text = SysAllocString(u"34");
    VARIANT inner;
    inner.vt = VT_BYREF | VT_I2;
    inner.piVal = &number;
    VARIANT to;
    VariantInit(&to);

    VARIANT from;
    from.vt = VT_BYREF | VT_I2;
    from.piVal = &number;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_BSTR), S_OK);
    EXPECT_EQ(Show(to), "BSTR:12");
    from.vt = VT_BYREF | VT_BSTR;
    from.pbstrVal = &text;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_BSTR), S_OK);
    EXPECT_NE(to.bstrVal, text);
    EXPECT_EQ(Show(to), "BSTR:34");
    from.vt = VT_BYREF | VT_VARIANT;
    from.pvarVal = &inner;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_R8), S_OK);
    EXPECT_EQ(Show(to), "R8:12");

    VARIANT too_deep;
    too_deep.vt = VT_BYREF | VT_VARIANT;
    too_deep.pvarVal = &from;
    EXPECT_EQ(VariantChangeType(&to, &too_deep, 0, VT_I4), DISP_E_BADVARTYPE);
    from.vt = VT_BYREF | VT_I4;
    from.plVal = nullptr;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_I4), E_INVALIDARG);
    from.vt = VT_BYREF | VT_DECIMAL;
    from.byref = &number;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_I4), DISP_E_TYPEMISMATCH);

    // Clearing a reference leaves what it points at alone.
    from.vt = VT_BYREF | VT_BSTR;
    from.pbstrVal = &text;
    EXPECT_EQ(VariantClear(&from), S_OK);
    EXPECT_EQ(from.vt, VT_EMPTY);
    EXPECT_EQ(SysStringLen(text), 2u);
    SysFreeString(text);
    VariantClear(&to);
}

// Ownership.

TEST(Variant, CopyIsDeepForStringsAndShallowForReferences) {
    VARIANT from;
    from.vt = VT_BSTR;
    from.bstrVal = SysAllocStringByteLen("abc", 3);
    VARIANT to = Make("BSTR:old");
    EXPECT_EQ(VariantCopy(&to, &from), S_OK);
    EXPECT_EQ(to.vt, VT_BSTR);
    EXPECT_NE(to.bstrVal, from.bstrVal);
    EXPECT_EQ(SysStringByteLen(to.bstrVal), 3u);
    EXPECT_EQ(std::memcmp(to.bstrVal, "abc", 3), 0);
    EXPECT_EQ(VariantCopy(&to, &to), S_OK);

    VARIANT reference;
    reference.vt = VT_BYREF | VT_BSTR;
    reference.pbstrVal = &from.bstrVal;
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
        if (riid == IID_IUnknown || (dispatchable_ && riid == IID_IDispatch)) {
            *object = static_cast<IDispatch*>(this);
            AddRef();
            return S_OK;
        }
        *object = nullptr;
        return E_NOINTERFACE;
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
    CountedObject object(true);
    VARIANT from;
    from.vt = VT_UNKNOWN;
    from.punkVal = &object;
    VARIANT to;
    VariantInit(&to);
    EXPECT_EQ(VariantCopy(&to, &from), S_OK);
    EXPECT_EQ(object.references, 2u);
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), S_OK);
    EXPECT_EQ(to.vt, VT_DISPATCH);
    EXPECT_EQ(to.pdispVal, &object);
    EXPECT_EQ(object.references, 2u);
    EXPECT_EQ(VariantChangeType(&to, &to, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VariantClear(&to), S_OK);
    EXPECT_EQ(object.references, 1u);

    CountedObject plain(false);
    from.punkVal = &plain;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(plain.references, 1u);
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
    from.vt = VT_BYREF | VT_UNKNOWN;
    from.ppunkVal = &held;
    EXPECT_EQ(VariantChangeType(&to, &from, 0, VT_DISPATCH), S_OK);
    EXPECT_EQ(object.references, 2u);
    VariantClear(&from);
    VariantClear(&to);
    EXPECT_EQ(object.references, 1u);
}

}  // namespace

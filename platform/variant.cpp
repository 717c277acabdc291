// Variants: self-describing values that carry the arguments and results of late-bound calls. A variant
// owns the string or the interface reference it holds (unless it holds it by reference); conversion
// between types follows the rules of automation: numbers keep their value or fail with an overflow,
// floating values round half to even when they become integers, truth values are -1 and 0, and text
// is read and written as decimal numbers, "True" and "False".
#include <scrivix/scrivix.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace {

VARTYPE WithoutByRef(VARTYPE vt) { return static_cast<VARTYPE>(vt & ~VT_BYREF); }

// The size of the value held by a variant of by-value type `type`; -1 for a type this platform does not
// know. Safe arrays and records are not part of this platform.
int ValueSize(VARTYPE type) {
    switch (type) {
    case VT_EMPTY: case VT_NULL:
        return 0;
    case VT_I1: case VT_UI1:
        return 1;
    case VT_I2: case VT_UI2: case VT_BOOL:
        return 2;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_R4: case VT_ERROR:
        return 4;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE:
        return 8;
    case VT_BSTR: case VT_UNKNOWN: case VT_DISPATCH:
        return sizeof(void*);
    default:
        return -1;
    }
}

bool IsValidType(VARTYPE vt) {
    if ((vt & VT_BYREF) == 0) return ValueSize(vt) >= 0;
    const VARTYPE base = WithoutByRef(vt);
    return ValueSize(base) > 0 || base == VT_VARIANT || base == VT_DECIMAL;
}

bool IsObjectType(VARTYPE vt) { return vt == VT_UNKNOWN || vt == VT_DISPATCH; }

IUnknown* ObjectOf(const VARIANT& v) { return v.vt == VT_DISPATCH ? v.pdispVal : v.punkVal; }

// Reads through a by-reference variant: `view` gets the value pointed at, borrowed (nothing is copied
// or referenced). A variant reference may point at a variant that holds its value by reference, but
// no deeper.
HRESULT Dereference(const VARIANT& source, VARIANT& view, bool through_variant = false) {
    if (!IsValidType(source.vt)) return DISP_E_BADVARTYPE;
    if ((source.vt & VT_BYREF) == 0) {
        view = source;
        return S_OK;
    }
    if (source.byref == nullptr) return E_INVALIDARG;
    const VARTYPE base = WithoutByRef(source.vt);
    if (base == VT_VARIANT) return through_variant ? DISP_E_BADVARTYPE : Dereference(*source.pvarVal, view, true);
    const int size = ValueSize(base);
    if (size <= 0) return DISP_E_TYPEMISMATCH;
    view = VARIANT{};
    view.vt = base;
    std::memcpy(&view.llVal, source.byref, static_cast<size_t>(size));
    return S_OK;
}

// ---------------------------------------------------------------------------------------------------------
// Numbers between types.

// A number on its way from one type to another: integers exactly, floating values with the precision of
// the type they came from, which decides how many digits their text shows.
using Number = std::variant<int64_t, uint64_t, float, double>;

// Halves go to the even neighbour, whatever the floating-point rounding mode of the calling thread.
double RoundHalfEven(double value) {
    if (std::fabs(value - std::trunc(value)) == 0.5) return 2.0 * std::round(value / 2.0);
    return std::round(value);
}

template <class Target>
HRESULT StoreNumber(const Number& number, Target& out) {
    return std::visit(
        [&out](auto value) -> HRESULT {
            using Source = decltype(value);
            if constexpr (std::is_floating_point_v<Target>) {
                const double real = static_cast<double>(value);
                if (std::isfinite(real) && std::fabs(real) > std::numeric_limits<Target>::max())
                    return DISP_E_OVERFLOW;
                out = static_cast<Target>(real);
            } else if constexpr (std::is_floating_point_v<Source>) {
                // The bounds are powers of two, so they are exact as doubles; NaN fails both tests.
                const double rounded = RoundHalfEven(value);
                if (!(rounded >= static_cast<double>(std::numeric_limits<Target>::min()) &&
                      rounded < std::ldexp(1.0, std::numeric_limits<Target>::digits)))
                    return DISP_E_OVERFLOW;
                out = static_cast<Target>(rounded);
            } else {
                if (!std::in_range<Target>(value)) return DISP_E_OVERFLOW;
                out = static_cast<Target>(value);
            }
            return S_OK;
        },
        number);
}

bool IsNonZero(const Number& number) {
    return std::visit([](auto value) { return value != 0; }, number);
}

// Text without the spaces around it; a null string is empty.
std::u16string_view Trimmed(BSTR text) {
    std::u16string_view view(text == nullptr ? u"" : text, SysStringLen(text));
    constexpr std::u16string_view kSpaces = u" \t\r\n";
    const size_t first = view.find_first_not_of(kSpaces);
    if (first == view.npos) return {};
    return view.substr(first, view.find_last_not_of(kSpaces) - first + 1);
}

// Reads decimal text: an optional sign, then digits with an optional fraction and exponent. Whole
// numbers are read exactly; others, and whole numbers beyond 64 bits, as doubles.
HRESULT ParseNumber(BSTR text, Number& number) {
    const std::u16string_view trimmed = Trimmed(text);
    std::string ascii;
    ascii.reserve(trimmed.size());
    for (char16_t c : trimmed) {
        if (c > 0x7F) return DISP_E_TYPEMISMATCH;
        ascii += static_cast<char>(c);
    }
    const char* first = ascii.data();
    const char* const last = first + ascii.size();
    const bool negative = first != last && *first == '-';
    if (first != last && (*first == '-' || *first == '+')) ++first;
    // from_chars would also take "inf" and "nan", which are not numbers here.
    if (first == last || !(std::isdigit(static_cast<unsigned char>(*first)) || *first == '.'))
        return DISP_E_TYPEMISMATCH;

    uint64_t magnitude = 0;
    if (const auto [end, error] = std::from_chars(first, last, magnitude); error == std::errc() && end == last) {
        constexpr uint64_t kMostNegative = uint64_t{1} << 63;
        if (!negative) {
            number = magnitude;
            return S_OK;
        }
        if (magnitude <= kMostNegative) {
            number = magnitude == 0 ? int64_t{0} : -static_cast<int64_t>(magnitude - 1) - 1;
            return S_OK;
        }
    }
    double real = 0;
    const auto [end, error] = std::from_chars(first, last, real);
    if (error == std::errc::result_out_of_range) return DISP_E_OVERFLOW;
    if (error != std::errc() || end != last) return DISP_E_TYPEMISMATCH;
    number = negative ? -real : real;
    return S_OK;
}

// Automation shows 7 significant digits of a single and 15 of a double, with exponents as "E+20".
BSTR FormatNumber(const Number& number) {
    char text[64];
    const char* const end = std::visit(
        [&text](auto value) {
            using Source = decltype(value);
            if constexpr (std::is_floating_point_v<Source>) {
                constexpr int kDigits = std::is_same_v<Source, float> ? 7 : 15;
                return std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, kDigits).ptr;
            } else {
                return std::to_chars(std::begin(text), std::end(text), value).ptr;
            }
        },
        number);
    OLECHAR wide[std::size(text)];
    const size_t length = static_cast<size_t>(end - text);
    for (size_t i = 0; i < length; ++i)
        wide[i] = static_cast<OLECHAR>(std::toupper(static_cast<unsigned char>(text[i])));
    return SysAllocStringLen(wide, static_cast<UINT>(length));
}

HRESULT ReadNumber(const VARIANT& source, Number& number) {
    switch (source.vt) {
    case VT_EMPTY: number = int64_t{0}; return S_OK;
    case VT_I1: number = int64_t{static_cast<int8_t>(source.cVal)}; return S_OK;
    case VT_UI1: number = uint64_t{source.bVal}; return S_OK;
    case VT_I2: number = int64_t{source.iVal}; return S_OK;
    case VT_UI2: number = uint64_t{source.uiVal}; return S_OK;
    case VT_I4: number = int64_t{source.lVal}; return S_OK;
    case VT_UI4: number = uint64_t{source.ulVal}; return S_OK;
    case VT_INT: number = int64_t{source.intVal}; return S_OK;
    case VT_UINT: number = uint64_t{source.uintVal}; return S_OK;
    case VT_I8: number = int64_t{source.llVal}; return S_OK;
    case VT_UI8: number = uint64_t{source.ullVal}; return S_OK;
    case VT_R4: number = source.fltVal; return S_OK;
    case VT_R8: number = source.dblVal; return S_OK;
    case VT_BOOL: number = int64_t{source.boolVal != 0 ? -1 : 0}; return S_OK;
    case VT_BSTR: return ParseNumber(source.bstrVal, number);
    default: return DISP_E_TYPEMISMATCH;
    }
}

HRESULT WriteNumber(const Number& number, VARTYPE vt, VARIANT& out) {
    switch (vt) {
    case VT_I1: {
        int8_t value = 0;
        const HRESULT hr = StoreNumber(number, value);
        out.cVal = static_cast<char>(value);
        return hr;
    }
    case VT_UI1: return StoreNumber(number, out.bVal);
    case VT_I2: return StoreNumber(number, out.iVal);
    case VT_UI2: return StoreNumber(number, out.uiVal);
    case VT_I4: return StoreNumber(number, out.lVal);
    case VT_UI4: return StoreNumber(number, out.ulVal);
    case VT_INT: return StoreNumber(number, out.intVal);
    case VT_UINT: return StoreNumber(number, out.uintVal);
    case VT_I8: return StoreNumber(number, out.llVal);
    case VT_UI8: return StoreNumber(number, out.ullVal);
    case VT_R4: return StoreNumber(number, out.fltVal);
    case VT_R8: return StoreNumber(number, out.dblVal);
    case VT_BOOL: out.boolVal = IsNonZero(number) ? VARIANT_TRUE : VARIANT_FALSE; return S_OK;
    case VT_BSTR: out.bstrVal = FormatNumber(number); return out.bstrVal == nullptr ? E_OUTOFMEMORY : S_OK;
    default: return DISP_E_TYPEMISMATCH;
    }
}

// ---------------------------------------------------------------------------------------------------------
// Truth values and objects.

bool EqualsIgnoringCase(std::u16string_view text, std::u16string_view word) {
    if (text.size() != word.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if ((c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c) != word[i]) return false;
    }
    return true;
}

HRESULT ParseTruth(BSTR text, VARIANT_BOOL& out) {
    const std::u16string_view trimmed = Trimmed(text);
    if (EqualsIgnoringCase(trimmed, u"true") || EqualsIgnoringCase(trimmed, u"false")) {
        out = trimmed.size() == 4 ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    Number number;
    const HRESULT hr = ParseNumber(text, number);
    if (SUCCEEDED(hr)) out = IsNonZero(number) ? VARIANT_TRUE : VARIANT_FALSE;
    return hr;
}

// An object reference of the other kind is asked for by QueryInterface; nothing and a null reference
// both become a null reference.
HRESULT ToObject(const VARIANT& source, VARTYPE vt, VARIANT& out) {
    if (source.vt != VT_EMPTY && !IsObjectType(source.vt)) return DISP_E_TYPEMISMATCH;
    IUnknown* const object = source.vt == VT_EMPTY ? nullptr : ObjectOf(source);
    void* answer = nullptr;
    if (object != nullptr && FAILED(object->QueryInterface(vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown, &answer)))
        return DISP_E_TYPEMISMATCH;
    if (vt == VT_DISPATCH)
        out.pdispVal = static_cast<IDispatch*>(answer);
    else
        out.punkVal = static_cast<IUnknown*>(answer);
    return S_OK;
}

// Text that is no number: nothing becomes the empty string, and a truth value may be asked for in words.
const char16_t* WordsFor(const VARIANT& source, USHORT flags) {
    if (source.vt == VT_EMPTY) return u"";
    if (source.vt == VT_BOOL && (flags & VARIANT_ALPHABOOL) != 0) return source.boolVal != 0 ? u"True" : u"False";
    return nullptr;
}

// Converts the value of a by-value `source` into `out`, leaving the type of `out` to the caller.
HRESULT ConvertValue(const VARIANT& source, USHORT flags, VARTYPE vt, VARIANT& out) {
    if (vt == VT_EMPTY) return S_OK;
    if (IsObjectType(vt)) return ToObject(source, vt, out);
    if (const char16_t* words = vt == VT_BSTR ? WordsFor(source, flags) : nullptr) {
        out.bstrVal = SysAllocString(words);
        return out.bstrVal == nullptr ? E_OUTOFMEMORY : S_OK;
    }
    if (vt == VT_BOOL && source.vt == VT_BSTR) return ParseTruth(source.bstrVal, out.boolVal);
    Number number;
    const HRESULT hr = ReadNumber(source, number);
    return SUCCEEDED(hr) ? WriteNumber(number, vt, out) : hr;
}

// Converts a by-value `source` into `out`, which is empty on entry and stays empty on failure.
HRESULT Convert(const VARIANT& source, USHORT flags, VARTYPE vt, VARIANT& out) {
    if (vt == source.vt) return VariantCopy(&out, &source);
    const HRESULT hr = ConvertValue(source, flags, vt, out);
    if (SUCCEEDED(hr)) out.vt = vt;
    return hr;
}

}  // namespace

extern "C" {

SCRIVIX_API void VariantInit(VARIANTARG* pvarg) {
    if (pvarg != nullptr) *pvarg = VARIANT{};
}

SCRIVIX_API HRESULT VariantClear(VARIANTARG* pvarg) {
    if (pvarg == nullptr) return E_INVALIDARG;
    if (!IsValidType(pvarg->vt)) return DISP_E_BADVARTYPE;
    // Emptied before anything is released, since a release may come back to this variant.
    const VARIANT old = *pvarg;
    VariantInit(pvarg);
    if (old.vt == VT_BSTR) {
        SysFreeString(old.bstrVal);
    } else if (IsObjectType(old.vt) && ObjectOf(old) != nullptr) {
        ObjectOf(old)->Release();
    }
    return S_OK;
}

SCRIVIX_API HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc) {
    if (pvargDest == nullptr || pvargSrc == nullptr) return E_INVALIDARG;
    if (pvargDest == pvargSrc) return S_OK;
    if (!IsValidType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
    // The copy is complete before the destination is cleared, because clearing it may free the source.
    VARIANT copy = *pvargSrc;
    if (copy.vt == VT_BSTR && copy.bstrVal != nullptr) {
        copy.bstrVal =
            SysAllocStringByteLen(reinterpret_cast<LPCSTR>(pvargSrc->bstrVal), SysStringByteLen(pvargSrc->bstrVal));
        if (copy.bstrVal == nullptr) return E_OUTOFMEMORY;
    } else if (IsObjectType(copy.vt) && ObjectOf(copy) != nullptr) {
        ObjectOf(copy)->AddRef();
    }
    const HRESULT hr = VariantClear(pvargDest);
    if (FAILED(hr)) {
        VariantClear(&copy);
        return hr;
    }
    *pvargDest = copy;
    return S_OK;
}

SCRIVIX_API HRESULT VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) {
    if (pvargDest == nullptr || pvarSrc == nullptr) return E_INVALIDARG;
    if (ValueSize(vt) < 0) return DISP_E_BADVARTYPE;
    try {
        VARIANT source;
        HRESULT hr = Dereference(*pvarSrc, source);
        if (FAILED(hr)) return hr;
        // The result is made apart and the destination cleared only then: the destination may be the source.
        VARIANT result{};
        hr = Convert(source, wFlags, vt, result);
        if (FAILED(hr)) return hr;
        hr = VariantClear(pvargDest);
        if (FAILED(hr)) {
            VariantClear(&result);
            return hr;
        }
        *pvargDest = result;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // extern "C"

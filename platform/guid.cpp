// GUIDs written as and read from their registry form. Both directions walk the same picture of the
// form, in which each X stands for one hex digit of the GUID's bytes in the order they are written:
// Data1, Data2 and Data3 most significant byte first, then the eight bytes of Data4.
#include "platform/guid.h"

#include <array>

namespace scrivix::platform {
namespace {

constexpr std::u16string_view kPicture = u"{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
static_assert(kPicture.size() == kGuidStringLength);

using WrittenBytes = std::array<uint8_t, 16>;

WrittenBytes ToWrittenOrder(const GUID& guid) {
    WrittenBytes bytes{};
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(guid.Data1 >> (24 - 8 * i));
    bytes[4] = static_cast<uint8_t>(guid.Data2 >> 8);
    bytes[5] = static_cast<uint8_t>(guid.Data2);
    bytes[6] = static_cast<uint8_t>(guid.Data3 >> 8);
    bytes[7] = static_cast<uint8_t>(guid.Data3);
    for (int i = 0; i < 8; ++i) bytes[8 + i] = guid.Data4[i];
    return bytes;
}

GUID FromWrittenOrder(const WrittenBytes& bytes) {
    GUID guid{};
    for (int i = 0; i < 4; ++i) guid.Data1 = guid.Data1 << 8 | bytes[i];
    guid.Data2 = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<uint16_t>(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i) guid.Data4[i] = bytes[8 + i];
    return guid;
}

// The shift of the n-th digit within its byte: the high half comes first.
int DigitShift(size_t digit) { return digit % 2 == 0 ? 4 : 0; }

int HexValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    return -1;
}

}  // namespace

void FormatGuid(const GUID& guid, OLECHAR* out) {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    const WrittenBytes bytes = ToWrittenOrder(guid);
    size_t digit = 0;
    for (char16_t c : kPicture) {
        if (c == u'X') {
            c = kDigits[bytes[digit / 2] >> DigitShift(digit) & 0xF];
            ++digit;
        }
        *out++ = c;
    }
}

std::u16string GuidToString(const GUID& guid) {
    std::u16string text(kGuidStringLength, u'\0');
    FormatGuid(guid, text.data());
    return text;
}

std::optional<GUID> GuidFromString(std::u16string_view text) {
    if (text.size() != kPicture.size()) return std::nullopt;
    WrittenBytes bytes{};
    size_t digit = 0;
    for (size_t i = 0; i < kPicture.size(); ++i) {
        if (kPicture[i] != u'X') {
            if (text[i] != kPicture[i]) return std::nullopt;
            continue;
        }
        const int value = HexValue(text[i]);
        if (value < 0) return std::nullopt;
        bytes[digit / 2] = static_cast<uint8_t>(bytes[digit / 2] | value << DigitShift(digit));
        ++digit;
    }
    return FromWrittenOrder(bytes);
}

}  // namespace scrivix::platform

extern "C" {

SCRIVIX_API int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
    constexpr int kWithTerminator = static_cast<int>(scrivix::platform::kGuidStringLength) + 1;
    if (lpsz == nullptr || cchMax < kWithTerminator) return 0;
    scrivix::platform::FormatGuid(rguid, lpsz);
    lpsz[scrivix::platform::kGuidStringLength] = u'\0';
    return kWithTerminator;
}

SCRIVIX_API HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid) {
    if (pclsid == nullptr) return E_INVALIDARG;
    *pclsid = GUID_NULL;
    if (lpsz == nullptr) return CO_E_CLASSSTRING;
    // Look no further than one character past the form: a longer text is malformed anyway.
    size_t length = 0;
    while (length <= scrivix::platform::kGuidStringLength && lpsz[length] != u'\0') ++length;
    const auto clsid = scrivix::platform::GuidFromString({lpsz, length});
    if (!clsid) return CO_E_CLASSSTRING;
    *pclsid = *clsid;
    return S_OK;
}

SCRIVIX_API BOOL IsEqualGUID(REFGUID rguid1, REFGUID rguid2) { return rguid1 == rguid2 ? TRUE : FALSE; }

}  // extern "C"

// Automation strings. A BSTR points at the characters of a block from the task allocator that begins
// with the string's length in bytes (32 bits) and ends with a zero character, so that the same pointer
// serves as a counted string and as a zero-terminated one. A null BSTR is the empty string.
#include <scrivix/scrivix.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

using LengthPrefix = uint32_t;
constexpr size_t kPrefixSize = sizeof(LengthPrefix);
static_assert(sizeof(size_t) == 8, "block sizes are computed in 64 bits and cannot wrap");

BYTE* BlockOf(BSTR text) { return reinterpret_cast<BYTE*>(text) - kPrefixSize; }

LengthPrefix ByteLength(BSTR text) {
    LengthPrefix length;
    std::memcpy(&length, BlockOf(text), kPrefixSize);
    return length;
}

// Makes a string of `byte_length` bytes, copied from `bytes` when given (left uninitialised otherwise).
// Everything after the contents is zeroed up to and including a whole terminating character, so an odd
// byte length ends with a zero byte and, at the next character boundary, a zero character. A length the
// prefix cannot hold, like a failed allocation, gives null.
BSTR Allocate(const void* bytes, uint64_t byte_length) {
    if (byte_length > std::numeric_limits<LengthPrefix>::max()) return nullptr;
    const size_t padded_length = (byte_length + 1) / 2 * 2;
    auto* block = static_cast<BYTE*>(CoTaskMemAlloc(kPrefixSize + padded_length + sizeof(OLECHAR)));
    if (block == nullptr) return nullptr;
    const auto prefix = static_cast<LengthPrefix>(byte_length);
    std::memcpy(block, &prefix, kPrefixSize);
    BYTE* text = block + kPrefixSize;
    if (bytes != nullptr) std::memcpy(text, bytes, byte_length);
    std::memset(text + byte_length, 0, padded_length - byte_length + sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(text);
}

}  // namespace

extern "C" {

SCRIVIX_API BSTR SysAllocString(const OLECHAR* psz) {
    if (psz == nullptr) return nullptr;
    return Allocate(psz, uint64_t{std::char_traits<OLECHAR>::length(psz)} * sizeof(OLECHAR));
}

SCRIVIX_API BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
    return Allocate(strIn, uint64_t{ui} * sizeof(OLECHAR));
}

SCRIVIX_API BSTR SysAllocStringByteLen(LPCSTR psz, UINT len) { return Allocate(psz, len); }

SCRIVIX_API void SysFreeString(BSTR bstrString) {
    if (bstrString != nullptr) CoTaskMemFree(BlockOf(bstrString));
}

SCRIVIX_API UINT SysStringLen(BSTR pbstr) {
    return pbstr == nullptr ? 0 : ByteLength(pbstr) / sizeof(OLECHAR);
}

SCRIVIX_API UINT SysStringByteLen(BSTR bstr) { return bstr == nullptr ? 0 : ByteLength(bstr); }

}  // extern "C"

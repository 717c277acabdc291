// GUIDs as text: the registry form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in which class ids and
// interface ids are written in the registry, in class-name properties and in error records.
#pragma once

#include <scrivix/scrivix.h>

#include <optional>
#include <string>
#include <string_view>

namespace scrivix::platform {

// The number of characters of the registry form, without a terminator.
constexpr size_t kGuidStringLength = 38;

// Writes the registry form, upper-case, into `out` (kGuidStringLength characters, no terminator).
void FormatGuid(const GUID& guid, OLECHAR* out);

// The registry form of `guid`, upper-case.
std::u16string GuidToString(const GUID& guid);

// Reads exactly the registry form, hex digits in either case; any other text gives nullopt.
std::optional<GUID> GuidFromString(std::u16string_view text);

}  // namespace scrivix::platform

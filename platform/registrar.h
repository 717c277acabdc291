// The registrar of the platform: runs a registry script against the hive (HKEY_CLASSES_ROOT), writing
// its keys and values when registering and removing them when unregistering. A module's registration is
// kept as such scripts.
//
// The script language, by example:
//
//   HKCR
//   {
//       'Scrivix.EditBufferA.1' = s 'EditBuffer (ANSI) Class'
//       NoRemove CLSID
//       {
//           ForceRemove {8A5C0001-0000-0000-0000-000000000000} = s 'EditBuffer (ANSI) Class'
//           {
//               InprocServer32 = s '%MODULE%'
//               {
//                   val ThreadingModel = s 'Both'
//               }
//           }
//       }
//   }
//
// - Replacements come first: %NAME% (the name compared without regard to case) becomes the caller's
//   text for NAME, anywhere in the script; %% is one "%". An unknown name is an error.
// - Tokens are separated by white space. A quoted text runs between single quotes ('' inside is one
//   quote) and needs no space around it. "{", "}" and "=" standing alone are punctuation, and so is a
//   word made of braces only ("{}"); any other run of characters is a word, so {8A5C...} is a key name.
// - A script is one or more roots, HKCR (or HKEY_CLASSES_ROOT) followed by a braced list of entries.
// - An entry is a key: [NoRemove | ForceRemove]... name [= value] [{ entries }]; or a named value:
//   val name = value. A name is a word or a quoted text; a keyword used as a name must be quoted.
// - A value is s 'text' (REG_SZ), d number (REG_DWORD; decimal or 0x hexadecimal) or b hexdigits
//   (REG_BINARY, two digits a byte). Keywords and type letters are matched without regard to case.
//
// Registering creates each key (and sets its values) in script order; ForceRemove first deletes the key
// with everything below it. Unregistering deletes each key with everything below it, except that a
// NoRemove key stays: the named values the script gives it are deleted and its subkeys are processed.
// Keys or values already missing are not an error.
#pragma once

#include <scrivix/scrivix.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace scrivix::platform {

// Pairs of replacement name (without the "%") and its text.
using RegistryReplacements = std::vector<std::pair<std::u16string, std::u16string>>;

// Nesting of keys deeper than this is an error of the script.
constexpr size_t kMaxScriptDepth = 128;

// Runs script in register (registering true) or unregister mode. The whole script is read before the
// hive is touched: a script that is not well formed fails with E_FAIL and writes nothing, and diagnostic
// (if given) receives "line N: what is wrong". A registry failure stops the run where it occurs and is
// returned as HRESULT_FROM_WIN32 of its status. The changes reach the registry file once, at the end.
HRESULT RunRegistryScript(std::u16string_view script, const RegistryReplacements& replacements, bool registering,
                          std::string* diagnostic = nullptr);

}  // namespace scrivix::platform

// Language presets: the ignore spans that step over one language's comments and strings.
#pragma once

#include "arguments.h"

#include <string>
#include <string_view>
#include <vector>

namespace scrivix_tool {

struct LanguagePreset {
    std::vector<std::string_view> names;  // the first is the one shown
    std::vector<SpanText> ignores;         // in the order they are added: earlier ones win ties
};

// The preset called name (or one of its aliases), or nullptr.
const LanguagePreset* FindPreset(std::string_view name);
// "c, cpp, python, shell, json", for help and messages.
std::string PresetNames();

}  // namespace scrivix_tool

// The presets, written with the library's own means: spans from an opening to a closing pattern, and
// spans without closing for single occurrences.
//
// The pattern language has no alternatives, so a string cannot be one expression that knows escapes.
// A string runs instead from its quote to the next quote that follows a character other than a
// backslash ('[^\\]"'); the closings that this cannot see are given as whole occurrences ahead of it:
// the empty string "" and the string of one escaped backslash "\\". Those are added first, so that at
// the same position they win over the opening quote. A string that ends in an escaped backslash after
// other text ("a\\") is the case left over: it runs on to the next quote.
#include "language_presets.h"

namespace scrivix_tool {
namespace {

SpanText Occurrence(std::string_view text) { return {{std::string(text), poNone}, {}}; }

SpanText Between(std::string_view opening, std::string_view closing, LONG closing_options = poNone) {
    return {{std::string(opening), poNone}, {std::string(closing), closing_options}};
}

// A comment from its opening to the end of its line (or of the file).
SpanText LineComment(std::string_view opening) { return Between(opening, ".*$", poRegExpression); }

// A string between two quote characters, in which a backslash escapes the quote.
std::vector<SpanText> EscapedStrings(char quote) {
    const std::string q(1, quote);
    return {Occurrence(q + q), Occurrence(q + "\\\\" + q), Between(q, "[^\\\\]" + q, poRegExpression)};
}

std::vector<SpanText> Join(std::initializer_list<std::vector<SpanText>> parts) {
    std::vector<SpanText> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

const std::vector<LanguagePreset>& Presets() {
    static const std::vector<LanguagePreset> presets = {
        {{"c"}, Join({{Between("/*", "*/"), LineComment("//")}, EscapedStrings('"'), EscapedStrings('\'')})},
        {{"cpp", "c++", "cxx"},
         Join({{Between("/*", "*/"), LineComment("//"), Between("R\"(", ")\"")},
               EscapedStrings('"'),
               EscapedStrings('\'')})},
        {{"python", "py"},
         Join({{Between("\"\"\"", "\"\"\""), Between("'''", "'''"), LineComment("#")},
               EscapedStrings('"'),
               EscapedStrings('\'')})},
        // "$#" and "${#" count arguments and lengths; they open no comment. Single quotes know no escapes.
        {{"shell", "sh", "bash"},
         Join({{Occurrence("$#"), Occurrence("${#"), LineComment("#"), Between("'", "'")}, EscapedStrings('"')})},
        {{"json"}, EscapedStrings('"')},
    };
    return presets;
}

}  // namespace

const LanguagePreset* FindPreset(std::string_view name) {
    for (const LanguagePreset& preset : Presets())
        for (std::string_view alias : preset.names)
            if (alias == name) return &preset;
    return nullptr;
}

std::string PresetNames() {
    std::string names;
    for (const LanguagePreset& preset : Presets()) {
        if (!names.empty()) names += ", ";
        names += preset.names.front();
    }
    return names;
}

}  // namespace scrivix_tool

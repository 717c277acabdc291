// Character classification for the literal search that is not a template: white space among 16-bit
// codes of 256 and above, as the classic locale classifies them (the program's own locale never
// matters).
#include "pattern/literal_search.h"

#include <locale>

namespace scrivix::literal_search_detail {

bool IsWideWhiteSpace(char16_t code) noexcept {
    static const auto& classic = std::use_facet<std::ctype<wchar_t>>(std::locale::classic());
    return classic.is(std::ctype_base::space, static_cast<wchar_t>(code));
}

}  // namespace scrivix::literal_search_detail

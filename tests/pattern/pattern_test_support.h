// Helpers of the search tests: texts written once as bytes and widened to either character width, and
// occurrences expressed in positions.
#pragma once

#include "pattern/literal_search.h"
#include "pattern/pattern_template.h"

#include <ostream>
#include <string>
#include <string_view>

namespace scrivix::test {

// Each byte becomes one character (8-bit: itself; 16-bit: its unsigned value).
template <typename T>
std::basic_string<T> Widen(std::string_view bytes) {
    std::basic_string<T> text;
    for (const char c : bytes) text += T(static_cast<unsigned char>(c));
    return text;
}

// A found occurrence [start, end), or kNone.
struct Span {
    long start;
    long end;
    bool operator==(const Span&) const = default;
};
inline constexpr Span kNone{-1, -1};
inline std::ostream& operator<<(std::ostream& out, const Span& span) {
    return out << '[' << span.start << ", " << span.end << ')';
}

// Searches with a compiled regular expression [from, to) of the text forwards, or backwards from `to` down to `from`.
template <typename T, CandidateScan kScan = CandidateScan::jump>
Span Find(DPatternTemplate<T>& program, const std::basic_string<T>& text, bool forward, long from, long to) {
    const T *b = text.data(), *z = b + text.size(), *start = nullptr, *end = nullptr;
    const bool found = forward ? program.template FindForward<kScan>(b, z, b + from, b + to, start, end)
                               : program.template FindBackward<kScan>(b, z, b + from, b + to, start, end);
    return found ? Span{start - b, end - b} : kNone;
}

// Searches with a literal search: forwards from `from` below `limit`, or backwards from `from` down to `limit`.
template <CandidateScan kScan, typename T>
Span Find(const LiteralSearch<T>& search, bool forward, const std::basic_string<T>& text, long from, long limit) {
    const T *b = text.data(), *z = b + text.size();
    typename LiteralSearch<T>::Occurrence found;
    const bool hit = forward ? search.template FindForward<kScan>(b, z, b + from, b + limit, found)
                             : search.template FindBackward<kScan>(b, z, b + from, b + limit, found);
    return hit ? Span{found.begin - b, found.end - b} : kNone;
}

}  // namespace scrivix::test

// What the search tests share: texts written once as bytes and widened to either character width,
// occurrences as positions, and searches with a compiled regular expression.
#pragma once

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
    long start, end;
    bool operator==(const Span&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Span& s) {
        return out << '[' << s.start << ", " << s.end << ')';
    }
};
inline constexpr Span kNone{-1, -1};

// A text written with its expected occurrence between '<' and '>' (no marks: nothing found).
struct Marked {
    std::string text;
    Span found = kNone;
};
inline Marked Unmark(std::string_view marked) {
    Marked out;
    for (const char c : marked) {
        if (c == '<') out.found.start = long(out.text.size());
        else if (c == '>') out.found.end = long(out.text.size());
        else out.text += c;
    }
    return out;
}

// Searches [from, to) of the text forwards, or backwards from `to` down to `from`.
template <typename T, CandidateScan kScan = CandidateScan::jump>
Span Find(DPatternTemplate<T>& program, const std::basic_string<T>& text, bool forward, long from, long to) {
    const T *b = text.data(), *z = b + text.size(), *start = nullptr, *end = nullptr;
    const bool found = forward ? program.template FindForward<kScan>(b, z, b + from, b + to, start, end)
                               : program.template FindBackward<kScan>(b, z, b + from, b + to, start, end);
    return found ? Span{start - b, end - b} : kNone;
}

}  // namespace scrivix::test

// Helpers of the regular-expression tests: texts written once as bytes and widened to either character
// width, and searches expressed in positions.
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
    long start;
    long end;
    bool operator==(const Span&) const = default;
};
inline constexpr Span kNone{-1, -1};
inline std::ostream& operator<<(std::ostream& out, const Span& span) {
    return out << '[' << span.start << ", " << span.end << ')';
}

template <typename T>
Span FindForward(DPatternTemplate<T>& program, const std::basic_string<T>& text, long from, long limit) {
    const T* b = text.data();
    const T* start = nullptr;
    const T* end = nullptr;
    if (!program.FindForward(b, b + text.size(), b + from, b + limit, start, end)) return kNone;
    return {start - b, end - b};
}

template <typename T>
Span FindBackward(DPatternTemplate<T>& program, const std::basic_string<T>& text, long lower, long before) {
    const T* b = text.data();
    const T* start = nullptr;
    const T* end = nullptr;
    if (!program.FindBackward(b, b + text.size(), b + lower, b + before, start, end)) return kNone;
    return {start - b, end - b};
}

}  // namespace scrivix::test

// DPatternTemplate: a regular expression compiled into a flat program, with the searches that run it. The
// pattern object owns one per compiled text and searches with it under its lock; with b and n the buffer's
// begin and length (in characters) and positions computed without overflow:
//   Find:        limit = min(End, Start + LookAhead, n)
//                found = FindForward(b, b + n, b + Start, b + max(limit, Start), match_start, match_end)
//   FindReverse: lower = max(Start, End - LookAhead, 0)
//                found = FindBackward(b, b + n, b + min(lower, End), b + End, match_start, match_end)
// and on success Start = match_start - b, End = match_end - b.
//
// The language: literal characters and "\" escapes; "." (any character but a line feed); classes "[...]"
// (negated by a leading "^", with ranges "a-z"); the closures "*", "+" and "?" after one item; "^" and "~"
// as the very first character; "$" and "#" as the last character or before a line feed. Everything else,
// these anchors elsewhere included, is literal. There is no grouping and no alternation.
//
// The program is a string of units of the character width: items one after another, each closure code in
// front of the item it governs. Examples, with their Dump():
//   'ab*c'     8-bit  61 AA 62 63                 'a' opStar 'b' 'c'
//   '^a.+$'    8-bit  DE 61 AB AE A4              opLineStart 'a' opPlus opAnyChar opLineEnd
//   'x[0-9]?'  8-bit  78 BF DB 00 00 00 00 00 00 FF 03 00 00 00 00 00 00 00 00
//                                                 'x' opOptional opClass[30-39]
//   '~\x41#'  16-bit  807E 0041 8023              opLineBreakStart 'A' opLineBreakEnd
//   '[^b-a]'  16-bit  805B and 4096 units         opClass[0000-0061,0063-FFFF]
// An operation code is its metacharacter plus 0x80 (0x8000). A class bitmap of 16 (4096) units follows
// its opClass unit; character c has bit (c & 7) of unit (c & 0x7F) >> 3 (bit (c & 15) of unit
// (c & 0x7FFF) >> 4). The format has no escape: a literal whose code equals an operation code is stored
// as itself and read, by the matcher and by Dump() alike, as that operation.
#pragma once

#include "pattern/regex_codes.h"
#include "pattern/regex_matcher.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace scrivix {

template <typename T>
class DPatternTemplate {
public:
    using Codes = RegexCodes<T>;
    using Unit = typename Codes::Unit;

    DPatternTemplate() = default;
    // The matcher holds positions inside the program.
    DPatternTemplate(const DPatternTemplate&) = delete;
    DPatternTemplate& operator=(const DPatternTemplate&) = delete;

    // Compiles a pattern text. On failure (peNoMemory also when the program would outgrow a string) the
    // program is empty and no search matches.
    PatternError Compile(std::basic_string_view<T> source) noexcept;

    // The program's units. The unit at ProgramEnd() is 0.
    const T* ProgramBegin() const noexcept { return program_.data(); }
    const T* ProgramEnd() const noexcept { return program_.data() + length_; }
    std::basic_string_view<T> Program() const noexcept { return {program_.data(), length_}; }

    // The program as text: one token per unit, a class with the codes of its set bits in hexadecimal.
    std::string Dump() const;

    // The searches of DRegexMatcher. They reuse scratch storage of this object: one search at a time.
    bool Match(const T* buffer_begin, const T* buffer_end, const T* candidate, const T*& match_end) noexcept {
        return matcher_.Match(buffer_begin, buffer_end, candidate, match_end);
    }
    template <CandidateScan kScan = CandidateScan::jump>
    bool FindForward(const T* buffer_begin, const T* buffer_end, const T* from, const T* limit,
                     const T*& match_start, const T*& match_end) noexcept {
        return matcher_.template FindForward<kScan>(buffer_begin, buffer_end, from, limit, match_start, match_end);
    }
    template <CandidateScan kScan = CandidateScan::jump>
    bool FindBackward(const T* buffer_begin, const T* buffer_end, const T* lower_limit, const T* before,
                      const T*& match_start, const T*& match_end) noexcept {
        return matcher_.template FindBackward<kScan>(buffer_begin, buffer_end, lower_limit, before, match_start,
                                                     match_end);
    }

private:
    PatternError Translate(const T* s, const T* e);
    const T* ParseClass(const T* s, const T* e);
    static Unit ReadLiteral(const T*& s, const T* e);
    static void AddRange(T* bitmap, T from, T to);
    static Unit At(const T* p, const T* e) { return p < e ? Unit(*p) : 0; }
    static Unit Upper(Unit c) { return c >= 'a' && c <= 'z' ? Unit(c - 'a' + 'A') : c; }

    std::basic_string<T> program_;  // the program, then Codes::kPadding zero units
    std::size_t length_ = 0;
    DRegexMatcher<T> matcher_;
};

template <typename T>
PatternError DPatternTemplate<T>::Compile(std::basic_string_view<T> source) noexcept {
    length_ = 0;
    matcher_.Load(nullptr, nullptr);
    try {
        const PatternError error = Translate(source.data(), source.data() + source.size());
        if (error != peNone) {
            program_.clear();
            return error;
        }
        const std::size_t length = program_.size();
        program_.append(Codes::kPadding, T(0));
        matcher_.Load(program_.data(), program_.data() + length);
        length_ = length;
        return peNone;
    } catch (const std::exception&) {  // std::bad_alloc, std::length_error
        program_.clear();
        matcher_.Load(nullptr, nullptr);
        return peNoMemory;
    }
}

template <typename T>
PatternError DPatternTemplate<T>::Translate(const T* s, const T* e) {
    if (s == e) return peIllegalExpression;
    program_.clear();
    if (*s == '*' || *s == '+' || *s == '?') return peIllegalExpression;
    std::size_t last = 0;  // where the last item starts
    while (s < e) {
        const Unit c = Unit(*s);
        const std::size_t item = program_.size();
        switch (c) {
        case '#':
        case '$': {
            const Unit next = At(s + 1, e);
            program_.push_back(T(next == 0 || next == '\n' ? Codes::Operation(char(c)) : c));
            ++s;
            break;
        }
        case '^':
        case '~':
            program_.push_back(T(program_.empty() ? Codes::Operation(char(c)) : c));
            ++s;
            break;
        case '.':
            program_.push_back(T(Codes::opAnyChar));
            ++s;
            break;
        case '[':
            program_.push_back(T(Codes::opClass));
            s = ParseClass(s, e);
            if (At(s, e) != ']') return peImproperClosure;
            ++s;
            break;
        case '*':
        case '+':
        case '?': {
            // Closures are checked as units, so a literal whose code is an anchor or a closure is refused too.
            const Unit governed = Unit(program_[last]);
            if (Codes::IsAnchor(governed) || Codes::IsClosure(governed)) return peImproperPattern;
            program_.insert(last, 1, T(Codes::Operation(char(c))));
            ++s;
            continue;  // `last` now designates the closure code
        }
        default:
            program_.push_back(T(ReadLiteral(s, e)));
        }
        last = item;
    }
    return peNone;
}

// Appends the bitmap of the class that starts at s ("["); returns where it stopped, at "]" when well formed.
// A 0 character ends the class like the end of the text; a "-" just before it is a plain "-".
template <typename T>
const T* DPatternTemplate<T>::ParseClass(const T* s, const T* e) {
    const std::size_t offset = program_.size();
    program_.append(Codes::kClassUnits, T(0));
    T* bitmap = program_.data() + offset;
    const T* p = s + 1;
    const bool negated = At(p, e) == '^';
    if (negated) ++p;
    if (At(p, e) == '-') Codes::AddToClass(bitmap, At(p++, e));
    for (Unit c; (c = At(p, e)) != ']' && c != 0;) {
        if (c == '-') {
            const Unit to = At(p + 1, e);
            if (to == ']' || to == 0) break;
            AddRange(bitmap, p[-1], p[1]);
            p += 2;
        } else if (c == '\\') {
            Codes::AddToClass(bitmap, ReadLiteral(p, e));
        } else {
            Codes::AddToClass(bitmap, c);
            ++p;
        }
    }
    if (At(p, e) == '-') Codes::AddToClass(bitmap, At(p++, e));
    if (negated) {
        for (std::size_t k = 0; k < Codes::kClassUnits; ++k) bitmap[k] = T(Unit(~Unit(bitmap[k])));
    }
    return p;
}

// A range takes its bounds as written; 8-bit bounds compare as signed values. The lower bound itself is
// not added (it is there only if it was written as a character before).
template <typename T>
void DPatternTemplate<T>::AddRange(T* bitmap, T from, T to) {
    const auto order = [](T c) { return sizeof(T) == 1 ? int(static_cast<signed char>(c)) : int(Unit(c)); };
    int low = order(from);
    int high = order(to);
    if (low > high) std::swap(low, high);
    // Past one full cycle of the looked-up bits, further codes add nothing.
    high = std::min(high, low + int(Codes::kCodeMask) + 1);
    for (int code = low + 1; code <= high; ++code) Codes::AddToClass(bitmap, unsigned(code));
}

template <typename T>
typename DPatternTemplate<T>::Unit DPatternTemplate<T>::ReadLiteral(const T*& s, const T* e) {
    if (*s != '\\') return Unit(*s++);
    if (s + 1 == e) {
        ++s;
        return '\\';
    }
    const Unit escaped = Unit(s[1]);
    const auto digits = [&s, e](unsigned base) {
        unsigned value = 0;
        for (int k = 0; k < 3 && s < e; ++k, ++s) {
            const Unit c = Upper(Unit(*s));
            const unsigned digit = c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : 16;
            if (digit >= base) break;
            value = (value * base + digit) & Codes::kUnitMask;
        }
        return Unit(value);
    };
    if (escaped >= '0' && escaped <= '7') {
        ++s;
        return digits(8);
    }
    switch (Upper(escaped)) {
    case 'X':
        s += 2;
        return digits(16);
    case '^': {
        // At the end of the text the character after "^" is the terminating 0.
        const Unit c = s + 2 < e ? Unit(s[2]) : 0;
        s += s + 2 < e ? 3 : 2;
        return Unit((Upper(c) - 64U) & Codes::kUnitMask);
    }
    case 'B': s += 2; return 8;
    case 'E': s += 2; return 27;
    case 'F': s += 2; return 12;
    case 'N': s += 2; return 10;
    case 'R': s += 2; return 13;
    case 'S': s += 2; return 32;
    case 'T': s += 2; return 9;
    default: s += 2; return escaped;
    }
}

template <typename T>
std::string DPatternTemplate<T>::Dump() const {
    const auto hex = [](unsigned value) {
        static const char digits[] = "0123456789ABCDEF";
        std::string text;
        for (int shift = Codes::kWide ? 12 : 4; shift >= 0; shift -= 4) text += digits[(value >> shift) & 15];
        return text;
    };
    std::string out;
    for (const T* i = ProgramBegin(); i < ProgramEnd(); i += Codes::ItemLength(Unit(*i))) {
        if (!out.empty()) out += ' ';
        const Unit u = Unit(*i);
        switch (u) {
        case Codes::opAnyChar: out += "opAnyChar"; break;
        case Codes::opLineStart: out += "opLineStart"; break;
        case Codes::opLineBreakStart: out += "opLineBreakStart"; break;
        case Codes::opLineEnd: out += "opLineEnd"; break;
        case Codes::opLineBreakEnd: out += "opLineBreakEnd"; break;
        case Codes::opStar: out += "opStar"; break;
        case Codes::opPlus: out += "opPlus"; break;
        case Codes::opOptional: out += "opOptional"; break;
        case Codes::opClass: {
            // Runs of set bits over the whole bitmap (which may lie in the padding, see the top comment).
            out += "opClass[";
            const unsigned bits = unsigned(Codes::kClassUnits) * Codes::kBitsPerUnit;
            const auto set = [i](unsigned bit) {
                return (Unit(i[1 + bit / Codes::kBitsPerUnit]) >> (bit % Codes::kBitsPerUnit)) & 1U;
            };
            bool first = true;
            for (unsigned bit = 0; bit < bits; ++bit) {
                if (!set(bit)) continue;
                unsigned run = bit;
                while (run + 1 < bits && set(run + 1)) ++run;
                out += (first ? "" : ",") + hex(bit) + (run > bit ? "-" + hex(run) : "");
                first = false;
                bit = run;
            }
            out += ']';
            break;
        }
        default:
            if (u > ' ' && u < 0x7F && u != '\'' && u != '\\') {
                out += {'\'', char(u), '\''};
            } else {
                out += "'\\x" + hex(u) + "'";
            }
        }
    }
    return out;
}

}  // namespace scrivix

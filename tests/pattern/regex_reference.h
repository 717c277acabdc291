// A plain matcher and search driver for compiled regular-expression programs, written as directly as
// possible from the description of the language: recursive, no caches, no shortcuts. It is the gold
// standard that the library's matcher is compared with on small inputs.
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>

namespace scrivix::test {

template <typename T>
class ReferenceRegex {
public:
    // The program is copied and followed by zeros: units read past its end are 0.
    ReferenceRegex(const T* program_begin, const T* program_end, const T* buffer_begin, const T* buffer_end)
        : program_(program_begin, program_end), length_(program_.size()), b_(buffer_begin), z_(buffer_end) {
        program_.append(kClassUnits + 2, T(0));
    }

    bool Match(const T* c, const T*& end) const { return length_ > 0 && Run(c, 0, end); }

    // Tries every candidate in [from, to): upwards, or downwards from `to`.
    bool Find(bool forward, const T* from, const T* to, const T*& start, const T*& end) const {
        for (std::ptrdiff_t k = 0; k < to - from; ++k) {
            const T* c = forward ? from + k : to - 1 - k;
            if (Match(c, end)) {
                start = c;
                return true;
            }
        }
        return false;
    }

private:
    using U = std::conditional_t<sizeof(T) == 1, unsigned char, char16_t>;
    static constexpr bool kWide = sizeof(T) == 2;
    static constexpr std::size_t kClassUnits = kWide ? 4096 : 16;
    static constexpr U Op(char meta) { return U((kWide ? 0x8000 : 0x80) | meta); }

    U Unit(std::size_t i) const { return U(program_[i]); }
    std::size_t Length(std::size_t i) const { return Unit(i) == Op('[') ? 1 + kClassUnits : 1; }

    int LineBreak(const T* p) const {
        if (p >= z_ || (U(*p) != '\n' && U(*p) != '\r')) return -1;
        const U other = U(*p) == '\n' ? '\r' : '\n';
        return p + 1 < z_ && U(p[1]) == other ? 2 : 1;
    }

    // Characters consumed by the item at i, or -1.
    int Test(std::size_t i, const T* p) const {
        const U x = Unit(i);
        if (x == Op('.')) return p < z_ && U(*p) != '\n' ? 1 : -1;
        if (x == Op('[')) {
            if (p >= z_) return -1;
            const unsigned code = U(*p) & (kWide ? 0x7FFF : 0x7F);
            const unsigned bits = kWide ? 16 : 8;
            return (Unit(i + 1 + code / bits) >> (code % bits)) & 1 ? 1 : -1;
        }
        if (x == Op('^')) {
            if (p == b_) return 0;
            if (p < z_ && U(*p) == '\n') return 0;
            return U(p[-1]) == '\n' ? 0 : -1;
        }
        if (x == Op('~')) return p == b_ ? 0 : LineBreak(p);
        if (x == Op('$')) return p == z_ || U(*p) == '\r' || U(*p) == '\n' || U(*p) == 0 ? 0 : -1;
        if (x == Op('#')) return p == z_ || U(*p) == 0 ? 0 : LineBreak(p);
        return p < z_ && U(*p) == x ? 1 : -1;
    }

    bool Run(const T* p, std::size_t i, const T*& end) const {
        while (i < length_) {
            const U code = Unit(i);
            if (code != Op('*') && code != Op('+') && code != Op('?')) {
                const int taken = Test(i, p);
                if (taken < 0) return false;
                p += taken;
                i += Length(i);
                continue;
            }
            const std::size_t item = i + 1;
            i = item + Length(item);
            if (code == Op('?')) {
                const int taken = Test(item, p);
                if (taken >= 0) p += taken;
                continue;
            }
            if (code == Op('+')) {
                const int taken = Test(item, p);
                if (taken < 0) return false;
                p += taken;
            }
            const T* min = p;
            // Greedy; an item that matches without consuming stops the closure.
            for (int taken; p < z_ && (taken = Test(item, p)) > 0;) p += taken;
            if (Unit(i) == 0) {
                end = p;
                return true;
            }
            while (!Rest(p, i)) {
                if (p == min) return false;
                --p;
            }
        }
        end = p;
        return true;
    }

    bool Rest(const T* p, std::size_t i) const {
        if (p == z_) return Unit(i) == Op('$') || Unit(i) == Op('#');
        const T* end = nullptr;
        return Run(p, i, end);
    }

    std::basic_string<T> program_;
    std::size_t length_;
    const T* b_;
    const T* z_;
};

}  // namespace scrivix::test

// The library's regular-expression matcher and search driver (with its caches, first-item skipping and
// block scans) against a plain reference, on random patterns, texts and search ranges in both character
// widths; the driver that tries every candidate must agree too.
#include "pattern/pattern_template.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace scrivix::test {
namespace {

// A matcher for compiled programs written as directly as possible from the description of the language:
// recursive, no caches, no shortcuts. Units read past the program's end are 0.
template <typename T>
class ReferenceRegex {
public:
    ReferenceRegex(const T* program_begin, const T* program_end, const T* buffer_begin, const T* buffer_end)
        : program_(program_begin, program_end), length_(program_.size()), b_(buffer_begin), z_(buffer_end) {
        program_.append(kClassUnits + 2, T(0));
    }

    bool Match(const T* c, const T*& end) const { return length_ > 0 && Run(c, 0, end); }

    // Tries every candidate in [from, to): upwards, or downwards from `to`.
    bool Find(bool forward, const T* from, const T* to, const T*& start, const T*& end) const {
        for (std::ptrdiff_t k = 0; k < to - from; ++k) {
            start = forward ? from + k : to - 1 - k;
            if (Match(start, end)) return true;
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
    bool Is(const T* p, U c) const { return p < z_ && U(*p) == c; }
    int LineBreak(const T* p) const {
        if (!Is(p, '\n') && !Is(p, '\r')) return -1;
        return Is(p + 1, U(*p) == '\n' ? '\r' : '\n') ? 2 : 1;
    }

    // Characters consumed by the item at i, or -1.
    int Test(std::size_t i, const T* p) const {
        const U x = Unit(i);
        if (x == Op('.')) return p < z_ && U(*p) != '\n' ? 1 : -1;
        if (x == Op('[')) {
            if (p >= z_) return -1;
            const unsigned code = U(*p) & (kWide ? 0x7FFF : 0x7F), bits = kWide ? 16 : 8;
            return (Unit(i + 1 + code / bits) >> (code % bits)) & 1 ? 1 : -1;
        }
        if (x == Op('^')) return p == b_ || Is(p, '\n') || U(p[-1]) == '\n' ? 0 : -1;
        if (x == Op('~')) return p == b_ ? 0 : LineBreak(p);
        if (x == Op('$')) return p == z_ || Is(p, '\r') || Is(p, '\n') || Is(p, 0) ? 0 : -1;
        if (x == Op('#')) return p == z_ || Is(p, 0) ? 0 : LineBreak(p);
        return Is(p, x) ? 1 : -1;
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
            const int first = Test(item, p);
            if (code == Op('+') && first < 0) return false;
            if (first >= 0 && code != Op('*')) p += first;
            if (code == Op('?')) continue;
            const T* min = p;
            // Greedy; an item that matches without consuming stops the closure.
            for (int taken; p < z_ && (taken = Test(item, p)) > 0;) p += taken;
            if (Unit(i) == 0) break;
            // Gives back one character at a time; the rest may not begin at the buffer's end but with an anchor.
            const T* rest_end = nullptr;
            while (p == z_ ? Unit(i) != Op('$') && Unit(i) != Op('#') : !Run(p, i, rest_end)) {
                if (p-- == min) return false;
            }
        }
        end = p;
        return true;
    }

    std::basic_string<T> program_;
    std::size_t length_;
    const T *b_, *z_;
};

template <typename T>
class RegexRandom : public ::testing::Test {
protected:
    using Text = std::basic_string<T>;

    std::size_t Pick(std::size_t n) { return std::size_t(random_() % n); }
    Text Pieces(const std::vector<Text>& pieces, std::size_t count) {
        Text text;
        while (count-- > 0) text += pieces[Pick(pieces.size())];
        return text;
    }
    static std::vector<Text> Widened(std::initializer_list<const char*> pieces) {
        std::vector<Text> out;
        for (const char* piece : pieces) out.push_back(Widen<T>(piece));
        return out;
    }

    // Matches at `candidate`, searches [from, limit) forwards and [lower, before) backwards with both
    // candidate scans: every answer must be the reference's. Counts the searches that found.
    void Compare(DPatternTemplate<T>& program, const Text& text, long candidate, long from, long limit, long lower,
                 long before) {
        const T *b = text.data(), *z = b + text.size(), *end = nullptr, *start = nullptr;
        const ReferenceRegex<T> reference(program.ProgramBegin(), program.ProgramEnd(), b, z);
        const long expected_end = reference.Match(b + candidate, end) ? end - b : -1;
        EXPECT_EQ(program.Match(b, z, b + candidate, end) ? end - b : -1, expected_end)
            << program.Dump() << " match at " << candidate;
        for (const bool forward : {true, false}) {
            const long first = forward ? from : lower, last = forward ? limit : before;
            const Span expected = reference.Find(forward, b + first, b + last, start, end) ? Span{start - b, end - b} : kNone;
            const Span jump = Find(program, text, forward, first, last);
            EXPECT_EQ(jump, expected) << program.Dump() << (forward ? " forward " : " backward ") << first << ".." << last;
            EXPECT_EQ((Find<T, CandidateScan::plain>(program, text, forward, first, last)), expected) << "plain scan";
            found_ += jump != kNone;
        }
    }

    std::mt19937 random_{unsigned(20240600 + sizeof(T))};
    int found_ = 0;
    // Codes whose low bits land on "a" in a class.
    static constexpr T kLikeA = T(sizeof(T) == 1 ? 0xE1 : 0x8061);
};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(RegexRandom, CharacterTypes);

TYPED_TEST(RegexRandom, MatchesTheReference) {
    using T = TypeParam;
    // The language, plus characters whose codes are operation codes or land on "a" in a class.
    auto pieces = this->Widened({"a", "a", "b", ".", "*", "*", "+", "?", "[ab]", "[^a]", "[b-a]", "[\\n\\r]", "^", "~",
                                 "$", "#", "\\n", "\\r", "\\x", "\\.", "[a"});
    for (const unsigned code : {0x2A, 0x2B, 0x3F, 0x24, 0x23, 0x5B, 0x5E, 0x2E, 0x7E, 0x61}) {
        pieces.push_back(std::basic_string<T>(1, T((sizeof(T) == 1 ? 0x80 : 0x8000) | code)));
    }
    const std::vector<T> alphabet = {T('a'), T('a'), T('b'), T('\n'), T('\r'), T(0), this->kLikeA};
    DPatternTemplate<T> program;
    int programs = 0;
    for (int round = 0; round < 100000 && !this->HasFailure(); ++round) {
        if (program.Compile(this->Pieces(pieces, 1 + this->Pick(6))) != peNone) continue;
        ++programs;
        // Several texts per program: the scratch of one search must not leak into the next.
        for (int t = 0; t < 3; ++t) {
            std::basic_string<T> text;
            for (std::size_t k = this->Pick(11); k > 0; --k) text += alphabet[this->Pick(alphabet.size())];
            const long n = long(text.size()), candidate = long(this->Pick(n + 1)), from = long(this->Pick(n + 1));
            const long limit = from + long(this->Pick(n - from + 1)), lower = long(this->Pick(n + 1));
            this->Compare(program, text, candidate, from, limit, lower, lower + long(this->Pick(n - lower + 1)));
        }
    }
    EXPECT_GT(programs, 60000);
    EXPECT_GT(this->found_, 40000);
}

// Long texts of few characters, where closures run long and the caches carry across many candidates.
TYPED_TEST(RegexRandom, LongTextsMatchTheReference) {
    using T = TypeParam;
    const auto pieces = this->Widened({"a*", "a+", "a?", "[ab]*", ".*", "b", "a", "$"});
    DPatternTemplate<T> program;
    for (int round = 0; round < 10000 && !this->HasFailure(); ++round) {
        ASSERT_EQ(program.Compile(this->Pieces(pieces, 1 + this->Pick(4))), peNone);
        std::basic_string<T> text;
        for (std::size_t k = this->Pick(40); k > 0; --k) text += T(this->Pick(8) == 0 ? 'b' : this->Pick(20) == 0 ? '\n' : 'a');
        const long n = long(text.size());
        this->Compare(program, text, long(this->Pick(n + 1)), 0, n, 0, n);
    }
    EXPECT_GT(this->found_, 10000);
}

// Programs led by a class, on texts long enough for the scan over blocks of characters; codes whose low
// bits land in the class count as in it.
TYPED_TEST(RegexRandom, ClassScansMatchTheReference) {
    using T = TypeParam;
    const auto leads = this->Widened({"[a-b]", "[b-c]", "[^a]", "[c]", "^[b]", "[\\n\\r]"});
    const auto rests = this->Widened({"", "a", "b+", "c*a"});
    const std::vector<T> alphabet = {T('a'), T('c'), T('c'), T('c'), T('\n'), this->kLikeA};
    DPatternTemplate<T> program;
    for (int round = 0; round < 5000 && !this->HasFailure(); ++round) {
        ASSERT_EQ(program.Compile(this->Pieces(leads, 1) + this->Pieces(rests, 1)), peNone);
        std::basic_string<T> text;
        for (std::size_t k = this->Pick(200); k > 0; --k) text += this->Pick(6) == 0 ? T('b') : alphabet[this->Pick(alphabet.size())];
        const long n = long(text.size()), from = long(this->Pick(n + 1));
        this->Compare(program, text, from, from, n, 0, from);
    }
    EXPECT_GT(this->found_, 5000);
}

}  // namespace
}  // namespace scrivix::test

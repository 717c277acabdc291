// The library's matcher and search driver (with its caches, first-item skipping and block scans) against
// the plain reference, on random patterns, texts and search ranges, in both character widths; the driver
// that tries every candidate must agree too.
#include "pattern/pattern_template.h"
#include "regex_reference.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace scrivix::test {
namespace {

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
};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(RegexRandom, CharacterTypes);

// Pattern pieces: the language, plus characters whose codes are operation codes or land on "a" in a class.
template <typename T>
std::vector<std::basic_string<T>> LanguagePieces() {
    std::vector<std::basic_string<T>> pieces;
    for (const char* piece : {"a", "a", "b", ".", "*", "*", "+", "?", "[ab]", "[^a]", "[b-a]", "[\\n\\r]", "^", "~", "$",
                              "#", "\\n", "\\r", "\\x", "\\.", "[a"}) {
        pieces.push_back(Widen<T>(piece));
    }
    for (const unsigned code : {0x2A, 0x2B, 0x3F, 0x24, 0x23, 0x5B, 0x5E, 0x2E, 0x7E, 0x61}) {
        pieces.push_back(std::basic_string<T>(1, T((sizeof(T) == 1 ? 0x80 : 0x8000) | code)));
    }
    return pieces;
}

TYPED_TEST(RegexRandom, MatchesTheReference) {
    using T = TypeParam;
    const auto pieces = LanguagePieces<T>();
    const std::vector<T> alphabet = {T('a'), T('a'), T('b'), T('\n'), T('\r'), T(0), T(sizeof(T) == 1 ? 0xE1 : 0x8061)};
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
    const std::vector<std::basic_string<T>> pieces = {Widen<T>("a*"), Widen<T>("a+"), Widen<T>("a?"), Widen<T>("[ab]*"),
                                                      Widen<T>(".*"), Widen<T>("b"),  Widen<T>("a"),  Widen<T>("$")};
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
// bits land in the class (0xE1, 0x8061) count as in it.
TYPED_TEST(RegexRandom, ClassScansMatchTheReference) {
    using T = TypeParam;
    const std::vector<std::basic_string<T>> leads = {Widen<T>("[a-b]"), Widen<T>("[b-c]"), Widen<T>("[^a]"),
                                                     Widen<T>("[c]"),   Widen<T>("^[b]"),  Widen<T>("[\\n\\r]")};
    const std::vector<std::basic_string<T>> rests = {Widen<T>(""), Widen<T>("a"), Widen<T>("b+"), Widen<T>("c*a")};
    const std::vector<T> alphabet = {T('a'), T('c'), T('c'), T('c'), T('\n'), T(sizeof(T) == 1 ? 0xE1 : 0x8061)};
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

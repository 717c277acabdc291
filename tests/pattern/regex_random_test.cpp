// The library's matcher and search driver (with its caches and first-item skipping) against the plain
// reference, on random patterns, texts and search ranges, in both character widths; the driver that tries
// every candidate must agree too.
#include "pattern/pattern_template.h"
#include "regex_reference.h"
#include "regex_test_support.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace scrivix::test {
namespace {

// Pattern pieces: the language, plus characters whose codes are operation codes or land on "a" in a class.
template <typename T>
std::vector<std::basic_string<T>> Pieces() {
    std::vector<std::basic_string<T>> pieces;
    for (const char* piece : {"a", "a", "b", ".", "*", "*", "+", "?", "[ab]", "[^a]", "[b-a]", "[\\n\\r]", "^", "~", "$",
                              "#", "\\n", "\\r", "\\x", "\\.", "[a"}) {
        pieces.push_back(Widen<T>(piece));
    }
    if constexpr (sizeof(T) == 1) {
        for (const char* piece : {"\\xAA", "\\xAB", "\\xBF", "\\xA4", "\\xA3", "\\xDB", "\\xDE", "\\xAE", "\\xFE", "\xE1"}) {
            pieces.push_back(piece);
        }
    } else {
        for (const char16_t piece : {0x802A, 0x802B, 0x803F, 0x8024, 0x8023, 0x805B, 0x805E, 0x802E, 0x807E, 0x8061}) {
            pieces.push_back(std::u16string(1, piece));
        }
    }
    return pieces;
}

template <typename T>
std::vector<T> Alphabet() {
    return {T('a'), T('a'), T('b'), T('\n'), T('\r'), T(0), T(sizeof(T) == 1 ? 0xE1 : 0x8061)};
}

struct Tally {
    int programs = 0;
    int found = 0;
};

template <typename T>
void CompareWithReference(unsigned seed, int rounds, Tally& tally) {
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t n) { return std::size_t(random() % n); };
    const auto pieces = Pieces<T>();
    const auto alphabet = Alphabet<T>();
    DPatternTemplate<T> program;
    for (int round = 0; round < rounds; ++round) {
        std::basic_string<T> pattern;
        for (std::size_t k = 1 + pick(6); k > 0; --k) pattern += pieces[pick(pieces.size())];
        if (program.Compile(pattern) != peNone) continue;
        ++tally.programs;
        // Several texts per program: the scratch of one search must not leak into the next.
        for (int t = 0; t < 3; ++t) {
            std::basic_string<T> text;
            for (std::size_t k = pick(11); k > 0; --k) text += alphabet[pick(alphabet.size())];
            const T* b = text.data();
            const T* z = b + text.size();
            const ReferenceRegex<T> reference(program.ProgramBegin(), program.ProgramEnd(), b, z);
            const auto where = [b](bool found, const T* start, const T* end) {
                return found ? Span{start - b, end - b} : kNone;
            };
            const std::size_t n = text.size();
            const T *start = nullptr, *end = nullptr, *expected_start = nullptr, *expected_end = nullptr;

            const T* candidate = b + pick(n + 1);
            bool found = program.Match(b, z, candidate, end);
            bool expected = reference.Match(candidate, expected_end);
            ASSERT_EQ(where(found, candidate, end), where(expected, candidate, expected_end));

            const T* from = b + pick(n + 1);
            const T* limit = from + pick(std::size_t(z - from) + 1);
            found = program.FindForward(b, z, from, limit, start, end);
            expected = reference.FindForward(from, limit, expected_start, expected_end);
            ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end))
                << program.Dump() << " forward " << (from - b) << ".." << (limit - b);
            tally.found += found;
            found = program.template FindForward<CandidateScan::plain>(b, z, from, limit, start, end);
            ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end)) << "plain scan";

            const T* lower = b + pick(n + 1);
            const T* before = lower + pick(std::size_t(z - lower) + 1);
            found = program.FindBackward(b, z, lower, before, start, end);
            expected = reference.FindBackward(lower, before, expected_start, expected_end);
            ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end))
                << program.Dump() << " backward " << (lower - b) << ".." << (before - b);
            tally.found += found;
            found = program.template FindBackward<CandidateScan::plain>(b, z, lower, before, start, end);
            ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end)) << "plain scan";
        }
    }
}

TEST(RegexRandom, NarrowMatchesTheReference) {
    Tally tally;
    CompareWithReference<char>(20240601, 100000, tally);
    EXPECT_GT(tally.programs, 60000);
    EXPECT_GT(tally.found, 40000);
}

TEST(RegexRandom, WideMatchesTheReference) {
    Tally tally;
    CompareWithReference<char16_t>(20240602, 100000, tally);
    EXPECT_GT(tally.programs, 60000);
    EXPECT_GT(tally.found, 40000);
}

// Long texts of few characters, where closures run long and the caches carry across many candidates.
template <typename T>
void CompareOnLongTexts(unsigned seed, int rounds, Tally& tally) {
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t n) { return std::size_t(random() % n); };
    const std::vector<std::basic_string<T>> pieces = {Widen<T>("a*"), Widen<T>("a+"), Widen<T>("a?"), Widen<T>("[ab]*"),
                                                      Widen<T>(".*"), Widen<T>("b"),  Widen<T>("a"),  Widen<T>("$")};
    DPatternTemplate<T> program;
    for (int round = 0; round < rounds; ++round) {
        std::basic_string<T> pattern;
        for (std::size_t k = 1 + pick(4); k > 0; --k) pattern += pieces[pick(pieces.size())];
        ASSERT_EQ(program.Compile(pattern), peNone);
        ++tally.programs;
        std::basic_string<T> text;
        for (std::size_t k = pick(40); k > 0; --k) text += T(pick(8) == 0 ? 'b' : pick(20) == 0 ? '\n' : 'a');
        const T* b = text.data();
        const T* z = b + text.size();
        const ReferenceRegex<T> reference(program.ProgramBegin(), program.ProgramEnd(), b, z);
        const auto where = [b](bool found, const T* start, const T* end) {
            return found ? Span{start - b, end - b} : kNone;
        };
        const T *start = nullptr, *end = nullptr, *expected_start = nullptr, *expected_end = nullptr;
        bool found = program.FindForward(b, z, b, z, start, end);
        bool expected = reference.FindForward(b, z, expected_start, expected_end);
        ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end)) << program.Dump();
        tally.found += found;
        found = program.FindBackward(b, z, b, z, start, end);
        expected = reference.FindBackward(b, z, expected_start, expected_end);
        ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end)) << program.Dump();
        tally.found += found;
    }
}

TEST(RegexRandom, LongTextsMatchTheReference) {
    Tally tally;
    CompareOnLongTexts<char>(7, 10000, tally);
    CompareOnLongTexts<char16_t>(8, 10000, tally);
    EXPECT_GT(tally.found, 20000);
}

// Programs led by a class, on texts long enough for the scan over blocks of characters; codes whose low
// bits land in the class (0xE1, 0x8061) count as in it.
template <typename T>
void CompareClassScans(unsigned seed, int rounds, Tally& tally) {
    std::mt19937 random(seed);
    const auto pick = [&random](std::size_t n) { return std::size_t(random() % n); };
    const std::vector<std::basic_string<T>> leads = {Widen<T>("[a-b]"), Widen<T>("[b-c]"), Widen<T>("[^a]"),
                                                     Widen<T>("[c]"),   Widen<T>("^[b]"),  Widen<T>("[\\n\\r]")};
    const std::vector<std::basic_string<T>> rests = {Widen<T>(""), Widen<T>("a"), Widen<T>("b+"), Widen<T>("c*a")};
    const std::vector<T> alphabet = {T('a'), T('c'), T('c'), T('c'), T('\n'), T(sizeof(T) == 1 ? 0xE1 : 0x8061)};
    DPatternTemplate<T> program;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_EQ(program.Compile(leads[pick(leads.size())] + rests[pick(rests.size())]), peNone);
        std::basic_string<T> text;
        for (std::size_t k = pick(200); k > 0; --k) text += pick(6) == 0 ? T('b') : alphabet[pick(alphabet.size())];
        const T* b = text.data();
        const T* z = b + text.size();
        const ReferenceRegex<T> reference(program.ProgramBegin(), program.ProgramEnd(), b, z);
        const auto where = [b](bool found, const T* start, const T* end) {
            return found ? Span{start - b, end - b} : kNone;
        };
        const T *start = nullptr, *end = nullptr, *expected_start = nullptr, *expected_end = nullptr;
        const T* from = b + pick(text.size() + 1);
        bool found = program.FindForward(b, z, from, z, start, end);
        bool expected = reference.FindForward(from, z, expected_start, expected_end);
        ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end)) << program.Dump();
        tally.found += found;
        found = program.FindBackward(b, z, b, from, start, end);
        expected = reference.FindBackward(b, from, expected_start, expected_end);
        ASSERT_EQ(where(found, start, end), where(expected, expected_start, expected_end)) << program.Dump();
        tally.found += found;
    }
}

TEST(RegexRandom, ClassScansMatchTheReference) {
    Tally tally;
    CompareClassScans<char>(11, 5000, tally);
    CompareClassScans<char16_t>(12, 5000, tally);
    EXPECT_GT(tally.found, 10000);
}

}  // namespace
}  // namespace scrivix::test

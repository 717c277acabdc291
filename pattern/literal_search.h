// The literal search of a pattern: finds a literal text in a buffer of 8-bit or 16-bit characters,
// forwards from a position or backwards towards one, with the options whole word, ignore case and skip
// spaces. It is pure algorithm over raw character pointers; the pattern object builds one LiteralSearch
// whenever its text or options change and calls it for every Find and FindReverse, which then neither
// copy nor allocate.
//
// The search is a single pass that never backs up. Forwards, an attempt begins at some position and
// compares the text with the pattern character by character; on a mismatch the next attempt begins at
// the character after the failing one, so that character is never tried again as the pattern's first
// character ('aab' is not found in 'aaab'). An attempt may only begin below the search limit, but once
// begun it may run on to the end of the buffer. With whole word, an occurrence counts only if white
// space or the buffer's edge lies on each side of it; a rejected occurrence counts as a mismatch at
// the character after it. The backward search is the exact mirror image: attempts begin at the end of
// an occurrence, at or above the lower limit, and run down, possibly below it, to the buffer's start.
//
// Characters: white space is 0x09 to 0x0D and 0x20 below code 256, and what the classic locale says
// above; lower-casing folds only 'A' to 'Z'. With ignore case both sides are lower-cased.
//
// Skip spaces changes how a white-space character w of the pattern meets a text character c (the other
// pattern characters always need an equal text character). A c equal to w matches w, that one character
// only. A c that differs from w never fails it: w counts as matched and the text position moves on, in
// search order,
//   (a) when c is white space, over the run of white space that begins at c, and then by the ordinary
//       step, so that the match also takes the first character after the run, whatever it is;
//   (b) when c is no white space, by the ordinary step alone, over c.
// The corners, completed in the same spirit:
//   - The run is every white-space character from c on, whatever comes before c: a run that an earlier
//     pattern character entered (by an equal w) is taken on from c just the same.
//   - A run that reaches the buffer's edge stops there and the step has nothing left to pass over: the
//     occurrence ends at the edge if w was the pattern's last character, and the attempt fails if not.
//   - Whole word looks at the characters beside the occurrence as it finally ends, after a run and its
//     step; a rejected occurrence is a mismatch at the character after it, as always.
//   - A run may carry an attempt past the search limit, like any attempt under way, up to the edge.
//   - A white-space first character of the pattern begins an attempt at every position.
// Backwards the run extends towards lower positions and the step passes over the first character below
// it. The directions therefore disagree where white space of the pattern meets other white space: 'a b'
// finds 'a\tzb' forwards (the tab is the run, z the step, then b), but not backwards (b, then z for the
// space, then the tab is no a). Where that does not happen they agree.
#pragma once

#include <scrivix/scrivix.h>

#include "pattern/candidate_scan.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace scrivix {

// The least of end, start + look_ahead and length: a forward search tries only attempts that begin
// below it. Computed without overflow and never below start, so that it always names a position.
constexpr LONG PatternSearchLimit(LONG start, LONG end, LONG look_ahead, LONG length) noexcept {
    const int64_t limit = std::min({int64_t{end}, int64_t{start} + look_ahead, int64_t{length}});
    return static_cast<LONG>(std::max<int64_t>(limit, start));
}

// The greatest of start, end - look_ahead and 0: a backward search tries only attempts whose last
// character lies at or above it. Computed without overflow and never above end.
constexpr LONG PatternLowerLimit(LONG start, LONG end, LONG look_ahead) noexcept {
    const int64_t lower = std::max({int64_t{start}, int64_t{end} - look_ahead, int64_t{0}});
    return static_cast<LONG>(std::min<int64_t>(lower, end));
}

namespace literal_search_detail {

bool IsWideWhiteSpace(char16_t code) noexcept;

// A 64-bit word seen as lanes of 8-bit or 16-bit characters.
template <typename Lane>
struct Lanes {
    static constexpr int kBits = 8 * sizeof(Lane);
    static constexpr std::ptrdiff_t kCount = sizeof(uint64_t) / sizeof(Lane);
    static constexpr uint64_t kOnes = ~uint64_t{0} / std::numeric_limits<Lane>::max();
    static constexpr uint64_t kLowBits = kOnes * (std::numeric_limits<Lane>::max() >> 1);

    static constexpr uint64_t Broadcast(Lane c) noexcept { return kOnes * c; }
    // The top bit of each lane of x that is zero and no other bit: no borrow crosses into another lane,
    // so the mask is exact in both directions.
    static constexpr uint64_t ZeroLanes(uint64_t x) noexcept { return ~(((x & kLowBits) + kLowBits) | x | kLowBits); }
    // The lowest and the highest memory index among the lanes of a non-zero mask.
    static int FirstLane(uint64_t mask) noexcept {
        if constexpr (std::endian::native == std::endian::little) return std::countr_zero(mask) / kBits;
        else return std::countl_zero(mask) / kBits;
    }
    static int LastLane(uint64_t mask) noexcept {
        if constexpr (std::endian::native == std::endian::little) return (63 - std::countl_zero(mask)) / kBits;
        else return (63 - std::countr_zero(mask)) / kBits;
    }
};

#if defined(__SSE2__)
// 16 bytes at `at` compared with the characters a and b in every lane: one bit per byte that belongs to a
// lane equal to either (both bytes of a 16-bit lane).
template <typename T>
unsigned MatchingBytes(const T* at, __m128i a, __m128i b) noexcept {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    if constexpr (sizeof(T) == 1) {
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(block, a), _mm_cmpeq_epi8(block, b))));
    } else {
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(block, a), _mm_cmpeq_epi16(block, b))));
    }
}
template <typename T>
__m128i Broadcast128(T c) noexcept {
    if constexpr (sizeof(T) == 1) return _mm_set1_epi8(static_cast<char>(c));
    else return _mm_set1_epi16(static_cast<short>(c));
}
#endif

template <typename T>
uint64_t MatchingLanes(const T* at, uint64_t a, uint64_t b) noexcept {
    using L = Lanes<std::make_unsigned_t<T>>;
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return L::ZeroLanes(word ^ a) | L::ZeroLanes(word ^ b);
}

// The first character in [first, last) that equals a or b, or last if there is none. 16 bytes at a time
// where the processor has SSE2, else 8; memchr when a and b are one 8-bit character.
template <typename T>
const T* ScanForward(const T* first, const T* last, T a, T b) noexcept {
    if constexpr (sizeof(T) == 1) {
        if (a == b) {
            const void* hit = std::memchr(first, static_cast<unsigned char>(a), static_cast<size_t>(last - first));
            return hit ? static_cast<const T*>(hit) : last;
        }
    }
#if defined(__SSE2__)
    constexpr std::ptrdiff_t kBlock = 16 / sizeof(T);
    const __m128i va = Broadcast128(a), vb = Broadcast128(b);
    for (; last - first >= kBlock; first += kBlock) {
        if (const unsigned hits = MatchingBytes(first, va, vb)) return first + std::countr_zero(hits) / sizeof(T);
    }
#endif
    using L = Lanes<std::make_unsigned_t<T>>;
    const uint64_t wa = L::Broadcast(static_cast<std::make_unsigned_t<T>>(a));
    const uint64_t wb = L::Broadcast(static_cast<std::make_unsigned_t<T>>(b));
    for (; last - first >= L::kCount; first += L::kCount) {
        if (const uint64_t hits = MatchingLanes(first, wa, wb)) return first + L::FirstLane(hits);
    }
    for (; first != last; ++first) {
        if (*first == a || *first == b) return first;
    }
    return last;
}

// The position just after the last character in [first, last) that equals a or b, or first if there
// is none: what a reverse iterator over the range needs.
template <typename T>
const T* ScanBackward(const T* first, const T* last, T a, T b) noexcept {
    if constexpr (sizeof(T) == 1) {
        if (a == b) {
            const void* hit = ::memrchr(first, static_cast<unsigned char>(a), static_cast<size_t>(last - first));
            return hit ? static_cast<const T*>(hit) + 1 : first;
        }
    }
#if defined(__SSE2__)
    constexpr std::ptrdiff_t kBlock = 16 / sizeof(T);
    const __m128i va = Broadcast128(a), vb = Broadcast128(b);
    for (; last - first >= kBlock; last -= kBlock) {
        if (const unsigned hits = MatchingBytes(last - kBlock, va, vb)) {
            return last - kBlock + (31 - std::countl_zero(hits)) / sizeof(T) + 1;
        }
    }
#endif
    using L = Lanes<std::make_unsigned_t<T>>;
    const uint64_t wa = L::Broadcast(static_cast<std::make_unsigned_t<T>>(a));
    const uint64_t wb = L::Broadcast(static_cast<std::make_unsigned_t<T>>(b));
    for (; last - first >= L::kCount; last -= L::kCount) {
        if (const uint64_t hits = MatchingLanes(last - L::kCount, wa, wb)) {
            return last - L::kCount + L::LastLane(hits) + 1;
        }
    }
    for (; last != first; --last) {
        if (last[-1] == a || last[-1] == b) return last;
    }
    return first;
}

// The next character at or after t, in search order and before limit, that equals a or b.
template <typename T>
const T* NextCandidate(const T* t, const T* limit, T a, T b) noexcept {
    return ScanForward(t, limit, a, b);
}
template <typename T>
std::reverse_iterator<const T*> NextCandidate(std::reverse_iterator<const T*> t, std::reverse_iterator<const T*> limit,
                                              T a, T b) noexcept {
    return std::reverse_iterator<const T*>(ScanBackward(limit.base(), t.base(), a, b));
}

// How common a character is in ordinary text, about in characters per thousand: a jumping search scans
// for the least common character of its pattern. Capitals count as rare; with ignore case the pattern is
// lower-cased, so a letter counts with both its cases.
constexpr int Commonness(char16_t code) noexcept {
    constexpr unsigned char kLetters[26] = {82, 15, 28, 43, 127, 22, 20, 61, 70, 2,  8,  40, 24,
                                            67, 75, 19, 1,  60, 63,  91, 28, 10, 24, 2, 20, 1};
    if (code >= 'a' && code <= 'z') return kLetters[code - 'a'];
    if (code >= 'A' && code <= 'Z') return 1 + kLetters[code - 'A'] / 16;
    if (code == ' ') return 180;
    if (code == '\n' || code == '.' || code == ',') return 12;
    return code < 0x80 ? 4 : 8;
}

// How far a jumping search runs the plain search after a jump before it calls the scanner again. A
// call costs as much as a few dozen plain steps, so a scan that skipped little doubles the stretch and
// one that skipped far resets it: where candidates are dense the scanner runs once per kMax characters
// and the search keeps the speed of the plain one; where they are sparse the scanner does nearly all
// the work.
class JumpStride {
public:
    static constexpr std::ptrdiff_t kMin = 16;
    static constexpr std::ptrdiff_t kMax = 4096;
    static constexpr std::ptrdiff_t kFarSkip = 32;

    std::ptrdiff_t After(std::ptrdiff_t skipped) noexcept {
        stride_ = skipped < kFarSkip ? std::min(2 * stride_, kMax) : kMin;
        return stride_;
    }

private:
    std::ptrdiff_t stride_ = kMin;
};

}  // namespace literal_search_detail

template <typename T>
class LiteralSearch {
    static_assert(std::is_same_v<T, char> || std::is_same_v<T, char16_t>, "8-bit or 16-bit characters only");

public:
    // An occurrence: [begin, end) within the searched buffer.
    struct Occurrence {
        const T* begin = nullptr;
        const T* end = nullptr;
    };

    LiteralSearch() = default;
    // Builds the search for `text` with the option bits of `pattern_options`; only poWholeWord,
    // poIgnoreCase and poSkipSpaces matter here. May throw std::bad_alloc.
    LiteralSearch(std::basic_string_view<T> text, LONG options);

    // An empty text finds nothing (the pattern object reports the failure before searching).
    bool Empty() const noexcept { return text_.empty(); }

    // Looks for the first occurrence that begins in [from, limit) of the buffer [buffer_begin,
    // buffer_end); it may run on past limit up to buffer_end. A limit beyond buffer_end counts as
    // buffer_end; from outside the buffer finds nothing. On success writes `found`.
    template <CandidateScan kScan = CandidateScan::jump>
    bool FindForward(const T* buffer_begin, const T* buffer_end, const T* from, const T* limit,
                     Occurrence& found) const noexcept;

    // Looks for the occurrence nearest to `to` that ends at or before `to` and whose last character
    // lies at or above lower_limit; it may begin below lower_limit, down to buffer_begin. A lower
    // limit below buffer_begin counts as buffer_begin; `to` outside the buffer finds nothing.
    template <CandidateScan kScan = CandidateScan::jump>
    bool FindBackward(const T* buffer_begin, const T* buffer_end, const T* to, const T* lower_limit,
                      Occurrence& found) const noexcept;

    static bool IsWhiteSpace(T c) noexcept {
        const auto code = static_cast<std::make_unsigned_t<T>>(c);
        if (code < 256) return code == 0x20 || (code >= 0x09 && code <= 0x0D);
        return literal_search_detail::IsWideWhiteSpace(static_cast<char16_t>(code));
    }
    static T ToLower(T c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<T>(c + ('a' - 'A')) : c; }

    // The automation text of a pattern as its characters: an 8-bit pattern keeps the low 8 bits of each
    // 16-bit unit, and gives its characters back widened by sign extension (0xE9 reads 0xFFE9).
    static std::basic_string<T> FromOleText(std::u16string_view text);
    static std::u16string ToOleText(std::basic_string_view<T> text);

private:
    template <CandidateScan kScan, typename TextIt, typename PatternIt>
    bool Search(TextIt buffer_first, TextIt buffer_last, TextIt from, TextIt limit, PatternIt pattern,
                std::ptrdiff_t scanned, TextIt& begin, TextIt& end) const noexcept;
    template <bool kFold, bool kSkipSpaces, typename TextIt, typename PatternIt>
    bool Jump(TextIt buffer_first, TextIt buffer_last, TextIt from, TextIt limit, PatternIt pattern,
              std::ptrdiff_t scanned, TextIt& begin, TextIt& end) const noexcept;
    template <bool kFold, bool kSkipSpaces, typename TextIt, typename PatternIt>
    bool Step(TextIt buffer_first, TextIt buffer_last, TextIt& t, TextIt limit, PatternIt pattern, TextIt& begin,
              TextIt& end) const noexcept;

    template <bool kFold, typename TextIt, typename PatternIt>
    bool Matches(TextIt at, TextIt buffer_last, PatternIt pattern) const noexcept;
    template <typename TextIt>
    static TextIt MatchSpace(TextIt t, TextIt buffer_last) noexcept;
    template <typename PatternIt>
    static std::ptrdiff_t LeastCommon(PatternIt first, PatternIt last);

    // Whether the character may be one of the pattern's (either case of it when ignoring case): false
    // only if it is none. Looked up by the low 8 bits.
    bool MayBeInPattern(T c) const noexcept {
        const unsigned low = static_cast<std::make_unsigned_t<T>>(c) & 0xFFU;
        return (in_pattern_[low >> 6] >> (low & 63)) & 1U;
    }

    std::basic_string<T> text_;  // lower-cased when ignoring case
    bool whole_word_ = false;
    bool ignore_case_ = false;
    bool skip_spaces_ = false;
    // Whether each pattern character takes one text character: not under skip spaces with white space.
    bool fixed_width_ = false;
    // The index, in search order, of the pattern character that jumping searches scan for.
    std::ptrdiff_t forward_scanned_ = 0;
    std::ptrdiff_t backward_scanned_ = 0;
    uint64_t in_pattern_[4] = {};
};

template <typename T>
LiteralSearch<T>::LiteralSearch(std::basic_string_view<T> text, LONG options)
    : text_(text),
      whole_word_((options & poWholeWord) != 0),
      ignore_case_((options & poIgnoreCase) != 0),
      skip_spaces_((options & poSkipSpaces) != 0) {
    if (ignore_case_) std::ranges::transform(text_, text_.begin(), ToLower);
    for (const T c : text_) {
        for (const T either : {c, ignore_case_ && c >= 'a' && c <= 'z' ? static_cast<T>(c - ('a' - 'A')) : c}) {
            const unsigned low = static_cast<std::make_unsigned_t<T>>(either) & 0xFFU;
            in_pattern_[low >> 6] |= uint64_t{1} << (low & 63);
        }
    }
    // Under skip spaces, white space in the pattern can take any number of characters: then only the
    // first character in search order lies at a known distance from where an occurrence begins.
    fixed_width_ = !skip_spaces_ || std::ranges::none_of(text_, IsWhiteSpace);
    if (fixed_width_) {
        forward_scanned_ = LeastCommon(text_.begin(), text_.end());
        backward_scanned_ = LeastCommon(text_.rbegin(), text_.rend());
    }
}

// The index of the least common character among [first, last), unless the first is about as rare:
// scanning for the first needs no looking back.
template <typename T>
template <typename PatternIt>
std::ptrdiff_t LiteralSearch<T>::LeastCommon(PatternIt first, PatternIt last) {
    auto commonness = [](T c) {
        return literal_search_detail::Commonness(static_cast<char16_t>(static_cast<std::make_unsigned_t<T>>(c)));
    };
    if (first == last) return 0;
    const PatternIt rarest = std::min_element(first, last, [&](T a, T b) { return commonness(a) < commonness(b); });
    return 2 * commonness(*rarest) < commonness(*first) ? rarest - first : 0;
}

template <typename T>
std::basic_string<T> LiteralSearch<T>::FromOleText(std::u16string_view text) {
    std::basic_string<T> characters(text.size(), T{});
    std::ranges::transform(text, characters.begin(), [](char16_t unit) {
        if constexpr (sizeof(T) == 1) return static_cast<T>(static_cast<unsigned char>(unit & 0xFF));
        else return unit;
    });
    return characters;
}

template <typename T>
std::u16string LiteralSearch<T>::ToOleText(std::basic_string_view<T> text) {
    std::u16string units(text.size(), u'\0');
    std::ranges::transform(text, units.begin(), [](T c) {
        if constexpr (sizeof(T) == 1) return static_cast<char16_t>(static_cast<int16_t>(static_cast<signed char>(c)));
        else return c;
    });
    return units;
}

template <typename T>
template <CandidateScan kScan>
bool LiteralSearch<T>::FindForward(const T* buffer_begin, const T* buffer_end, const T* from, const T* limit,
                                   Occurrence& found) const noexcept {
    if (text_.empty() || from < buffer_begin || from > buffer_end) return false;
    limit = std::min(limit, buffer_end);
    const T* begin = nullptr;
    const T* end = nullptr;
    const bool hit = Search<kScan>(buffer_begin, buffer_end, from, limit, text_.data(), forward_scanned_, begin, end);
    if (hit) found = {begin, end};
    return hit;
}

// Runs the forward search over reverse iterators: attempts then begin at the end of an occurrence and
// read the text and the pattern from their last characters down.
template <typename T>
template <CandidateScan kScan>
bool LiteralSearch<T>::FindBackward(const T* buffer_begin, const T* buffer_end, const T* to, const T* lower_limit,
                                    Occurrence& found) const noexcept {
    if (text_.empty() || to < buffer_begin || to > buffer_end) return false;
    using Reverse = std::reverse_iterator<const T*>;
    const Reverse first(buffer_end), last(buffer_begin), from(to), limit(std::max(lower_limit, buffer_begin));
    const Reverse pattern(text_.data() + text_.size());
    Reverse begin, end;
    const bool hit = Search<kScan>(first, last, from, limit, pattern, backward_scanned_, begin, end);
    if (hit) found = {end.base(), begin.base()};
    return hit;
}

// Picks the instantiation of the search for the options, so that its loop tests none of them. A
// white-space first character under skip spaces matches every character: that search cannot jump.
template <typename T>
template <CandidateScan kScan, typename TextIt, typename PatternIt>
bool LiteralSearch<T>::Search(TextIt buffer_first, TextIt buffer_last, TextIt from, TextIt limit,
                              PatternIt pattern, std::ptrdiff_t scanned, TextIt& begin, TextIt& end) const noexcept {
    const bool jump = kScan == CandidateScan::jump && !(skip_spaces_ && IsWhiteSpace(pattern[0]));
    auto with = [](bool flag, auto next) { return flag ? next(std::true_type{}) : next(std::false_type{}); };
    return with(ignore_case_, [&](auto fold) {
        return with(skip_spaces_, [&](auto skip_spaces) {
            if (jump) {
                return Jump<fold(), skip_spaces()>(buffer_first, buffer_last, from, limit, pattern, scanned, begin,
                                                   end);
            }
            return Step<fold(), skip_spaces()>(buffer_first, buffer_last, from, limit, pattern, begin, end);
        });
    });
}

// The jumping search: the plain search in stretches, between which the scanner skips to the next place
// where an occurrence can begin: where the pattern character `scanned` (in search order) lies that far
// on. A stretch ends with no attempt under way, so the plain search takes up exactly where it would
// have been; its loop is the very same code.
//
// When the pattern has a fixed width (always, but under skip spaces with white space in it), more is
// known. A character that is none of the pattern's ends any attempt, so the plain search can take up
// just after one, instead of where it stopped, if no occurrence begins in between. And a candidate
// found far from the last one is first compared with the pattern as it stands: if it differs, no
// occurrence begins there and the scanner goes on, while the plain search's own position moves up to a
// character that ends attempts close below the candidate (when there is none close, the plain search
// runs up to the candidate instead, so that it never has far to go back).
template <typename T>
template <bool kFold, bool kSkipSpaces, typename TextIt, typename PatternIt>
bool LiteralSearch<T>::Jump(TextIt buffer_first, TextIt buffer_last, TextIt from, TextIt limit,
                            PatternIt pattern, std::ptrdiff_t scanned, TextIt& begin, TextIt& end) const noexcept {
    using literal_search_detail::JumpStride;
    // Comparing a candidate with the pattern, and looking back for a character that ends attempts, pays
    // when the scanner skipped at least kCompareFrom characters; a character that ends attempts counts
    // as close within kNear.
    constexpr std::ptrdiff_t kCompareFrom = 16;
    constexpr std::ptrdiff_t kNear = 8;
    const T c = pattern[scanned];
    const T other_case = kFold && c >= 'a' && c <= 'z' ? static_cast<T>(c - ('a' - 'A')) : c;
    // The highest position down from `at` to `lowest` where no attempt can be under way: just after a
    // character that is none of the pattern's, else `lowest` (to be checked by the caller).
    auto ends_attempts = [this](TextIt at, TextIt lowest) {
        while (at != lowest && MayBeInPattern(at[-1])) --at;
        return at;
    };
    JumpStride stride;
    TextIt t = from;
    for (TextIt stretch_end = from;;) {
        if (Step<kFold, kSkipSpaces>(buffer_first, buffer_last, t, stretch_end, pattern, begin, end)) return true;
        if (t >= limit) return false;
        TextIt candidate = t;
        std::ptrdiff_t steps = 0;
        for (;;) {
            if (buffer_last - candidate <= scanned) return false;
            const TextIt scan_end = buffer_last - limit > scanned ? limit + scanned : buffer_last;
            const TextIt found = literal_search_detail::NextCandidate(candidate + scanned, scan_end, c, other_case);
            if (found == scan_end) return false;
            const std::ptrdiff_t skipped = found - scanned - candidate;
            candidate = found - scanned;
            steps = stride.After(skipped);
            if (!fixed_width_ || skipped < kCompareFrom || Matches<kFold>(candidate, buffer_last, pattern)) {
                break;
            }
            const TextIt lowest = candidate - t > kNear ? candidate - kNear : t;
            const TextIt near = ends_attempts(candidate, lowest);
            if (near == lowest && near != t && MayBeInPattern(near[-1])) break;
            t = near;
            ++candidate;
        }
        const TextIt resume = fixed_width_ ? ends_attempts(candidate, t) : candidate;
        steps = std::max(steps, candidate - resume + 1);
        t = resume;
        stretch_end = limit - t > steps ? t + steps : limit;
    }
}

// Whether the pattern stands at `at` character for character (a fixed-width pattern only).
template <typename T>
template <bool kFold, typename TextIt, typename PatternIt>
bool LiteralSearch<T>::Matches(TextIt at, TextIt buffer_last, PatternIt pattern) const noexcept {
    const auto m = static_cast<std::ptrdiff_t>(text_.size());
    if (buffer_last - at < m) return false;
    for (std::ptrdiff_t k = 0; k < m; ++k) {
        if (pattern[k] != (kFold ? ToLower(at[k]) : at[k])) return false;
    }
    return true;
}

// The plain search in one direction. buffer_first/buffer_last delimit the buffer in search order;
// attempts begin in [t, limit); `pattern` reads the text in search order. t is the text position to
// compare, k the pattern index, and `attempt` where the attempt under way began. Without an occurrence
// t is left where the search stopped: at or beyond limit, or at buffer_last when an attempt ran out.
template <typename T>
template <bool kFold, bool kSkipSpaces, typename TextIt, typename PatternIt>
bool LiteralSearch<T>::Step(TextIt buffer_first, TextIt buffer_last, TextIt& t, TextIt limit, PatternIt pattern,
                            TextIt& begin, TextIt& end) const noexcept {
    const size_t m = text_.size();
    TextIt attempt = t;
    size_t k = 0;
    for (;;) {
        if (k == 0) {
            if (t >= limit) [[unlikely]] return false;
            attempt = t;
        } else if (t == buffer_last) [[unlikely]] {
            return false;
        }

        const T w = pattern[k];
        if (w == (kFold ? ToLower(*t) : *t)) {
            ++k;
            ++t;
        } else if (kSkipSpaces && IsWhiteSpace(w)) {
            ++k;
            t = MatchSpace(t, buffer_last);
        } else {
            k = 0;
            ++t;
        }

        if (k == m) [[unlikely]] {
            if (!whole_word_ || ((attempt == buffer_first || IsWhiteSpace(attempt[-1])) &&
                                 (t == buffer_last || IsWhiteSpace(*t)))) {
                begin = attempt;
                end = t;
                return true;
            }
            // A rejected occurrence is a mismatch at the character after it.
            if (t == buffer_last) return false;
            k = 0;
            ++t;
        }
    }
}

// Skip spaces for a white-space pattern character that differs from the text character at t, which it
// always matches: where the match of the pattern character ends.
template <typename T>
template <typename TextIt>
TextIt LiteralSearch<T>::MatchSpace(TextIt t, TextIt buffer_last) noexcept {
    while (t != buffer_last && IsWhiteSpace(*t)) ++t;
    return t == buffer_last ? t : t + 1;
}

}  // namespace scrivix

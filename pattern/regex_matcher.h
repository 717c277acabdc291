// The matcher of compiled regular-expression programs and the search driver that runs it at successive
// candidate positions, for both character widths.
//
// What a run computes. A run from candidate c takes the items of the program in order. A plain item must
// match; a "?" item is taken when it matches and never reconsidered. A "*" or "+" item takes as many
// characters as it can, then gives back one at a time, down to its minimum, until the rest of the program,
// run as a test from there, matches; the run then goes on with the rest from that position. The rest test
// fails at the end of the buffer unless the rest starts with an end-of-line item. When a closure item is
// followed by a 0 unit (the program's end), the run ends there with everything the closure took.
//
// How it is computed. The program is cut into stages: a stage is a row of plain and "?" items, ended by
// one "*" or "+" item or by the end of the program. For one buffer, the run of stage s from position p,
// F(s, p), is a pure function of (s, p): its closure tries F(s + 1, r) for r from the end of its greedy
// take down to its minimum, and F(s, p) is the outcome of the first r the rest test accepts. A match found
// anywhere is the match of the whole run, so only failures need remembering, for the whole search:
// - the (stage, position) pairs known to fail after running some rest, so that no such F(s, p) runs its
//   rests twice (RegexFailureSet). Each rest run is then started at most once per (stage, position), so
//   the work of any program is polynomial in the text. A failure that ran no rest is cheap to find again
//   and is not kept: most failures are of that kind, and they would cost most of the memory;
// - per stage, the last greedy take (a later start inside it ends where it ended) and the positions known
//   to fail just below the last greedy end (a later give-back from that end skips them), which keeps
//   programs like a*a*a*a*b linear in the text for each closure.
// Stages are entered strictly in order, so at most one choice per stage is open at a time: the open
// choices live in per-stage scratch, and no depth of program uses the machine stack.
//
// The search driver skips candidates that cannot match: when the program begins (after a "^", which
// consumes nothing) with an item that must match one character, it scans for that item (memchr for a
// literal) and tests the items that follow it one character each before running the program. Likewise a
// closure that gives back tests the first item of the rest before running the rest, when that item must
// match one character. These tests only turn down runs that would fail.
//
// Choices where the language leaves the outcome open:
// - a closure over an item that matched without consuming anything (an end-of-line item, reachable only
//   through a literal whose code equals a closure code) stops taking: it would take nothing forever;
// - a search with a buffer of 2^32 characters or more works without the failure memory (same results,
//   no bound on the time).
#pragma once

#include "pattern/candidate_scan.h"
#include "pattern/regex_codes.h"
#include "pattern/regex_failure_set.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace scrivix {

template <typename T>
class DRegexMatcher {
public:
    using Codes = RegexCodes<T>;
    using Unit = typename Codes::Unit;

    // Takes a program: [program_begin, program_end) holds its units, and Codes::kPadding zero units after
    // program_end must stay readable while the matcher is used. Throws std::bad_alloc.
    void Load(const T* program_begin, const T* program_end);

    // Runs the program from `candidate` (buffer_begin <= candidate <= buffer_end). On a match sets
    // match_end to the position after the match (candidate itself for an empty match).
    bool Match(const T* buffer_begin, const T* buffer_end, const T* candidate, const T*& match_end) noexcept;

    // The first candidate c = from, from + 1, ... while c < limit at which the program matches. The match
    // may run on past limit, up to buffer_end. from and limit lie in the buffer; from >= limit finds nothing.
    // With CandidateScan::plain every candidate is run, none skipped by its first item.
    template <CandidateScan kScan = CandidateScan::jump>
    bool FindForward(const T* buffer_begin, const T* buffer_end, const T* from, const T* limit,
                     const T*& match_start, const T*& match_end) noexcept;

    // The highest candidate c with lower_limit <= c < before at which the program matches, trying c =
    // before - 1, before - 2, ... The match may run on past before, up to buffer_end. lower_limit and before
    // lie in the buffer; lower_limit >= before finds nothing.
    template <CandidateScan kScan = CandidateScan::jump>
    bool FindBackward(const T* buffer_begin, const T* buffer_end, const T* lower_limit, const T* before,
                      const T*& match_start, const T*& match_end) noexcept;

private:
    using Pos = std::ptrdiff_t;
    enum class Closure : unsigned char { kNone, kOptional, kStar, kPlus };
    enum class Step { kMatched, kFailed, kOpen };

    struct Item {
        const T* at;  // the item's first unit, after its closure code
        Closure closure;
        bool single;  // consumes exactly one character whenever it matches
    };
    struct Stage {
        std::size_t first = 0;  // items_[first, last) are its plain and "?" items
        std::size_t last = 0;   // items_[last] is its "*" or "+" item when it `closes`
        bool closes = false;
        bool starts_at_line_end = false;  // its first unit is opLineEnd or opLineBreakEnd
        bool terminal = false;            // its first unit is 0: a run that reaches it has matched
        // Its first item must match one character where it is entered (a plain or "+" item that consumes
        // one): testing it alone turns most entries down before a run.
        bool gated = false;
    };
    // Scratch of one stage. The open choice: entered at `entry`, tries the rest at `next`, not below `min`;
    // `settled` when the rest was accepted at the end of the buffer, so that its outcome is final;
    // `expanded` once it has run a rest.
    struct StageState {
        Pos entry = 0, min = 0, next = 0;
        bool settled = false;
        bool expanded = false;
        // Every position in [greedy_start, greedy_end) matches the closure item, which stops at greedy_end.
        std::uint32_t greedy_generation = 0;
        Pos greedy_start = 0, greedy_end = 0;
        // The rest fails at every position in [scan_low, scan_top].
        std::uint32_t scan_generation = 0;
        Pos scan_top = 0, scan_low = 0;
    };

    void BeginSearch(const T* buffer_begin, const T* buffer_end) noexcept;
    bool Run(Pos candidate, Pos& end) noexcept;
    Step Enter(std::size_t s, Pos p, Pos& end) noexcept;
    bool Retry(std::size_t s) noexcept;
    Pos Greedy(StageState& state, const Item& item, Pos p) noexcept;
    int Test(const Item& item, Pos p) const noexcept { return Codes::Test(item.at, b_, b_ + n_, b_ + p); }
    bool Failed(std::size_t s, Pos p) const noexcept { return memory_ && failed_.Contains(std::uint32_t(s), std::uint32_t(p)); }
    template <typename Scan> Pos ScanForFirstItem(Scan scan) const noexcept;
    Pos SkipForward(Pos c, Pos limit) const noexcept;
    Pos SkipBackward(Pos c, Pos lower) const noexcept;
    unsigned RangeHits(Pos at) const noexcept;
    bool PrefixMatches(Pos c) const noexcept {
        for (std::size_t k = filter_item_ + 1; k < prefix_end_; ++k) {
            if (Test(items_[k], c + Pos(k - filter_item_)) < 0) return false;
        }
        return true;
    }

    std::vector<Item> items_;
    std::vector<Stage> stages_;
    std::vector<StageState> states_;
    // Candidates are filtered by items_[filter_item_], which must match one character at the candidate:
    // the first item, or the one after a leading "^" (which consumes nothing).
    bool filter_ = false;
    std::size_t filter_item_ = 0;
    // items_(filter_item_, prefix_end_) follow it one character each: a candidate must match them too.
    std::size_t prefix_end_ = 0;
    // When the filter item is a class of one range of codes, [range_low_, range_low_ + range_span_], as
    // the class looks them up: the scan tests a block of characters at a time.
    bool range_class_ = false;
    Unit range_low_ = 0, range_span_ = 0;
    RegexFailureSet failed_;
    std::uint32_t generation_ = 0;
    bool memory_ = false;
    const T* b_ = nullptr;
    Pos n_ = 0;
};

template <typename T>
void DRegexMatcher<T>::Load(const T* program_begin, const T* program_end) {
    items_.clear();
    stages_.clear();
    states_.clear();
    filter_ = false;
    if (program_begin == program_end) return;
    stages_.emplace_back();
    for (const T* i = program_begin; i < program_end;) {
        const Unit code = Unit(*i);
        Closure closure = Closure::kNone;
        if (Codes::IsClosure(code)) {
            closure = code == Codes::opStar ? Closure::kStar : code == Codes::opPlus ? Closure::kPlus : Closure::kOptional;
            ++i;
        }
        items_.push_back(Item{i, closure, !Codes::IsAnchor(Unit(*i))});
        i += Codes::ItemLength(Unit(*i));
        if (closure == Closure::kStar || closure == Closure::kPlus) {
            stages_.back().last = items_.size() - 1;
            stages_.back().closes = true;
            Stage rest;
            rest.first = rest.last = items_.size();
            rest.starts_at_line_end = Unit(*i) == Codes::opLineEnd || Unit(*i) == Codes::opLineBreakEnd;
            rest.terminal = Unit(*i) == 0;
            stages_.push_back(rest);
            // Nothing after a terminal stage is ever run.
            if (rest.terminal) break;
        }
    }
    if (!stages_.back().closes) stages_.back().last = items_.size();
    states_.resize(stages_.size());
    const auto consumes_one = [this](std::size_t k, const Stage& stage) {
        const Item& item = items_[k];
        return item.single && (item.closure == Closure::kNone ? k < stage.last : item.closure == Closure::kPlus);
    };
    for (Stage& stage : stages_) stage.gated = !stage.terminal && stage.first < items_.size() && consumes_one(stage.first, stage);
    filter_item_ = Unit(*items_.front().at) == Codes::opLineStart && items_.front().closure == Closure::kNone ? 1 : 0;
    filter_ = filter_item_ < items_.size() && consumes_one(filter_item_, stages_.front());
    range_class_ = false;
    if (filter_ && Unit(*items_[filter_item_].at) == Codes::opClass) {
        const T* bitmap = items_[filter_item_].at + 1;
        unsigned low = 0;
        while (low <= Codes::kCodeMask && !Codes::InClass(bitmap, Unit(low))) ++low;
        unsigned high = low;
        while (high < Codes::kCodeMask && Codes::InClass(bitmap, Unit(high + 1))) ++high;
        unsigned after = high + 1;
        while (after <= Codes::kCodeMask && !Codes::InClass(bitmap, Unit(after))) ++after;
        range_class_ = low <= Codes::kCodeMask && after > Codes::kCodeMask;
        range_low_ = Unit(low);
        range_span_ = Unit(high - low);
    }
    prefix_end_ = filter_item_ + 1;
    while (filter_ && items_[prefix_end_ - 1].closure == Closure::kNone && prefix_end_ < items_.size() &&
           consumes_one(prefix_end_, stages_.front())) {
        ++prefix_end_;
    }
    generation_ = 0;
}

template <typename T>
void DRegexMatcher<T>::BeginSearch(const T* buffer_begin, const T* buffer_end) noexcept {
    b_ = buffer_begin;
    n_ = buffer_end - buffer_begin;
    memory_ = n_ < Pos{0xFFFFFFFF} && stages_.size() < 0xFFFFFFFF;
    failed_.Clear();
    if (++generation_ == 0) {
        for (StageState& state : states_) state.greedy_generation = state.scan_generation = 0;
        generation_ = 1;
    }
}

template <typename T>
bool DRegexMatcher<T>::Match(const T* buffer_begin, const T* buffer_end, const T* candidate,
                             const T*& match_end) noexcept {
    BeginSearch(buffer_begin, buffer_end);
    const Pos c = candidate - buffer_begin;
    Pos end = 0;
    if (c < 0 || c > n_ || !Run(c, end)) return false;
    match_end = b_ + end;
    return true;
}

template <typename T>
template <CandidateScan kScan>
bool DRegexMatcher<T>::FindForward(const T* buffer_begin, const T* buffer_end, const T* from, const T* limit,
                                   const T*& match_start, const T*& match_end) noexcept {
    BeginSearch(buffer_begin, buffer_end);
    const Pos stop = std::min<Pos>(limit - b_, n_);
    for (Pos c = std::max<Pos>(from - b_, 0); c < stop; ++c) {
        if (kScan == CandidateScan::jump && filter_) {
            c = SkipForward(c, stop);
            if (c == stop) break;
            if (!PrefixMatches(c)) continue;
        }
        Pos end = 0;
        if (Run(c, end)) {
            match_start = b_ + c;
            match_end = b_ + end;
            return true;
        }
    }
    return false;
}

template <typename T>
template <CandidateScan kScan>
bool DRegexMatcher<T>::FindBackward(const T* buffer_begin, const T* buffer_end, const T* lower_limit,
                                    const T* before, const T*& match_start, const T*& match_end) noexcept {
    BeginSearch(buffer_begin, buffer_end);
    const Pos lower = std::max<Pos>(lower_limit - b_, 0);
    for (Pos c = std::min<Pos>(before - b_, n_) - 1; c >= lower; --c) {
        if (kScan == CandidateScan::jump && filter_) {
            c = SkipBackward(c, lower);
            if (c < lower) break;
            if (!PrefixMatches(c)) continue;
        }
        Pos end = 0;
        if (Run(c, end)) {
            match_start = b_ + c;
            match_end = b_ + end;
            return true;
        }
    }
    return false;
}

// The run from one candidate: enter stages in order; when a stage fails, go back to the innermost open
// choice that has another position to offer, remembering each failure on the way.
template <typename T>
bool DRegexMatcher<T>::Run(Pos candidate, Pos& end) noexcept {
    if (stages_.empty()) return false;
    std::size_t s = 0;
    Pos p = candidate;
    for (;;) {
        const Step step = Enter(s, p, end);
        if (step == Step::kMatched) return true;
        bool open = step == Step::kOpen;
        while (!(open && Retry(s))) {
            if (s == 0) return false;
            if (memory_ && states_[s].expanded) failed_.Insert(std::uint32_t(s), std::uint32_t(states_[s].entry));
            StageState& parent = states_[--s];
            // A rest accepted at the end of the buffer settles the choice: its failure is the parent's.
            open = !parent.settled;
            if (open) parent.scan_low = parent.next--;
        }
        states_[s].expanded = true;
        p = states_[s].next;
        ++s;
    }
}

// Runs the plain and "?" items of stage s from p, then the mandatory and greedy parts of its closure,
// and opens its choice.
template <typename T>
typename DRegexMatcher<T>::Step DRegexMatcher<T>::Enter(std::size_t s, Pos p, Pos& end) noexcept {
    StageState& state = states_[s];
    state.entry = p;
    state.expanded = false;
    const Stage& stage = stages_[s];
    for (std::size_t k = stage.first; k < stage.last; ++k) {
        const int taken = Test(items_[k], p);
        if (taken >= 0) {
            p += taken;
        } else if (items_[k].closure != Closure::kOptional) {
            return Step::kFailed;
        }
    }
    if (!stage.closes) {
        end = p;
        return Step::kMatched;
    }
    const Item& item = items_[stage.last];
    if (item.closure == Closure::kPlus) {
        const int taken = Test(item, p);
        if (taken < 0) return Step::kFailed;
        p += taken;
    }
    state.min = p;
    const Pos top = Greedy(state, item, p);
    if (stages_[s + 1].terminal) {
        end = top;
        return Step::kMatched;
    }
    if (state.scan_generation != generation_ || state.scan_top != top) {
        state.scan_generation = generation_;
        state.scan_top = top;
        state.scan_low = top + 1;
    }
    state.next = top;
    state.settled = false;
    return Step::kOpen;
}

// Moves the open choice of stage s down to the next position where the rest may match; false when the
// choice is exhausted. Invariant: next = scan_low - 1 or next >= scan_low.
template <typename T>
bool DRegexMatcher<T>::Retry(std::size_t s) noexcept {
    StageState& state = states_[s];
    const Stage& rest = stages_[s + 1];
    while (state.next >= state.min) {
        const Pos r = state.next;
        if (r == n_ && rest.starts_at_line_end) {
            // The rest is accepted here for good: if it is known to fail, so does this choice.
            state.settled = true;
            return !Failed(s + 1, r);
        }
        if (r >= state.scan_low) {
            state.next = state.scan_low - 1;
            continue;
        }
        if (r < n_ && (!rest.gated || Test(items_[rest.first], r) > 0) && !Failed(s + 1, r)) return true;
        state.scan_low = state.next--;
    }
    return false;
}

template <typename T>
typename DRegexMatcher<T>::Pos DRegexMatcher<T>::Greedy(StageState& state, const Item& item, Pos p) noexcept {
    if (!item.single) {
        for (int taken; p < n_ && (taken = Test(item, p)) > 0;) p += taken;
        return p;
    }
    if (state.greedy_generation != generation_) {
        state.greedy_generation = generation_;
        state.greedy_start = state.greedy_end = -1;
    } else if (state.greedy_start <= p && p <= state.greedy_end) {
        return state.greedy_end;
    }
    const Pos start = p;
    while (p < n_ && Test(item, p) > 0) {
        if (++p == state.greedy_start) {
            p = state.greedy_end;
            break;
        }
    }
    state.greedy_start = start;
    state.greedy_end = p;
    return p;
}

// Calls scan with the test of the first item on one character, specialised per kind of item.
template <typename T>
template <typename Scan>
typename DRegexMatcher<T>::Pos DRegexMatcher<T>::ScanForFirstItem(Scan scan) const noexcept {
    const T* item = items_[filter_item_].at;
    const Unit op = Unit(*item);
    if (op == Codes::opClass) return scan([item](Unit c) { return Codes::InClass(item + 1, c); });
    if (op == Codes::opAnyChar) return scan([](Unit c) { return c != '\n'; });
    return scan([op](Unit c) { return c == op; });
}

template <typename T>
typename DRegexMatcher<T>::Pos DRegexMatcher<T>::SkipForward(Pos c, Pos limit) const noexcept {
    if constexpr (sizeof(T) == 1) {
        const Unit op = Unit(*items_[filter_item_].at);
        if (op != Codes::opClass && op != Codes::opAnyChar) {
            const void* hit = std::memchr(b_ + c, op, std::size_t(limit - c));
            return hit ? static_cast<const T*>(hit) - b_ : limit;
        }
    }
#if defined(__SSE2__)
    if (range_class_) {
        for (constexpr Pos kBlock = 16 / sizeof(T); limit - c >= kBlock; c += kBlock) {
            if (const unsigned hits = RangeHits(c)) return c + std::countr_zero(hits) / Pos(sizeof(T));
        }
    }
#endif
    return ScanForFirstItem([&](auto accepts) {
        while (c < limit && !accepts(Unit(b_[c]))) ++c;
        return c;
    });
}

template <typename T>
typename DRegexMatcher<T>::Pos DRegexMatcher<T>::SkipBackward(Pos c, Pos lower) const noexcept {
    if constexpr (sizeof(T) == 1) {
        const Unit op = Unit(*items_[filter_item_].at);
        if (op != Codes::opClass && op != Codes::opAnyChar) {
            const void* hit = memrchr(b_ + lower, op, std::size_t(c + 1 - lower));
            return hit ? static_cast<const T*>(hit) - b_ : lower - 1;
        }
    }
#if defined(__SSE2__)
    if (range_class_) {
        for (constexpr Pos kBlock = 16 / sizeof(T); c + 1 - lower >= kBlock; c -= kBlock) {
            if (const unsigned hits = RangeHits(c + 1 - kBlock)) {
                return c + 1 - kBlock + (31 - std::countl_zero(hits)) / Pos(sizeof(T));
            }
        }
    }
#endif
    return ScanForFirstItem([&](auto accepts) {
        while (c >= lower && !accepts(Unit(b_[c]))) --c;
        return c;
    });
}

// The 16 bytes at position `at`: one bit per byte of each character in the range class (both bytes of a
// 16-bit one). A code is in the range when its distance above the low end, wrapping, is at most the span.
template <typename T>
unsigned DRegexMatcher<T>::RangeHits(Pos at) const noexcept {
#if defined(__SSE2__)
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b_ + at));
    if constexpr (sizeof(T) == 1) {
        const __m128i code = _mm_and_si128(block, _mm_set1_epi8(char(Codes::kCodeMask)));
        const __m128i above = _mm_sub_epi8(code, _mm_set1_epi8(char(range_low_)));
        const __m128i beyond = _mm_subs_epu8(above, _mm_set1_epi8(char(range_span_)));
        return unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128())));
    } else {
        const __m128i code = _mm_and_si128(block, _mm_set1_epi16(short(Codes::kCodeMask)));
        const __m128i above = _mm_sub_epi16(code, _mm_set1_epi16(short(range_low_)));
        const __m128i beyond = _mm_subs_epu16(above, _mm_set1_epi16(short(range_span_)));
        return unsigned(_mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())));
    }
#else
    (void)at;
    return 0;
#endif
}

}  // namespace scrivix

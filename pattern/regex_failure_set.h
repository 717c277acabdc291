// The matcher's memory of (stage, position) pairs at which the rest of a program is known to fail. It is
// a cache of a pure function, so it may forget at any time: it forgets everything at the start of each
// search in O(1) (by generation), and it clears itself instead of growing past a fixed size or when memory
// runs out, so a search never fails or throws because of it.
//
// Failures come in runs of neighbouring positions of one stage, so positions are kept as bits of 64-position
// blocks in an open-addressing hash table: neighbours share a slot and a cache line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace scrivix {

class RegexFailureSet {
public:
    void Clear() noexcept {
        count_ = 0;
        if (++generation_ == 0) {
            for (Slot& slot : slots_) slot.generation = 0;
            generation_ = 1;
        }
    }

    bool Contains(std::uint32_t stage, std::uint32_t position) const noexcept {
        if (slots_.empty()) return false;
        const Slot& slot = slots_[Find(stage, position >> 6)];
        return slot.generation == generation_ && (slot.bits >> (position & 63)) & 1U;
    }

    void Insert(std::uint32_t stage, std::uint32_t position) noexcept {
        if (slots_.empty() && !Grow()) return;
        std::size_t i = Find(stage, position >> 6);
        if (slots_[i].generation != generation_) {
            if ((count_ + 1) * 2 > slots_.size()) {
                if (!Grow()) return;
                i = Find(stage, position >> 6);
            }
            slots_[i] = Slot{0, generation_, stage, position >> 6};
            ++count_;
        }
        slots_[i].bits |= std::uint64_t{1} << (position & 63);
    }

private:
    struct Slot {
        std::uint64_t bits = 0;
        std::uint32_t generation = 0;
        std::uint32_t stage = 0;
        std::uint32_t block = 0;
    };
    static constexpr int kFirstShift = 8;
    static constexpr int kMaxShift = 20;  // 24 MB

    // The index of the slot that holds the block, or of the free slot where it would go.
    std::size_t Find(std::uint32_t stage, std::uint32_t block) const noexcept {
        const std::uint64_t key = (std::uint64_t{stage} << 32) | block;
        const std::size_t mask = slots_.size() - 1;
        for (std::size_t i = std::size_t((key * 0x9E3779B97F4A7C15ULL) >> (64 - shift_));; i = (i + 1) & mask) {
            const Slot& slot = slots_[i];
            if (slot.generation != generation_ || (slot.stage == stage && slot.block == block)) return i;
        }
    }

    // Doubles the table keeping what it holds; at the size limit, or without memory, it starts afresh
    // instead. Returns whether there is a table to insert into.
    bool Grow() noexcept {
        if (shift_ >= kMaxShift) {
            Clear();
            return true;
        }
        const int shift = slots_.empty() ? kFirstShift : shift_ + 1;
        std::vector<Slot> old;
        try {
            old.resize(std::size_t{1} << shift);
        } catch (const std::bad_alloc&) {
            Clear();
            return !slots_.empty();
        }
        old.swap(slots_);
        shift_ = shift;
        for (const Slot& slot : old) {
            if (slot.generation == generation_) slots_[Find(slot.stage, slot.block)] = slot;
        }
        return true;
    }

    std::vector<Slot> slots_;
    int shift_ = 0;
    std::uint32_t generation_ = 1;
    std::size_t count_ = 0;
};

}  // namespace scrivix

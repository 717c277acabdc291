// The matcher's memory of (stage, position) pairs at which the rest of a program is known to fail. It is
// a cache of a pure function, so it may forget at any time: it forgets everything at the start of each
// search in O(1) (by generation), and it clears itself instead of growing past a fixed size or when memory
// runs out, so a search never fails or throws because of it.
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
        for (std::size_t i = Home(stage, position);; i = (i + 1) & (slots_.size() - 1)) {
            const Slot& slot = slots_[i];
            if (slot.generation != generation_) return false;
            if (slot.stage == stage && slot.position == position) return true;
        }
    }

    void Insert(std::uint32_t stage, std::uint32_t position) noexcept {
        if ((count_ + 1) * 2 > slots_.size() && !Grow()) return;
        for (std::size_t i = Home(stage, position);; i = (i + 1) & (slots_.size() - 1)) {
            Slot& slot = slots_[i];
            if (slot.generation != generation_) {
                slot = Slot{generation_, stage, position};
                ++count_;
                return;
            }
            if (slot.stage == stage && slot.position == position) return;
        }
    }

private:
    struct Slot {
        std::uint32_t generation = 0;
        std::uint32_t stage = 0;
        std::uint32_t position = 0;
    };
    static constexpr std::size_t kFirstSlots = 1024;
    static constexpr std::size_t kMaxSlots = std::size_t{1} << 21;  // 24 MB

    std::size_t Home(std::uint32_t stage, std::uint32_t position) const noexcept {
        const std::uint64_t key = (std::uint64_t{stage} << 32) | position;
        return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ULL) >> 40) & (slots_.size() - 1);
    }

    // Doubles the table keeping what it holds; at the size limit or without memory it starts afresh
    // instead. Returns whether there is room to insert.
    bool Grow() noexcept {
        if (slots_.size() >= kMaxSlots) {
            Clear();
            return true;
        }
        std::vector<Slot> old;
        try {
            old.resize(slots_.empty() ? kFirstSlots : slots_.size() * 2);
        } catch (const std::bad_alloc&) {
            Clear();
            return !slots_.empty();
        }
        old.swap(slots_);
        const std::uint32_t generation = generation_;
        count_ = 0;
        for (const Slot& slot : old) {
            if (slot.generation == generation) Insert(slot.stage, slot.position);
        }
        return true;
    }

    std::vector<Slot> slots_;
    std::uint32_t generation_ = 1;
    std::size_t count_ = 0;
};

}  // namespace scrivix

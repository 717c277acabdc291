// The module's count of live objects and server locks, kept per thread.
//
// Objects are made and dropped at a high rate (a buffer segment and a text segment for every stop of an
// iterator), so one shared atomic would put a locked instruction, on one cache line contended by every
// thread, into each of them. Instead each thread counts in a slot of its own, which only it writes, and
// the count is the sum of the slots and of what threads that ended left behind. An object made on one
// thread and released on another counts +1 in the first slot and -1 in the second: the sum is right.
// The sum is exact whenever no object is being made or released meanwhile, which is when it is asked
// (DllCanUnloadNow, a suite's end).
#include "frame/object.h"

#include <atomic>
#include <mutex>

namespace scrivix {
namespace {

struct Slot {
    std::atomic<LONG> count{0};
    Slot* next = nullptr;
    Slot* previous = nullptr;
};

class SlotList {
public:
    void Add(Slot& slot) {
        std::lock_guard guard(mutex_);
        slot.next = head_;
        if (head_) head_->previous = &slot;
        head_ = &slot;
    }
    // Folds the slot's count into the retired count and takes it out, in one step for the sum.
    void Retire(Slot& slot) {
        std::lock_guard guard(mutex_);
        retired_ += slot.count.load(std::memory_order_relaxed);
        (slot.previous ? slot.previous->next : head_) = slot.next;
        if (slot.next) slot.next->previous = slot.previous;
    }
    void AddRetired(LONG change) {
        std::lock_guard guard(mutex_);
        retired_ += change;
    }
    LONG Sum() {
        std::lock_guard guard(mutex_);
        LONG sum = retired_;
        for (const Slot* slot = head_; slot; slot = slot->next) sum += slot->count.load(std::memory_order_relaxed);
        return sum;
    }

private:
    std::mutex mutex_;
    Slot* head_ = nullptr;
    LONG retired_ = 0;
};

// Never destroyed: threads may still end, and objects be released, while the process shuts down.
SlotList& Slots() {
    static SlotList* const slots = new SlotList;
    return *slots;
}

// The thread's slot, registered on first use and retired when the thread ends. After that (objects
// released by destructors of other thread-local data) the thread counts in the retired count.
class ThreadSlot {
public:
    ThreadSlot() {
        Slots().Add(slot_);
        current_ = &slot_;
    }
    ~ThreadSlot() {
        current_ = nullptr;
        ended_ = true;
        Slots().Retire(slot_);
    }

    static void Change(LONG change) {
        if (Slot* slot = current_) {
            slot->count.store(slot->count.load(std::memory_order_relaxed) + change, std::memory_order_relaxed);
            return;
        }
        if (ended_) return Slots().AddRetired(change);
        thread_local ThreadSlot registered;
        Change(change);
    }

private:
    Slot slot_;
    // Plain values, read without the guard that a thread-local object with a destructor needs, and in
    // the static TLS block: a few bytes, and no look-up call on every count.
    [[gnu::tls_model("initial-exec")]] static thread_local Slot* current_;
    [[gnu::tls_model("initial-exec")]] static thread_local bool ended_;
};

[[gnu::tls_model("initial-exec")]] thread_local Slot* ThreadSlot::current_ = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local bool ThreadSlot::ended_ = false;

}  // namespace

void ModuleAddRef() { ThreadSlot::Change(+1); }
void ModuleRelease() { ThreadSlot::Change(-1); }
LONG ModuleObjectCount() { return Slots().Sum(); }

}  // namespace scrivix

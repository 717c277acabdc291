// The lock word's transitions. A waiter sleeps until the word changes and then looks again.
#include "buffer/edit_buffer_locks.h"

namespace scrivix {

void DEditBufferLocks::LockRead() {
    uint32_t state = state_.load(std::memory_order_relaxed);
    for (;;) {
        if (state & kWriter) {
            state_.wait(state, std::memory_order_relaxed);
            state = state_.load(std::memory_order_relaxed);
        } else if (state_.compare_exchange_weak(state, state + 1, std::memory_order_acquire,
                                                std::memory_order_relaxed)) {
            return;
        }
    }
}

void DEditBufferLocks::UnlockRead() {
    uint32_t state = state_.load(std::memory_order_relaxed);
    do {
        if ((state & kReaderMask) == 0) return;
    } while (!state_.compare_exchange_weak(state, state - 1, std::memory_order_release, std::memory_order_relaxed));
    // The last reader out lets a waiting writer in.
    if (state == 1) state_.notify_all();
}

void DEditBufferLocks::EnterWrite() {
    uint32_t state = state_.load(std::memory_order_relaxed);
    for (;;) {
        if (state != 0) {
            state_.wait(state, std::memory_order_relaxed);
            state = state_.load(std::memory_order_relaxed);
        } else if (state_.compare_exchange_weak(state, kWriter, std::memory_order_acquire,
                                                std::memory_order_relaxed)) {
            return;
        }
    }
}

void DEditBufferLocks::LeaveWrite() {
    state_.store(0, std::memory_order_release);
    state_.notify_all();
}

}  // namespace scrivix

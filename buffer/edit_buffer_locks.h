// DEditBufferLocks: the read locks and the write exclusion of an edit buffer. Any number of readers, or
// one writer; readers are preferred (a waiting writer does not hold new readers back); a read lock belongs
// to no thread; nothing times out.
//
// The buffer's two conditions, "no readers" and "gate open" (no writer active), are kept in one atomic
// word: the reader count in the low bits and a writer bit. A reader's passing of the gate together with
// its count, and a writer's check of both conditions together with its closing of the gate, are then each
// one compare-and-swap, which makes them atomic with respect to each other. Waiters sleep on the word.
#pragma once

#include <scrivix/scrivix.h>

#include <atomic>
#include <cstdint>

namespace scrivix {

class DEditBufferLocks {
public:
    DEditBufferLocks() = default;
    DEditBufferLocks(const DEditBufferLocks&) = delete;
    DEditBufferLocks& operator=(const DEditBufferLocks&) = delete;
    virtual ~DEditBufferLocks() = default;

    // Waits while a writer is active, then counts one more reader.
    void LockRead();
    // Counts one reader less. Without a read lock held it does nothing: the count never goes below 0, so
    // a stray unlock cannot let a writer in under another reader's feet.
    void UnlockRead();

    // Waits until no reader and no writer is active, then closes the gate.
    void EnterWrite();
    void LeaveWrite();

    LONG Readers() const { return static_cast<LONG>(state_.load() & kReaderMask); }

private:
    static constexpr uint32_t kWriter = 0x80000000u;
    static constexpr uint32_t kReaderMask = ~kWriter;

    std::atomic<uint32_t> state_{0};
};

// Holds the write exclusion of a buffer for a scope.
class WriteExclusion {
public:
    explicit WriteExclusion(DEditBufferLocks& locks) : locks_(locks) { locks_.EnterWrite(); }
    ~WriteExclusion() { locks_.LeaveWrite(); }
    WriteExclusion(const WriteExclusion&) = delete;
    WriteExclusion& operator=(const WriteExclusion&) = delete;

private:
    DEditBufferLocks& locks_;
};

// Holds a read lock of a buffer for a scope.
class ReadLock {
public:
    explicit ReadLock(DEditBufferLocks& locks) : locks_(locks) { locks_.LockRead(); }
    ~ReadLock() { locks_.UnlockRead(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

private:
    DEditBufferLocks& locks_;
};

}  // namespace scrivix

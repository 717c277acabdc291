// Synchronisation services of the platform: critical sections (recursive locks), manual-reset events
// with single and combined waits, and the process id. Nothing here times out. (Atomic counts are the
// language's std::atomic.)
#pragma once

#include <scrivix/scrivix.h>

#include <condition_variable>
#include <initializer_list>
#include <mutex>

namespace scrivix::platform {

// A recursive lock: the thread that holds it may enter it again.
class CriticalSection {
public:
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    bool try_lock() { return mutex_.try_lock(); }

private:
    std::recursive_mutex mutex_;
};

using CriticalSectionLock = std::lock_guard<CriticalSection>;

// A manual-reset event: once set it stays signalled, releasing every waiter, until it is reset.
// Events that are waited on together must be registered with the same EventGroup, whose one mutex and
// condition guard all of their states; that is what makes a combined wait atomic.
class EventGroup {
public:
    std::mutex& mutex() { return mutex_; }
    std::condition_variable& changed() { return changed_; }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
};

class ManualResetEvent {
public:
    ManualResetEvent(EventGroup& group, bool initially_set) : group_(group), set_(initially_set) {}

    void Set() {
        std::lock_guard guard(group_.mutex());
        set_ = true;
        group_.changed().notify_all();
    }
    void Reset() {
        std::lock_guard guard(group_.mutex());
        set_ = false;
    }
    bool IsSet() {
        std::lock_guard guard(group_.mutex());
        return set_;
    }
    void Wait() {
        std::unique_lock guard(group_.mutex());
        group_.changed().wait(guard, [this] { return set_; });
    }

    // Waits until every event of the list is set at the same moment; then runs `then` with the group's
    // mutex still held, so that the caller can act on that state before anyone changes it.
    template <class Then>
    static void WaitAll(EventGroup& group, std::initializer_list<ManualResetEvent*> events, Then then) {
        std::unique_lock guard(group.mutex());
        group.changed().wait(guard, [&] {
            for (auto* event : events)
                if (!event->set_) return false;
            return true;
        });
        then();
    }

    // Waits until any event of the list is set; returns its index in the list.
    static size_t WaitAny(EventGroup& group, std::initializer_list<ManualResetEvent*> events) {
        std::unique_lock guard(group.mutex());
        size_t index = 0;
        group.changed().wait(guard, [&] {
            index = 0;
            for (auto* event : events) {
                if (event->set_) return true;
                ++index;
            }
            return false;
        });
        return index;
    }

    // State and changes for use inside WaitAll's `then`, where the group's mutex is already held.
    bool IsSetLocked() const { return set_; }
    void SetLocked() {
        set_ = true;
        group_.changed().notify_all();
    }
    void ResetLocked() { set_ = false; }

private:
    EventGroup& group_;
    bool set_;
};

// The id of the process the library runs in.
LONG CurrentProcessId();

}  // namespace scrivix::platform

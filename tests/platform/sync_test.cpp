// The platform's synchronisation services with real threads: a manual-reset event releases every waiter
// and stays set, a combined wait sees all of its events set at one moment, and a critical section may be
// entered again by the thread that holds it.
#include "platform/sync.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

namespace scrivix::platform {
namespace {

TEST(ManualResetEvent, ReleasesEveryWaiterAndStaysSet) {
    EventGroup group;
    ManualResetEvent event(group, false);
    std::atomic<int> released{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) waiters.emplace_back([&] { event.Wait(); ++released; });
    EXPECT_FALSE(event.IsSet());
    event.Set();
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(released, 3);
    EXPECT_TRUE(event.IsSet());
    event.Wait();  // a set event does not block
    event.Reset();
    EXPECT_FALSE(event.IsSet());
}

TEST(ManualResetEvent, WaitAllActsWhileEveryEventIsSet) {
    EventGroup group;
    ManualResetEvent first(group, true), second(group, false);
    std::atomic<bool> acted{false};
    std::thread waiter([&] {
        ManualResetEvent::WaitAll(group, {&first, &second}, [&] {
            // Still under the group's lock: nothing can have changed the events since the wait ended.
            EXPECT_TRUE(first.IsSetLocked() && second.IsSetLocked());
            first.ResetLocked();
            acted = true;
        });
    });
    second.Set();
    waiter.join();
    EXPECT_TRUE(acted);
    EXPECT_FALSE(first.IsSet()) << "the action ran before anyone else saw both set";
}

TEST(ManualResetEvent, WaitAnyGivesTheIndexOfASetEvent) {
    EventGroup group;
    ManualResetEvent a(group, false), b(group, false);
    std::thread setter([&] { b.Set(); });
    EXPECT_EQ(ManualResetEvent::WaitAny(group, {&a, &b}), 1u);
    setter.join();
}

TEST(CriticalSection, TheHolderMayEnterAgainButNoOtherThread) {
    CriticalSection section;
    CriticalSectionLock outer(section), inner(section);
    std::thread([&] { EXPECT_FALSE(section.try_lock()); }).join();
}

TEST(ProcessId, IsThisProcess) { EXPECT_EQ(CurrentProcessId(), static_cast<LONG>(::getpid())); }

}  // namespace
}  // namespace scrivix::platform

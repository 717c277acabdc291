// StepLog: the steps that threads of a test took, in the order they took them. Tests of the locks assert
// that order ("the reader left before the writer changed the text") rather than timing anything. Threads
// wait for each other's steps with a bound that only a fault reaches, so a broken lock fails the test
// instead of hanging it.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace scrivix::test {

// How long a thread waits for a step that must come.
inline constexpr std::chrono::seconds kPatience{10};
// How long a test gives a held-off thread to wrongly go ahead. A correct lock never lets it, so this
// bounds only how hard the test looks for a fault; it is never a condition of passing.
inline constexpr std::chrono::milliseconds kGrace{50};

class StepLog {
public:
    void Add(const std::string& step) {
        {
            std::lock_guard guard(mutex_);
            steps_.push_back(step);
        }
        changed_.notify_all();
    }

    // Whether `step` is taken within `limit`.
    bool WaitFor(const std::string& step, std::chrono::milliseconds limit = kPatience) {
        std::unique_lock guard(mutex_);
        return changed_.wait_for(guard, limit, [&] { return Contains(step); });
    }

    // Whether `first` was taken before `second` (both taken).
    bool Before(const std::string& first, const std::string& second) {
        std::lock_guard guard(mutex_);
        auto a = std::find(steps_.begin(), steps_.end(), first);
        auto b = std::find(steps_.begin(), steps_.end(), second);
        return a != steps_.end() && b != steps_.end() && a < b;
    }

    std::vector<std::string> Steps() {
        std::lock_guard guard(mutex_);
        return steps_;
    }

private:
    bool Contains(const std::string& step) const {
        return std::find(steps_.begin(), steps_.end(), step) != steps_.end();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> steps_;
};

}  // namespace scrivix::test

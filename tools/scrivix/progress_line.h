// A progress line on standard error for long runs: shown only when standard error is a terminal, first
// after a second, then refreshed a few times a second, and erased before other output and at the end.
#pragma once

#include <chrono>
#include <cstddef>

namespace scrivix_tool {

class ProgressLine {
   public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // One more file of so many bytes was searched, with so many matches.
    void FileDone(size_t bytes, size_t matches);
    // Erases the line, if it is shown, so that other output starts on a clean line.
    void Erase();

   private:
    using Clock = std::chrono::steady_clock;
    bool enabled_;
    bool shown_ = false;
    Clock::time_point start_;
    Clock::time_point next_refresh_;
    size_t files_ = 0;
    size_t bytes_ = 0;
    size_t matches_ = 0;
};

}  // namespace scrivix_tool

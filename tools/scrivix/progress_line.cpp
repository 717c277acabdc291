// The progress line, drawn with a carriage return and erased with "erase to end of line".
#include "progress_line.h"

#include <unistd.h>

#include <cstdio>

namespace scrivix_tool {
namespace {

constexpr auto kFirstShown = std::chrono::seconds(1);
constexpr auto kRefresh = std::chrono::milliseconds(250);

}  // namespace

ProgressLine::ProgressLine()
    : enabled_(isatty(STDERR_FILENO) == 1), start_(Clock::now()), next_refresh_(start_ + kFirstShown) {}

ProgressLine::~ProgressLine() { Erase(); }

void ProgressLine::FileDone(size_t bytes, size_t matches) {
    ++files_;
    bytes_ += bytes;
    matches_ += matches;
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now < next_refresh_) return;
    next_refresh_ = now + kRefresh;
    std::fflush(stdout);
    std::fprintf(stderr, "\rscrivix: %zu files, %.1f MiB, %zu matches\x1b[K", files_,
                 static_cast<double>(bytes_) / (1024.0 * 1024.0), matches_);
    std::fflush(stderr);
    shown_ = true;
}

void ProgressLine::Erase() {
    if (!shown_) return;
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
    shown_ = false;
}

}  // namespace scrivix_tool

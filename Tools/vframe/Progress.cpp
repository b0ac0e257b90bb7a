#include "Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace vframe {

Progress::Progress(std::optional<std::int64_t> inTotal)
    : total_(inTotal), isShown_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown_ && done_ > 1) std::fputs("\r\033[K", stderr);
}

void Progress::Step() {
    ++done_;
    const auto now = std::chrono::steady_clock::now();
    if (!isShown_ || done_ < 2 || now - lastDrawn_ < std::chrono::milliseconds(50)) return;
    lastDrawn_ = now;
    Draw();
}

void Progress::Draw() const {
    const auto done = static_cast<long long>(done_);
    if (!total_) {
        std::fprintf(stderr, "\r%lld frames\033[K", done);
        return;
    }
    constexpr std::int64_t kCells = 30;
    // What a file says about its length is a guess.
    const std::int64_t total = std::max({*total_, done_, std::int64_t{1}});
    const auto filled = static_cast<std::size_t>(done_ * kCells / total);
    const std::string bar =
        std::string(filled, '#') + std::string(static_cast<std::size_t>(kCells) - filled, '.');
    std::fprintf(stderr, "\r[%s] %3lld%%  %lld of %lld frames\033[K", bar.c_str(),
                 static_cast<long long>(done_ * 100 / total), done, static_cast<long long>(total));
}

}  // namespace vframe

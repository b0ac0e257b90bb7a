// Time that passes.
#pragma once

#include <chrono>

namespace vframe {

/// Runs from when it is made.
class Stopwatch {
  public:
    double Milliseconds() const {
        return std::chrono::duration<double, std::milli>(Clock::now() - start_).count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

}  // namespace vframe

// How far long work has come, for a person at a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace vframe {

/// Draws a bar on standard error, if that is a terminal, and wipes it out at the end. A single
/// picture is not worth one.
class Progress {
  public:
    explicit Progress(std::optional<std::int64_t> inTotal);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more frame is done.
    void Step();

  private:
    void Draw() const;

    std::optional<std::int64_t> total_;
    std::int64_t done_ = 0;
    bool isShown_;
    std::chrono::steady_clock::time_point lastDrawn_;
};

}  // namespace vframe

// An input whose frames are had by their numbers, forward and back, although files are read forward
// only.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "Failure.h"
#include "PictureSource.h"

namespace vframe {

/// A still picture is the same frame whatever the number.
class Clip {
  public:
    /// Keeps as many of the frames read last as go into inRoom bytes, and always one. Raises
    /// Failure when there is no first picture.
    Clip(const std::string& inPath, std::uint64_t inRoom);

    /// Reads one picture on the way to a frame, from the first one again if the frame is not kept
    /// any more. False when there is nothing to do: it is there, or the clip ends before.
    bool StepTowards(std::int64_t inIndex);

    /// Null unless StepTowards has led there.
    VF::VideoFrameRef Frame(std::int64_t inIndex) const;

    /// Whether it is known to end before that frame.
    bool EndsBefore(std::int64_t inIndex) const { return count_ && inIndex >= *count_; }

    /// The number of the last frame, as far as it is known by now.
    std::int64_t Last() const { return count_.value_or(next_) - 1; }

    bool IsStill() const { return source_->IsStill(); }

    /// Why the clip ends where it does, if it is broken there.
    const std::optional<Failure>& Damage() const { return damage_; }

  private:
    void Open();
    void Read();
    void Keep(const PictureView& inPicture);
    std::int64_t FirstKept() const { return next_ - static_cast<std::int64_t>(kept_.size()); }
    bool IsKept(std::int64_t inIndex) const { return inIndex >= FirstKept() && inIndex < next_; }

    std::string path_;
    std::uint64_t room_;
    std::unique_ptr<PictureSource> source_;
    std::deque<VF::VideoFrameRef> kept_;  ///< those before next_
    std::uint64_t keptBytes_ = 0;
    std::int64_t next_ = 0;              ///< the number of the frame that the source gives next
    std::optional<std::int64_t> count_;  ///< once the end has been seen
    std::optional<Failure> damage_;
};

}  // namespace vframe

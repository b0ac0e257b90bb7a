// What "vframe convert" can do to a frame before it is written.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

namespace vframe {

struct FrameEdits {
    std::optional<Brix::Rect> crop;
    std::optional<int> field;
    std::optional<int> deinterlace;
    bool swapFields = false;
    bool smooth = false;
    bool invertAlpha = false;
    bool opaque = false;

    /// The options write to this object when the command line is read.
    void AddTo(CLI::App& inCommand);
    bool IsNeeded() const;
};

/// The frame after the edits, in the order of the members; it may be the same object. Raises
/// Failure where the frame's format or size does not allow one.
VF::VideoFrameRef Edited(const VF::VideoFrameRef& inFrame, const FrameEdits& inEdits);

}  // namespace vframe

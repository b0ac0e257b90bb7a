// Camera angles in one picture.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Frames.h"

namespace vframe {

inline constexpr std::size_t kMostAngles = 4;

struct CompositeSettings {
    Size size{};
    tulomediatypes::PixelAspectRatio aspectRatio{1, 1};
    std::optional<std::size_t> selected{};  ///< counted from 0
    bool sideBySide = false;                ///< the selected angle once more, large
    bool redOutline = false;                ///< otherwise yellow
    bool allProcessors = false;
};

/// A new BGRA_4444_8u frame of the angles, of which a null one is black. Raises Failure when there
/// is no memory for it.
VF::VideoFrameRef MakeComposite(const std::vector<VF::VideoFrameRef>& inAngles,
                                const CompositeSettings& inSettings);

/// Raises UsageFailure unless there are one to four inputs.
void CheckAngleCount(std::size_t inCount);

}  // namespace vframe

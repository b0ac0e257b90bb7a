// Frames on their way to other processes.
#pragma once

#include "Frames.h"

namespace vframe {

/// As MakeFrameOf, in shared memory. Raises Failure when that cannot be had.
VF::VideoFrameRef MakePublishableFrameOf(const PictureView& inPicture,
                                         const FrameSettings& inSettings);

/// Publishes the frame, in place where that is possible. Raises Failure with the reason.
void PublishFrame(const VF::VideoFrameRef& inFrame, const tulocore::utility::Guid& inGuid);

}  // namespace vframe

// Data that came under a Guid: whoever published it may have meant something else than a frame.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <chrono>

namespace vframe {

/// Waits until a frame stands under the Guid and gives it. Raises Failure when none comes in time,
/// its maker reports an error, what comes is no frame, or the program is asked to end.
VF::VideoFrameRef ReceiveFrame(const tulocore::utility::Guid& inGuid,
                               std::chrono::milliseconds inTimeLimit);

}  // namespace vframe

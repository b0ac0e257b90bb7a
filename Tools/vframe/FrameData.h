// Data that came under a Guid: whoever published it may have meant something else than a frame.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <chrono>
#include <cstdint>

namespace vframe {

/// Raises Failure, with the reason, unless the bytes are a frame that can be read to its last row.
void CheckFrameData(const void* inData, std::uint64_t inSize);

/// Waits until a frame stands under the Guid and gives it. Raises Failure when none comes in time,
/// its maker reports an error, what comes is no frame, or the program is asked to end.
VF::VideoFrameRef ReceiveFrame(const tulocore::utility::Guid& inGuid,
                               std::chrono::milliseconds inTimeLimit);

}  // namespace vframe

// Pictures in a terminal, in colour.
#pragma once

#include <VideoFrame/VideoFrame.h>

namespace vframe {

/// Shows the frame on standard output, 80 characters wide, each of them two pixels, if a person
/// looks at it there: a terminal that is not dumb, and NO_COLOR is not set.
void ShowPreview(const VF::VideoFrameRef& inFrame);

}  // namespace vframe

// Frames between processes: copied into a buffer, published under a Guid, and built again from
// what another process published. The host moves Guids between its processes by its own means and
// gets received data from the service in contracts/Pellux.h.
//
// Frame references are taken by value: each function holds its own while it runs. A null one
// counts as a frame without memory.
#pragma once

#include <boost/shared_ptr.hpp>

#include "Export.h"
#include "FrameInterfaces.h"
#include "FrameLayout.h"
#include "Status.h"
#include "contracts/Pellux.h"

namespace VF {

/// Bytes of a buffer that holds a copy of the frame. Returns 0, or kGeneralFailure with outSize
/// untouched when the frame's memory cannot be reached.
VF_EXPORT int GetRequiredSharedMemorySizeForVideoFrame(VideoFrameRef inFrame,
                                                       unsigned long long& outSize);

/// Writes the frame's header and pixels, with tight rows, into a buffer of inBufferSize bytes. The
/// copy has alpha type 1, render time 0 and no pixel offset. Returns 0; kOutOfMemory with nothing
/// written when the buffer is too small; kFrameNotReadable when the frame's memory cannot be
/// reached or its pixels not copied (the header is written then).
VF_EXPORT int CopyVideoFrameIntoSharedMemoryBuffer(VideoFrameRef inFrame, void* outBuffer,
                                                   unsigned long long inBufferSize);

/// Publishes the frame under the Guid: in place when its buffer is shared memory, else through one
/// copy, whose reference goes to outReference (untouched otherwise). Returns 0 or kGeneralFailure;
/// on failure whoever waits for the Guid is told that the data will not come.
VF_EXPORT int PublishVideoFrameProvidingReference(
    VideoFrameRef inFrame, const tulocore::utility::Guid& inGuid,
    boost::shared_ptr<processcoordination::WritableBinaryReference>& outReference);
VF_EXPORT int PublishVideoFrame(VideoFrameRef inFrame, const tulocore::utility::Guid& inGuid);

/// Builds a read-only frame over received data, which it keeps alive. inGuid is the Guid under
/// which the data came. The bytes are taken as a frame unchecked: receive frames from publishers
/// of frames only. Returns 0, or kGeneralFailure with outFrame null when there is no data.
VF_EXPORT int WrapVideoFrameAroundBinaryReference(
    const boost::shared_ptr<processcoordination::BinaryReference>& inReference,
    const tulocore::utility::Guid& inGuid, VideoFrameRef& outFrame);

}  // namespace VF

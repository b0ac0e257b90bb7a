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
/// which the data came. The bytes are taken as a frame unchecked, and every property is read from
/// them when it is asked for: use it where publishers are trusted, WrapCheckedBinaryReference
/// where they are not. Returns 0, or kGeneralFailure with outFrame null when there is no data or
/// no memory for the frame.
VF_EXPORT int WrapVideoFrameAroundBinaryReference(
    const boost::shared_ptr<processcoordination::BinaryReference>& inReference,
    const tulocore::utility::Guid& inGuid, VideoFrameRef& outFrame);

/// The same for data from publishers that may have meant something else than a frame, or may write
/// the header again later. The header is copied once, the copy is checked against the size of the
/// data, and the frame reads its properties from that copy for good. So no pixel of the frame,
/// nor any of the bytes that GetDataSize counts of a format without rows, lies outside the data;
/// what the pixels hold is not looked at and may still change.
///
/// Taken are frames of every named format and of custom ones, of header versions 1 to 6, whose
/// sides and aspect ratio are positive. A DV frame has its standard size; others may have any,
/// also one that splits a chroma sample. Row bytes may be negative: memory row m lies m times the
/// row bytes from the first pixel, so rows go down from there towards the header. Their amount is
/// at least that of a tight row.
///
/// Returns 0; kGeneralFailure when there is no data or no memory for the frame; kFrameNotReadable
/// when the data is no such frame. outFrame is null then. outFault, where given, receives a few
/// words of English that say why with kFrameNotReadable ("its rows are too short"), else null;
/// they are never freed.
VF_EXPORT int WrapCheckedBinaryReference(
    const boost::shared_ptr<processcoordination::BinaryReference>& inReference,
    const tulocore::utility::Guid& inGuid, VideoFrameRef& outFrame,
    const char** outFault = nullptr);

}  // namespace VF

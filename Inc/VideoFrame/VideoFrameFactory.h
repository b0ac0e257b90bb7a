// Where new frames come from.
#pragma once

#include <cstdint>

#include "Export.h"
#include "FrameInterfaces.h"
#include "Status.h"

namespace VF {

/// Makes a frame. All creating functions release what outFrame holds and set it to null first.
///
/// Returns 0, or kFrameOutOfMemory when memory ran out with std::bad_alloc. When memory could not
/// be had otherwise, or the size cannot be held, the result is 0 and outFrame is null: test the
/// reference, not only the status. A width or height of 0 is an input contract violation.
///
/// inClear fills the pixels with opaque black, or, with inClearTransparent, with transparent black
/// where the format can hold it; otherwise the pixels are undefined. Clearing never fails the call.
VF_EXPORT std::int32_t CreateVideoFrame(VideoFrameRef& outFrame,
                                        tulomediatypes::PixelFormat inFormat, std::uint32_t inWidth,
                                        std::uint32_t inHeight,
                                        const tulomediatypes::PixelAspectRatio& inAspectRatio,
                                        bool inClear, bool inClearTransparent);

/// As CreateVideoFrame, in a buffer laid out for direct disk transfer; the three numbers are those
/// of GetRequiredSharedMemorySizeForVideoFrame.
VF_EXPORT std::int32_t CreateDiskAlignedVideoFrame(
    VideoFrameRef& outFrame, tulomediatypes::PixelFormat inFormat, std::uint32_t inWidth,
    std::uint32_t inHeight, const tulomediatypes::PixelAspectRatio& inAspectRatio,
    std::int32_t inPixelAlignment, std::int32_t inBlockSize, std::int32_t inPixelPrefix,
    bool inClear, bool inClearTransparent);

/// Makes a frame of a custom format, whose inDataSize bytes are laid out as its maker likes. It is
/// never cleared and carries neither OV::IVideoFrameClearable nor the two-dimensional interface.
VF_EXPORT std::int32_t CreateCustomVideoFrame(
    VideoFrameRef& outFrame, tulomediatypes::PixelFormat inFormat, std::uint32_t inWidth,
    std::uint32_t inHeight, std::int32_t inDataSize,
    const tulomediatypes::PixelAspectRatio& inAspectRatio);

/// Whether the rows of frames of the format can be addressed (property bits 0x1E000 clear).
VF_EXPORT bool PixelType2DMemoryAccessCapable(tulomediatypes::PixelFormat inFormat);

/// The publishable-frames switches, off at first: while one is on, new frames are made in shared
/// memory where that can be had, so that they are published without a copy. The first one serves
/// standard and custom frames, the second custom frames only; its getter is true when either is
/// on. Any thread may flip them at any time.
VF_EXPORT void SetCreatePublishableVideoFrames(bool inCreate);
VF_EXPORT bool GetCreatePublishableVideoFrames();
VF_EXPORT void SetCreatePublishableCustomVideoFrames(bool inCreate);
VF_EXPORT bool GetCreatePublishableCustomVideoFrames();

}  // namespace VF

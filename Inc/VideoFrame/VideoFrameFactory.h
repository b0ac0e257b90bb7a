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

/// What a sub-frame raises for operations that only its parent could do.
class VF_EXPORT IllegalVideoSubFrameOperation : public Brix::Exception {
  public:
    /// "Illegal operation on a VideoSubFrame."
    const char* what() const noexcept override;
};

/// Makes a frame that shows a rectangle of its parent without copying: writing to either changes
/// both. It keeps the parent alive. inSubRectBounds is in the parent's columns and memory rows, so
/// its top counts from the bottom of the picture.
///
/// The sub-frame has an origin, content rectangle, data rectangle (in the parent's coordinates),
/// auxiliary information and render time of its own; everything else is the parent's, and fills
/// fill the whole parent. Setting its aspect ratio or read-only state raises
/// IllegalVideoSubFrameOperation; setting its field type does nothing.
///
/// Returns 0, or kFailure when the parent has no memory access or cannot be cleared (it is
/// read-only, for one); the sub-frame is made all the same. An empty rectangle, one that is not
/// inside the parent's bounds, and a parent without two-dimensional access are input contract
/// violations. A null parent raises Brix::NullInterfaceException.
VF_EXPORT std::int32_t CreateVideoSubFrame(VideoFrameRef& outFrame, VideoFrameRef inParent,
                                           const Brix::Rect& inSubRectBounds);

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

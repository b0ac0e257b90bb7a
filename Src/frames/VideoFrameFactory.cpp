#include "VideoFrame/VideoFrameFactory.h"

#include <atomic>
#include <new>

#include "frames/BinaryReferenceVideoFrame.h"
#include "frames/Contract.h"
#include "frames/MemoryRecyclerVideoFrame.h"
#include "frames/PixelFormatProperties.h"
#include "frames/VideoFrame.h"

namespace VF {
namespace {

constexpr const char* kFile = "VideoFrameFactory";

std::atomic<std::int32_t> gCreatePublishable = 0;
std::atomic<std::int32_t> gCreatePublishableCustom = 0;

// Shared memory first while that is asked for, the memory recycler where there is none.
VideoFrameRef MakeFrame(const FrameRequest& inRequest) {
    VideoFrameRef frame;
    if (GetCreatePublishableVideoFrames()) {
        frame = WritableBinaryReferenceVideoFrame::Create(inRequest);
    }
    return frame ? frame : MemoryRecyclerVideoFrame::Create(inRequest);
}

VideoFrameRef MakeCustomFrame(const FrameRequest& inRequest, std::int32_t inDataSize) {
    VideoFrameRef frame;
    if (GetCreatePublishableCustomVideoFrames()) {
        frame = WritableBinaryReferenceVideoFrame::CreateCustom(inRequest, inDataSize);
    }
    return frame ? frame : MemoryRecyclerVideoFrame::CreateCustom(inRequest, inDataSize);
}

void ClearFrame(const VideoFrameRef& inFrame, bool inTransparent) {
    const auto clearable = Brix::QueryInterface<OV::IVideoFrameClearable>(inFrame);
    if (!clearable) return;
    const bool cleared = inTransparent && clearable->FillWithTransparentBlack() >= 0;
    if (!cleared) clearable->FillWithOpaqueBlack();
}

// No address inside the rectangle leaves the memory of a frame with these bounds.
bool IsInside(const Brix::Rect& inBounds, const Brix::Rect& inRect) {
    return inBounds.left <= inRect.left && inRect.left <= inRect.right &&
           inRect.right <= inBounds.right && inBounds.top <= inRect.top &&
           inRect.top <= inRect.bottom && inRect.bottom <= inBounds.bottom;
}

}  // namespace

std::int32_t CreateDiskAlignedVideoFrame(VideoFrameRef& outFrame,
                                         tulomediatypes::PixelFormat inFormat,
                                         std::uint32_t inWidth, std::uint32_t inHeight,
                                         const tulomediatypes::PixelAspectRatio& inAspectRatio,
                                         std::int32_t inPixelAlignment, std::int32_t inBlockSize,
                                         std::int32_t inPixelPrefix, bool inClear,
                                         bool inClearTransparent) {
    Require(inWidth != 0, "inWidth != 0", kFile, 79);
    Require(inHeight != 0, "inHeight != 0", kFile, 80);
    outFrame = nullptr;
    try {
        outFrame = MakeFrame({.format = inFormat,
                              .width = static_cast<std::int32_t>(inWidth),
                              .height = static_cast<std::int32_t>(inHeight),
                              .aspectRatio = inAspectRatio,
                              .placement = {inPixelAlignment, inBlockSize, inPixelPrefix}});
    } catch (const std::bad_alloc&) {
        return kFrameOutOfMemory;
    }
    if (inClear && outFrame) ClearFrame(outFrame, inClearTransparent);
    return kSuccess;
}

std::int32_t CreateVideoFrame(VideoFrameRef& outFrame, tulomediatypes::PixelFormat inFormat,
                              std::uint32_t inWidth, std::uint32_t inHeight,
                              const tulomediatypes::PixelAspectRatio& inAspectRatio, bool inClear,
                              bool inClearTransparent) {
    return CreateDiskAlignedVideoFrame(outFrame, inFormat, inWidth, inHeight, inAspectRatio, 0, 0,
                                       0, inClear, inClearTransparent);
}

std::int32_t CreateCustomVideoFrame(VideoFrameRef& outFrame, tulomediatypes::PixelFormat inFormat,
                                    std::uint32_t inWidth, std::uint32_t inHeight,
                                    std::int32_t inDataSize,
                                    const tulomediatypes::PixelAspectRatio& inAspectRatio) {
    Require(inWidth != 0, "inWidth != 0", kFile, 148);
    Require(inHeight != 0, "inHeight != 0", kFile, 149);
    outFrame = nullptr;
    try {
        outFrame = MakeCustomFrame({.format = inFormat,
                                    .width = static_cast<std::int32_t>(inWidth),
                                    .height = static_cast<std::int32_t>(inHeight),
                                    .aspectRatio = inAspectRatio,
                                    .placement = {}},
                                   inDataSize);
    } catch (const std::bad_alloc&) {
        return kFrameOutOfMemory;
    }
    return kSuccess;
}

std::int32_t CreateVideoSubFrame(VideoFrameRef& outFrame, VideoFrameRef inParent,
                                 const Brix::Rect& inSubRectBounds) {
    Require(inSubRectBounds.right != inSubRectBounds.left, "inSubRectBounds.Width() != 0", kFile,
            185);
    Require(inSubRectBounds.bottom != inSubRectBounds.top, "inSubRectBounds.Height() != 0", kFile,
            186);
    Require(IsInside(inParent->GetBounds(), inSubRectBounds),
            "inSubRectBounds is inside the parent's bounds", kFile, __LINE__);
    const bool isComplete = Brix::QueryInterface<IVideoFrameMemoryAccess>(inParent) &&
                            Brix::QueryInterface<OV::IVideoFrameClearable>(inParent);
    const Brix::InterfaceRef<VideoSubFrame> frame(new VideoSubFrame);
    frame->Initialize(inParent, inSubRectBounds);
    outFrame = frame;
    return isComplete ? kSuccess : kFailure;
}

bool PixelType2DMemoryAccessCapable(tulomediatypes::PixelFormat inFormat) {
    return !HasKind(inFormat);
}

void SetCreatePublishableVideoFrames(bool inCreate) {
    gCreatePublishable = inCreate ? 1 : 0;
}

bool GetCreatePublishableVideoFrames() {
    return gCreatePublishable != 0;
}

void SetCreatePublishableCustomVideoFrames(bool inCreate) {
    gCreatePublishableCustom = inCreate ? 1 : 0;
}

bool GetCreatePublishableCustomVideoFrames() {
    return gCreatePublishableCustom != 0 || GetCreatePublishableVideoFrames();
}

}  // namespace VF

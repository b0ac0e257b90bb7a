// What the manipulators ask of a frame and hand to the renderer.
#pragma once

#include "VideoFrame/FrameInterfaces.h"
#include "VideoFrame/PixelFormatUtilities.h"
#include "VideoFrame/Status.h"
#include "contracts/Scanvo.h"
#include "frames/Contract.h"

namespace VF::VideoFrameManipulators {

inline constexpr const char* kFile = "VideoFrameManipulators";

/// The quality of renderer calls that have no say in it.
inline constexpr std::int32_t kFullQuality = 4;

using MemoryRef = Brix::InterfaceRef<VF::IVideoFrameMemoryAccess>;
using RowsRef = Brix::InterfaceRef<VF::IVideoFrame2DPixelMemoryAccess>;

/// A view of the frame, or null. A null frame raises Brix::NullInterfaceException.
template <class View>
Brix::InterfaceRef<View> ViewOf(const VideoFrameRef& inFrame) {
    return Brix::QueryInterface<View>(VideoFrameRef(&*inFrame));
}

inline SV_PixelFormat RendererFormat(const VideoFrameRef& inFrame) {
    return VF::BEToSVPixelFormat(inFrame->GetPixelType());
}

/// Of the two-dimensional view; a frame without one counts as one row of all its data.
inline std::int64_t RendererRowBytes(const MemoryRef& inMemory, const RowsRef& inRows) {
    return inRows ? std::int64_t{inRows->GetRowBytes()}
                  : static_cast<std::int32_t>(inMemory->GetDataSize());
}

/// A renderer's result as a status of this library.
inline std::int32_t StatusOf(std::int32_t inResult) {
    if (inResult == kSV_Success) return kSuccess;
    return inResult == kSV_OutOfMemory ? kOutOfMemory : kGeneralFailure;
}

}  // namespace VF::VideoFrameManipulators

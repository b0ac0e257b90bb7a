// What the library asks of a frame and hands to the renderer.
#pragma once

#include "VideoFrame/FrameInterfaces.h"
#include "VideoFrame/PixelFormatUtilities.h"
#include "contracts/Scanvo.h"

namespace VF {

using MemoryRef = Brix::InterfaceRef<VF::IVideoFrameMemoryAccess>;
using RowsRef = Brix::InterfaceRef<VF::IVideoFrame2DPixelMemoryAccess>;

/// A view of the frame, or null. A null frame raises Brix::NullInterfaceException.
template <class View>
Brix::InterfaceRef<View> ViewOf(const VideoFrameRef& inFrame) {
    return Brix::QueryInterface<View>(VideoFrameRef(&*inFrame));
}

inline SV_PixelFormat RendererFormat(const VideoFrameRef& inFrame) {
    return BEToSVPixelFormat(inFrame->GetPixelType());
}

/// The distance in bytes from one memory row to the next, of the unsigned number that interfaces
/// give: negative where the next row lies before, as in frames of other processes and libraries it
/// may. Whoever computes with row bytes asks here.
inline std::int64_t SignedRowBytes(std::uint32_t inRowBytes) {
    return static_cast<std::int32_t>(inRowBytes);
}

inline std::int64_t SignedRowBytes(const RowsRef& inRows) {
    return SignedRowBytes(inRows->GetRowBytes());
}

/// Of the two-dimensional view; a frame without one counts as one row of all its data.
inline std::int64_t RendererRowBytes(const MemoryRef& inMemory, const RowsRef& inRows) {
    return inRows ? SignedRowBytes(inRows) : static_cast<std::int32_t>(inMemory->GetDataSize());
}

}  // namespace VF

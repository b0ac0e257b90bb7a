// Frames of the library, as the commands use them.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "Arguments.h"

namespace vframe {

/// The quality that "vframe convert" takes unless it is told otherwise.
inline constexpr int kDefaultQuality = 4;

/// A picture in the renderer's terms. start is memory row 0, the bottom row of formats whose rows
/// can be addressed; a picture that is stored top-down has negative row bytes.
struct PictureView {
    const void* start = nullptr;
    std::int64_t rowBytes = 0;
    Size size;
    SV_PixelFormat format = kSV_PixelFormat_None;
    tulomediatypes::FieldType fieldType = 0;
    tulomediatypes::PixelAspectRatio aspectRatio;
};

/// The frame's picture; raises Failure for a frame without memory.
PictureView ViewFrame(const VF::VideoFrameRef& inFrame);

Size FrameSize(const VF::VideoFrameRef& inFrame);

/// "960x540 BGRA_4444_8u, 2,073,600 bytes".
std::string Describe(const VF::VideoFrameRef& inFrame);

/// The first of a few usual sizes that the format can hold.
std::optional<Size> FindUsualSize(tulomediatypes::PixelFormat inFormat);

/// Raises Failure when the format cannot hold a picture of that size or there cannot be memory for
/// it.
void CheckSize(tulomediatypes::PixelFormat inFormat, Size inSize,
               tulomediatypes::PixelAspectRatio inAspectRatio);

/// A frame whose pixels are undefined. Raises Failure as CheckSize does, or when there is no
/// memory.
VF::VideoFrameRef MakeFrame(tulomediatypes::PixelFormat inFormat, Size inSize,
                            tulomediatypes::PixelAspectRatio inAspectRatio);

/// Puts the picture, converted and scaled to the frame's size, into the frame.
void RenderInto(const PictureView& inPicture, const VF::VideoFrameRef& inFrame, int inQuality);

/// What frame to make of a picture: a size that is not given is the picture's own.
struct FrameSettings {
    tulomediatypes::PixelFormat format = tulomediatypes::kPixelFormat_BGRA_4444_8u;
    std::optional<Size> size{};
    int quality = kDefaultQuality;
};

/// A new frame that holds the picture and what is known about it.
VF::VideoFrameRef MakeFrameOf(const PictureView& inPicture, const FrameSettings& inSettings);

/// A picture of straight 8-bit BGRA pixels with tight rows, the top one first, as most of the
/// world outside the library has them.
struct TopDownPicture {
    Size size;
    std::vector<std::uint8_t> pixels;

    std::int64_t RowBytes() const { return std::int64_t{size.width} * 4; }
    const std::uint8_t* Row(int inRow) const { return pixels.data() + inRow * RowBytes(); }
    bool IsOpaque() const;
};

TopDownPicture ToTopDownPicture(const VF::VideoFrameRef& inFrame);

}  // namespace vframe

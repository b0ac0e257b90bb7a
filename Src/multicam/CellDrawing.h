// Drawing into a rectangle of a frame.
#pragma once

#include <cstdint>

#include "VideoFrame/FrameInterfaces.h"

namespace VF {

/// A rectangle in display coordinates: y counts from the top of the picture. One that has no
/// pixels is not drawn.
struct Cell {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    bool IsEmpty() const { return width <= 0 || height <= 0; }
};

/// Whether a rectangle of the frame's memory can be found by its coordinates.
bool HasAddressablePixels(const VideoFrameRef& inFrame);

/// How many pixels of a row share a unit, so that rectangles begin and end with a multiple.
std::int32_t PixelsPerUnit(const VideoFrameRef& inFrame);

// All of these raise Brix::NullInterfaceException for a frame without memory access. The renderer's
// results are not looked at.

void DrawBlack(const VideoFrameRef& inOutput, const Cell& inCell);

/// Whether the source, fitted into the cell, leaves no bars.
bool FillsCell(const VideoFrameRef& inSource, const Cell& inCell);

/// The source fitted into the cell between black bars, with the ratio of its sides in pixels kept.
/// A null source is black.
void DrawFitted(const VideoFrameRef& inSource, const VideoFrameRef& inOutput, const Cell& inCell);

/// The whole source scaled into exactly the cell.
void DrawScaled(const VideoFrameRef& inSource, const VideoFrameRef& inOutput, const Cell& inCell);

/// A frame of that thickness in pixels inside the cell's edges, red or yellow.
void DrawOutline(const VideoFrameRef& inOutput, const Cell& inCell, std::uint32_t inThickness,
                 bool inIsRed);

}  // namespace VF

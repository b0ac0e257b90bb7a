// Several camera angles of one moment in one frame: a grid of two by two cells with the selected
// angle outlined, alone or beside a large view of that angle.
//
// The host renders each angle itself, at the size at which it will appear; the two functions on
// render parameters say at which. The compositor takes angles of any size and format.
#pragma once

#include <cstdint>
#include <vector>

#include "Export.h"
#include "FrameInterfaces.h"

namespace VF {

/// What a frame is to be rendered like. Sizes are in pixels.
struct MultiCamRenderParams {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    tulomediatypes::PixelAspectRatio pixelAspectRatio;
    tulomediatypes::PixelFormat pixelFormat;
    std::uint32_t settingA = 0;  ///< the host's; never read here
    double scaleX = 0;           ///< relative to full size, which is 1
    double scaleY = 0;
    std::uint32_t fullWidth = 0;  ///< the size that the render stands for at scale 1
    std::uint32_t fullHeight = 0;
    tulomediatypes::PixelAspectRatio fullPixelAspectRatio;
    std::uint32_t settingB = 0;  ///< the host's; never read here
    std::uint32_t settingC = 0;  ///< the host's; never read here
};

/// How to render an angle for its cell of the grid, from what the whole output is like: half the
/// output's height, half its width (a quarter with inSideBySide), half its scales, rounding down.
/// Settings A, B and C become 1, 0 and 1. A full side is the side divided by its scale, rounded
/// down; it is 0 where that is negative or no number, and the largest number where it is larger
/// (a scale of 0).
VF_EXPORT MultiCamRenderParams UnSelectedRenderParams(const MultiCamRenderParams& inParams,
                                                      bool inSideBySide);

/// The same for the selected angle: with inSideBySide half the output's width at its full height
/// and scales, otherwise as for any other cell.
VF_EXPORT MultiCamRenderParams SelectedRenderParams(const MultiCamRenderParams& inParams,
                                                    bool inSideBySide);

/// Draws up to four sources into a new frame of the size, aspect ratio and format of inParams;
/// more are ignored. Sources fill the cells of the grid from left to right, then downwards, each
/// fitted into its cell between black bars, with the ratio of its width to its height in pixels
/// kept. A null source gives a black cell. With inSideBySide the grid takes the left half, and the
/// selected source is fitted into the right half as well.
///
/// inSelectedIndex counts from 0. The cell of that source gets an outline inside its edges, red or
/// yellow, 4 times scaleX pixels thick (rounded down; at most the cell). An index that names no
/// drawn source selects none. What no source covers is black: cells without one, and the last
/// column or row of an odd size.
///
/// In a 4:2:2 format, whose pixels share units, cells and fitted pictures begin and end with whole
/// units. A format whose pixels cannot be addressed (10-bit 4:2:2, planar 4:2:0, DV) is drawn in
/// packed 4:4:4:4 and then converted.
///
/// inUseAllProcessors draws the cells on all processors at once; the picture is the same. Returns
/// null when the frame cannot be created. A source or an output without memory access raises
/// Brix::NullInterfaceException.
VF_EXPORT VideoFrameRef RenderMulticam(const std::vector<VideoFrameRef>& inSources,
                                       unsigned long long inSelectedIndex, bool inSideBySide,
                                       bool inRedHighlight, const MultiCamRenderParams& inParams,
                                       bool inUseAllProcessors);

/// Draws the first source alone, fitted into a new frame, or with inSideBySide into each half of
/// it. A source that fills the frame is converted or scaled straight into it, whatever the format;
/// one of its format and size is copied byte for byte. Without a first source the result is a
/// transparent black, read-only frame, which the shared frame cache keeps under inGuid unless that
/// is the nil Guid: until it is dropped there, the next call gives the same frame. Otherwise as
/// RenderMulticam.
VF_EXPORT VideoFrameRef RenderNonMulticam(const std::vector<VideoFrameRef>& inSources,
                                          bool inSideBySide, const MultiCamRenderParams& inParams,
                                          tulocore::utility::Guid inGuid, bool inUseAllProcessors);

}  // namespace VF

// A quadrilateral of one picture drawn into a quadrilateral of another.
#pragma once

#include "formats/Picture.h"
#include "operations/Quadrilateral.h"

namespace scanvo {

struct WarpSettings {
    bool isNearest = false;
    bool antialiasesEdges = true;
    /// 0 to 1.
    float opacity = 1;
};

/// What a warp may touch of a picture, and the corners that it maps, both counted from the first
/// pixel of memory row 0.
struct WarpArea {
    SV_Rect rect;
    Quad corners;
};

/// Both pictures are of one format; corners are proper. In formats whose pixels share chroma it
/// goes with the first of them.
void WarpPicture(const Source& inSource, const WarpArea& inFrom, const Destination& ioDestination,
                 const WarpArea& inTo, const WarpSettings& inSettings);

}  // namespace scanvo

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

/// Only the area of the destination is written, and only that of the source read. Both are given
/// as pictures of their own, so that the corners count from the first pixels of these. One 4:4:4:4
/// format, proper quadrilaterals.
void WarpQuad(const Source& inSource, const Quad& inSourceQuad, const Destination& ioDestination,
              const Quad& inDestinationQuad, const WarpSettings& inSettings);

}  // namespace scanvo

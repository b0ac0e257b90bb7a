// The fast road of scaling: to pictures of four 8-bit components a pixel.
#pragma once

#include "formats/Picture.h"
#include "rows/Filters.h"

namespace scanvo {

/// Scales a picture, or one field of it, whose rows lie on the grids of inDown. False when the pair
/// has no such road; what is in the destination then is not to be relied on.
///
/// Results differ from those of the general road by 1 at most, except for sources that have to be
/// converted to the destination's kind of pixel: these are clamped, and their chroma spread, before
/// they are filtered.
bool ScaleBytes(const Source& inSource, const Destination& outDestination, const Axis& inDown);

}  // namespace scanvo

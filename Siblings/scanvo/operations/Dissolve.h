// Two pictures mixed.
#pragma once

#include "formats/Picture.h"

namespace scanvo {

/// All of one size. inAmount is between 0 (the first picture) and 1 (the second).
void DissolvePictures(const Source& inFirst, const Source& inSecond,
                      const Destination& outDestination, float inAmount);

}  // namespace scanvo

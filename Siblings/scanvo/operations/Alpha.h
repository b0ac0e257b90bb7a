// Alpha inverted, set, and taken into the colour.
#pragma once

#include "formats/Picture.h"

namespace scanvo {

/// Pictures of one size and format, which may be the same memory. All colour stays as it is.
void InvertAlpha(const Source& inSource, const Destination& outDestination);
void CopyAndSetAlpha(const Source& inSource, const Destination& outDestination, float inAlpha);

/// Pictures of one size. inOpacity is between 0 and 1.
void CompositeToBlack(const Source& inSource, const Destination& outDestination, float inOpacity);

}  // namespace scanvo

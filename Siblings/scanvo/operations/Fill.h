// Areas filled with one value.
#pragma once

#include "formats/Picture.h"

namespace scanvo {

enum class FillValue { OpaqueBlack, OpaqueWhite, TransparentBlack, TransparentWhite };

/// A format that holds no alpha gets the opaque value. Transparent white of a premultiplied format
/// is its transparent black: all colour is multiplied away.
void FillWithValue(const Destination& outDestination, FillValue inValue);

/// With the first pixel of inPixel; of the same 4:4:4:4 format, with exactly its bytes.
void FillWithPixel(const Destination& outDestination, const Source& inPixel);

}  // namespace scanvo

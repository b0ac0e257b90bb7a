// Pictures converted, copied and scaled.
#pragma once

#include <cstdint>

#include "formats/Picture.h"

namespace scanvo {

/// Pictures of one size. The same format is copied byte by byte, to a place that may overlap the
/// source when the row bytes are equal.
void ConvertPicture(const Source& inSource, const Destination& outDestination);

/// Pictures of any sizes.
void ScalePicture(const Source& inSource, const Destination& outDestination,
                  std::int32_t inQuality);

/// Each field of the source to the same field of the destination, where a field is every other
/// row, counted from the top of the picture. Rows keep their places in the whole picture, so the
/// two fields stay in line. Both heights are at least 2.
void ScaleFields(const Source& inSource, const Destination& outDestination, std::int32_t inQuality);

}  // namespace scanvo

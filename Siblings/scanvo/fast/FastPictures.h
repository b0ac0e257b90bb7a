// Fast roads over all rows of a picture.
#pragma once

#include "fast/FastRows.h"
#include "formats/Picture.h"

namespace scanvo {

/// Pictures of one size. Large ones are written past the caches where that is possible.
void ConvertWith(ConvertRow inConvert, const Source& inSource, const Destination& outDestination);

}  // namespace scanvo

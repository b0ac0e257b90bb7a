// Fast roads for pictures too large for the caches.
#pragma once

#include "fast/FastRows.h"
#include "formats/Picture.h"

namespace scanvo {

/// Whether the pictures are so large that the destination is better written past the caches, and
/// their rows may be converted in pieces.
bool IsWorthStreaming(const Source& inSource, const Destination& inDestination);

/// Converts the pictures, which IsWorthStreaming.
void ConvertStreamed(ConvertRow inConvert, const Source& inSource,
                     const Destination& outDestination);

}  // namespace scanvo

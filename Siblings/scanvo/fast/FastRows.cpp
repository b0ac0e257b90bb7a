#include "fast/FastRows.h"

#include "fast/ColourRows.h"
#include "fast/DepthRows.h"

namespace scanvo {

ConvertRow FastRowBetween(const Format& inSource, const Format& inDestination) {
    const ConvertRow colourRow = FindColourRow(inSource, inDestination);
    return colourRow != nullptr ? colourRow : FindDepthRow(inSource, inDestination);
}

}  // namespace scanvo

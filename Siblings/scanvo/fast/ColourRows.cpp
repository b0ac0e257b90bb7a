#include "fast/ColourRows.h"

#include "fast/ColourRoads.h"

namespace scanvo {
namespace {

// Alpha of one form is no other form without a multiplication.
bool MixesForms(const Format& inSource, const Format& inDestination) {
    if (inSource.alpha == inDestination.alpha) return false;
    return inSource.alpha == Alpha::Premultiplied ||
           (inSource.alpha == Alpha::Straight && inDestination.alpha == Alpha::Premultiplied);
}

}  // namespace

ConvertRow FindColourRow(const Format& inSource, const Format& inDestination) {
    if (MixesForms(inSource, inDestination)) return nullptr;
    const ConvertRow row = FindPackingRow(inSource, inDestination);
    return row != nullptr ? row : FindSpreadingRow(inSource, inDestination);
}

}  // namespace scanvo

#include "fast/ColourRows.h"

namespace scanvo {

ConvertRow FindColourRow(const Format&, const Format&) {
    return nullptr;
}

}  // namespace scanvo

#include "fast/DepthRows.h"

namespace scanvo {

ConvertRow FindDepthRow(const Format&, const Format&) {
    return nullptr;
}

}  // namespace scanvo

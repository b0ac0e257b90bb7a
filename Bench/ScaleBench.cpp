// Scales.
#include "Pictures.h"
#include "Table.h"

namespace bench {

void AddScaleRows() {}

}  // namespace bench

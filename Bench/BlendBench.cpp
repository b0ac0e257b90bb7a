// Mixes, alpha operations, warps.
#include "Pictures.h"
#include "Table.h"

namespace bench {

void AddBlendRows() {}

}  // namespace bench

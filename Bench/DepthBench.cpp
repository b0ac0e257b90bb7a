// Conversions that keep the colour, copies and fills.
#include "Pictures.h"
#include "Table.h"

namespace bench {

void AddDepthRows() {}

}  // namespace bench

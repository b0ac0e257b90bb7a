// Conversions of colour: R'G'B' and Y'CbCr, 4:4:4, 4:2:2 and v210.
#include "Pictures.h"
#include "Table.h"

namespace bench {

void AddConvertRows() {}

}  // namespace bench

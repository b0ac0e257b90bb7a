#include "contracts/Pellux.h"

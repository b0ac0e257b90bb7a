#include "contracts/Scanvo.h"

// The boxes that a histogram is cut into.
#pragma once

#include "VideoFrame/Quantisation.h"

namespace VF {

/// The boxes of the process: those in the list, and those that are free.
QuantisationBox* BoxList();
QuantisationBox* FreeBoxes();

}  // namespace VF

// Start and stop of the library.
#pragma once

#include "Export.h"

namespace VF {

/// Starts the library and the services it uses. Calls are counted; only the first does the work.
/// Frames are used between Initialize and Shutdown. Any thread may call either. Without a media
/// manager (contracts/Orvane.h) the first one raises Brix::NullInterfaceException and starts
/// nothing.
VF_EXPORT void Initialize();

/// Undoes one Initialize. The last one reports, as trace lines of category "TPix", the legacy
/// handles and effect worlds that were never disposed of, and lets go of their frames and of the
/// shared frame cache; no other thread may use the bridges or the cache meanwhile. Frames that the
/// host still holds survive.
VF_EXPORT void Shutdown();

}  // namespace VF

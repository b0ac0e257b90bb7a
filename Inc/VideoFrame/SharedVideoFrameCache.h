// The process-wide cache of frames that came under a Guid, so that asking for one again costs
// nothing. The media manager (contracts/Orvane.h) decides when a frame goes. The cache is there
// between VF::Initialize and VF::Shutdown; before and after, every function but
// SetNotificationFunction is an input contract violation on "sCache". Any thread may call any
// function.
#pragma once

#include "Export.h"
#include "FrameInterfaces.h"

namespace VF::SharedVideoFrameCache {

/// Keeps the frame under the Guid and makes it read-only. A Guid that is cached already stays as it
/// is. One frame under several Guids counts once. inManagerValue goes to the media manager with a
/// frame that is new to the cache. In the end the notification function is called, in any case. A
/// null frame raises Brix::NullInterfaceException unless the Guid is cached already.
VF_EXPORT void InsertIntoCache(const VideoFrameRef& inFrame, const tulocore::utility::Guid& inGuid,
                               unsigned int inManagerValue);

/// The frame cached under the Guid, or one that is kept because of a dependency; null when there
/// is neither.
VF_EXPORT VideoFrameRef RetrieveFromCache(const tulocore::utility::Guid& inGuid);

/// While a Guid has dependencies, its frame is kept even when the media manager drops it. They are
/// counted, and may be registered before the frame has arrived. Unregistering one that is not
/// there does nothing. The bytes kept so are reported to the media manager from the main thread
/// (tulocore::threads::RunMainThreadCalls).
VF_EXPORT void RegisterDependencyOnFrame(const tulocore::utility::Guid& inGuid);
VF_EXPORT void UnregisterDependencyOnFrame(const tulocore::utility::Guid& inGuid);

/// Installs the one function that hears of every InsertIntoCache, on that call's thread, with no
/// lock held, so it may call the cache; null removes it.
VF_EXPORT void SetNotificationFunction(void (*inFunction)(const tulocore::utility::Guid&));

}  // namespace VF::SharedVideoFrameCache

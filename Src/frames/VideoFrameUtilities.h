// The maps that keep the frames of legacy handles and effect worlds alive, and the report of what
// they still hold at the end.
#pragma once

#include <map>

#include "VideoFrame/EffectWorld.h"
#include "VideoFrame/TPix.h"
#include "contracts/BrixFoundation.h"

namespace VF {

/// From a handle or world, compared as an address, to its frame. Any thread may call any function;
/// frames are let go after the lock.
template <class Key>
class FrameMap {
  public:
    using Frame = Brix::InterfaceRef<Brix::BrixUnknown>;

    /// A frame registered before under the same key is let go.
    void Register(Key inKey, Frame inFrame) {
        const Brix::CriticalSectionLock lock(lock_);
        std::swap(frames_[inKey], inFrame);
    }

    /// The frame, or null. A key that is not there is there from then on, without a frame.
    Frame Find(Key inKey) {
        const Brix::CriticalSectionLock lock(lock_);
        return frames_[inKey];
    }

    bool Contains(Key inKey) const {
        const Brix::CriticalSectionLock lock(lock_);
        return frames_.contains(inKey);
    }

    void Forget(Key inKey) {
        typename Map::node_type forgotten;
        const Brix::CriticalSectionLock lock(lock_);
        forgotten = frames_.extract(inKey);
    }

    using Node = std::pair<const Key, Frame>;
    using Map = std::map<Key, Frame, std::less<Key>, tulocore::utility::SmallBlockAllocator<Node>>;

    /// What the map holds, without its lock: no other thread may use it.
    Map& Frames() { return frames_; }

  private:
    mutable Brix::CriticalSection lock_;
    Map frames_;
};

FrameMap<TPixHand>& TPixFrameMap();
FrameMap<GF_Pixel*>& EffectWorldFrameMap();

/// Keep a frame alive for a handle or world; a frame registered before under the same key is let
/// go. A null frame is an input contract violation.
void RegisterTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame);
void RegisterEffectWorldFrame(GF_Pixel* inWorld,
                              const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame);

/// Traces what the maps still hold and empties them, without taking their locks: no other thread
/// may use them. Category "TPix"; one line for the number of handles and one for each handle whose
/// frame has memory, one line for the number of worlds.
void ReportAndForgetLeaks();

}  // namespace VF

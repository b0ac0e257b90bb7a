// The maps that keep the frames of legacy handles and effect worlds alive, and the report of what
// they still hold at the end.
#pragma once

#include <map>

#include "contracts/BrixFoundation.h"

struct TPix;
using TPixHand = TPix**;
struct GF_Pixel;

namespace VF {

/// From a handle or world, compared as an address, to its frame. Every access holds the lock.
template <class Key>
struct FrameMap {
    using Frame = Brix::InterfaceRef<Brix::BrixUnknown>;
    using Node = std::pair<const Key, Frame>;

    Brix::CriticalSection lock;
    std::map<Key, Frame, std::less<Key>, tulocore::utility::SmallBlockAllocator<Node>> frames;
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

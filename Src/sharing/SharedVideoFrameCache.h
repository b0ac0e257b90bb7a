// The cache behind the functions of VF::SharedVideoFrameCache.
#pragma once

#include <cstdint>
#include <map>

#include "VideoFrame/FrameInterfaces.h"
#include "sharing/MediaMap.h"

namespace VF::SharedVideoFrameCache {

/// Frames by Guid. Each frame is one item of the media manager, however many Guids name it, and
/// goes when the manager says so; a frame that goes while somebody depends on one of its Guids is
/// retained, and its bytes are reported. Every operation takes the cache's lock for its whole run
/// and calls the manager under it; any thread may call any.
class Cache final : private OV::Details::MediaMapTemplateCache, public Brix::Allocated<Cache> {
  public:
    using Guid = tulocore::utility::Guid;
    using ItemId = std::uint64_t;

    /// A missing media manager raises Brix::NullInterfaceException.
    Cache();
    /// Takes every item and all retained bytes from the manager's books. No other operation may
    /// run; flushes that are on their way are waited for.
    ~Cache() override;
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    /// Names the frame. With inCheckFirst a Guid that is served already stays as it is. A null
    /// frame that would become an item raises Brix::NullInterfaceException and changes nothing.
    void Insert(const VideoFrameRef& inFrame, const Guid& inGuid, std::uint32_t inManagerValue,
                bool inCheckFirst);
    /// The frame of the Guid, null when there is none. A retained frame becomes an item again.
    VideoFrameRef Retrieve(const Guid& inGuid);
    void AddDependency(const Guid& inGuid);
    void RemoveDependency(const Guid& inGuid);

  private:
    struct Dependency {
        std::uint64_t count = 0;
        VideoFrameRef frame;  // null until the Guid is seen
    };

    template <class Key, class Value>
    using Node = tulocore::utility::SmallBlockAllocator<std::pair<const Key, Value>>;
    template <class Key, class Value>
    using Map = std::map<Key, Value, std::less<>, Node<Key, Value>>;
    using GuidsById = std::multimap<ItemId, Guid, std::less<>, Node<ItemId, Guid>>;
    using Retained = Map<VideoFrameRef, std::uint64_t>;

    void Flush(ItemId inItem) override;

    ItemId FindOrAddItem(const VideoFrameRef& inFrame, std::uint32_t inManagerValue);
    void Name(ItemId inItem, const Guid& inGuid);
    void Drop(ItemId inItem);
    void ForgetGuids(ItemId inItem, const VideoFrameRef& inFrame);
    void Retain(const VideoFrameRef& inFrame, std::uint64_t inDependedOn);
    void EndRetention(Retained::iterator inRetained);

    Brix::InterfaceRef<OV::Details::MediaMapTemplateHelper> mediaMap_;
    Brix::CriticalSection lock_;  // guards everything below
    ItemId nextItem_ = 1;
    Map<ItemId, VideoFrameRef> items_;
    Map<VideoFrameRef, ItemId> idsByFrame_;
    Map<Guid, ItemId> idsByGuid_;
    GuidsById guidsById_;
    Map<Guid, Dependency> dependencies_;
    Retained retained_;  // with the number of Guids depended on
    std::uint64_t retainedBytes_ = 0;
};

/// Start and stop of the one cache of the process. Creating it raises
/// Brix::NullInterfaceException when there is no media manager; without memory there is no cache.
void CreateCache();
void DestroyCache();

}  // namespace VF::SharedVideoFrameCache

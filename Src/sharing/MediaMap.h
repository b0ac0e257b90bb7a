// What stands between a cache and the media manager.
#pragma once

#include <atomic>
#include <cstdint>

#include "contracts/Orvane.h"

namespace OV::Details {

/// A cache whose items the media manager may flush.
class MediaMapTemplateCache {
  public:
    /// 0. Drops the item, if it is still there. May come from any thread.
    virtual void Flush(std::uint64_t inItem) = 0;
    /// 1.
    virtual ~MediaMapTemplateCache() = default;

  protected:
    MediaMapTemplateCache() = default;
    MediaMapTemplateCache(const MediaMapTemplateCache&) = default;
    MediaMapTemplateCache& operator=(const MediaMapTemplateCache&) = default;
};

/// The object through which the media manager reaches a cache. It may outlive the cache: the
/// manager holds references of its own, and a flush may be on its way when the cache goes.
class MediaMapTemplateHelper final : public IMediaMap,
                                     public Brix::Allocated<MediaMapTemplateHelper> {
  public:
    /// Takes a map Guid from the media manager; a missing one raises Brix::NullInterfaceException.
    MediaMapTemplateHelper();

    /// From then on flushes go to the owner. Once, before the manager learns of the map.
    void Attach(MediaMapTemplateCache& inOwner) { owner_ = &inOwner; }

    /// From then on nothing goes to the owner; returns when what is on its way has ended. The
    /// caller must hold no lock that the owner's Flush takes.
    void Detach();

    /// Queues a call for the main thread that tells the manager what the owner retains outside its
    /// items. An owner that is detached by then has nothing to tell. Without memory nothing is
    /// queued.
    void ReportRetainedBytes(std::uint64_t inBytes);

    const Brix::InterfaceRef<IMediaManager>& Manager() const { return manager_; }

    void AddRef() override;
    void Release() override;
    void Destroy() override;
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) override;

    void FlushItem(std::uint64_t inItem) override;
    tulocore::utility::Guid GetMapGuid() override { return guid_; }
    Brix::InterfaceRef<IMediaMap> GetReference() override;

  private:
    class OwnerUse;

    Brix::InterfaceRef<IMediaManager> manager_;
    tulocore::utility::Guid guid_;
    std::atomic<MediaMapTemplateCache*> owner_ = nullptr;
    std::atomic<std::uint32_t> referenceCount_ = 0;
    std::atomic<std::uint32_t> ownerUses_ = 0;
};

}  // namespace OV::Details

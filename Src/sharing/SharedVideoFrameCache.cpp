#include "sharing/SharedVideoFrameCache.h"

#include <atomic>
#include <new>
#include <utility>

#include "VideoFrame/SharedVideoFrameCache.h"
#include "frames/Contract.h"

namespace VF::SharedVideoFrameCache {

// ---------------------------------------------------------------------------------------------
// The cache

namespace {

// What the manager is told of a frame that comes back because it is asked for.
constexpr std::uint32_t kManagerValueOfReturn = 5;

std::uint64_t FrameBytes(const VideoFrameRef& inFrame) {
    OV::IVideoFrame& frame = *inFrame;
    if (const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(inFrame))
        return memory->GetAllocatedSize();
    const Brix::Rect bounds = frame.GetBounds();
    return tulomediatypes::PixelFormatSize(frame.GetPixelType(), bounds.Width(), bounds.Height());
}

}  // namespace

Cache::Cache() : mediaMap_(new OV::Details::MediaMapTemplateHelper) {
    mediaMap_->Attach(*this);
}

Cache::~Cache() {
    mediaMap_->Detach();
    const auto& manager = mediaMap_->Manager();
    const auto map = mediaMap_->GetReference();
    const Brix::CriticalSectionLock lock(lock_, "VideoFrame Cache::~Cache");
    for (const auto& [item, frame] : items_)
        manager->RemoveItem(item, map);
    manager->SetRetainedBytes(mediaMap_->GetMapGuid(), 0);
}

void Cache::Insert(const VideoFrameRef& inFrame, const Guid& inGuid, std::uint32_t inManagerValue,
                   bool inCheckFirst) {
    VideoFrameRef replaced;  // let go after the lock
    const Brix::CriticalSectionLock lock(lock_, "VideoFrame Cache::Insert");
    if (inCheckFirst && Retrieve(inGuid)) return;

    const ItemId item = FindOrAddItem(inFrame, inManagerValue);
    try {
        Name(item, inGuid);
    } catch (...) {
        if (!guidsById_.contains(item)) Drop(item);
        throw;
    }
    if (const auto dependency = dependencies_.find(inGuid); dependency != dependencies_.end())
        replaced = std::exchange(dependency->second.frame, inFrame);
    if (const auto retained = retained_.find(inFrame); retained != retained_.end())
        EndRetention(retained);
    // The manager may have flushed the item while it was told of it, before it had its Guid.
    if (!items_.contains(item)) ForgetGuids(item, inFrame);
}

/// The frame's item; a new one is made known to the manager.
Cache::ItemId Cache::FindOrAddItem(const VideoFrameRef& inFrame, std::uint32_t inManagerValue) {
    const auto& manager = mediaMap_->Manager();
    const auto map = mediaMap_->GetReference();
    // A manager may flush items inside any of these calls; nothing found before it holds after it.
    if (const auto known = idsByFrame_.find(inFrame); known != idsByFrame_.end()) {
        const ItemId item = known->second;
        manager->UseItem(item, map);
        return item;
    }
    const std::uint64_t bytes = FrameBytes(inFrame);
    const bool isPublishable =
        static_cast<bool>(Brix::QueryInterface<IPublishableVideoFrame>(inFrame));
    const ItemId item = nextItem_++;
    items_.emplace(item, inFrame);
    try {
        idsByFrame_.emplace(inFrame, item);
        manager->AddItem(item, bytes, inManagerValue, isPublishable, map);
    } catch (...) {
        Drop(item);
        throw;
    }
    return item;
}

/// Names the item, or changes nothing.
void Cache::Name(ItemId inItem, const Guid& inGuid) {
    GuidsById named;
    named.emplace(inItem, inGuid);
    idsByGuid_[inGuid] = inItem;  // the last step that can fail
    guidsById_.merge(named);
}

/// Takes the item from here and from the manager's books.
void Cache::Drop(ItemId inItem) {
    mediaMap_->Manager()->RemoveItem(inItem, mediaMap_->GetReference());
    Flush(inItem);
}

VideoFrameRef Cache::Retrieve(const Guid& inGuid) {
    const Brix::CriticalSectionLock lock(lock_, "VideoFrame Cache::Retrieve");
    if (const auto id = idsByGuid_.find(inGuid); id != idsByGuid_.end()) {
        if (const auto item = items_.find(id->second); item != items_.end()) {
            VideoFrameRef frame = item->second;  // the manager may flush it in the next call
            mediaMap_->Manager()->UseItem(item->first, mediaMap_->GetReference());
            return frame;
        }
    }
    const auto dependency = dependencies_.find(inGuid);
    if (dependency == dependencies_.end() || !dependency->second.frame) return nullptr;
    VideoFrameRef frame = dependency->second.frame;
    Insert(frame, inGuid, kManagerValueOfReturn, false);
    return frame;
}

void Cache::AddDependency(const Guid& inGuid) {
    const Brix::CriticalSectionLock lock(lock_, "VideoFrame Cache::AddDependency");
    if (const auto known = dependencies_.find(inGuid); known != dependencies_.end()) {
        ++known->second.count;
        return;
    }
    dependencies_.emplace(inGuid, Dependency{1, Retrieve(inGuid)});
}

void Cache::RemoveDependency(const Guid& inGuid) {
    VideoFrameRef frame;  // let go after the lock
    const Brix::CriticalSectionLock lock(lock_, "VideoFrame Cache::RemoveDependency");
    const auto dependency = dependencies_.find(inGuid);
    if (dependency == dependencies_.end() || --dependency->second.count > 0) return;
    frame = std::move(dependency->second.frame);
    dependencies_.erase(dependency);
    if (!frame) return;
    const auto retained = retained_.find(frame);
    if (retained != retained_.end() && --retained->second == 0) EndRetention(retained);
}

void Cache::Flush(ItemId inItem) {
    VideoFrameRef frame;  // let go after the lock
    const Brix::CriticalSectionLock lock(lock_, "VideoFrame Cache::Flush");
    const auto item = items_.find(inItem);
    if (item == items_.end()) return;
    frame = std::move(item->second);
    idsByFrame_.erase(frame);
    items_.erase(item);
    ForgetGuids(inItem, frame);
}

/// Forgets the Guids of an item that is gone; its frame is retained for those depended on.
void Cache::ForgetGuids(ItemId inItem, const VideoFrameRef& inFrame) {
    const auto [first, last] = guidsById_.equal_range(inItem);
    std::uint64_t dependedOn = 0;
    for (auto named = first; named != last; ++named) {
        idsByGuid_.erase(named->second);
        dependedOn += dependencies_.count(named->second);
    }
    guidsById_.erase(first, last);
    if (dependedOn > 0) Retain(inFrame, dependedOn);
}

/// The dependencies hold the frame in any case; without memory for it, it is not counted.
void Cache::Retain(const VideoFrameRef& inFrame, std::uint64_t inDependedOn) try {
    if (!retained_.insert_or_assign(inFrame, inDependedOn).second) return;
    retainedBytes_ += FrameBytes(inFrame);
    mediaMap_->ReportRetainedBytes(retainedBytes_);
} catch (const std::bad_alloc&) {
}

void Cache::EndRetention(Retained::iterator inRetained) {
    retainedBytes_ -= FrameBytes(inRetained->first);
    retained_.erase(inRetained);
    mediaMap_->ReportRetainedBytes(retainedBytes_);
}

// ---------------------------------------------------------------------------------------------
// The one cache of the process

namespace {

std::atomic<Cache*> sCache = nullptr;
std::atomic<void (*)(const tulocore::utility::Guid&)> gNotification = nullptr;

Cache& TheCache() {
    Cache* const cache = sCache.load(std::memory_order_acquire);
    Require(cache != nullptr, "sCache", "SharedVideoFrameCache", __LINE__);
    return *cache;
}

}  // namespace

void CreateCache() {
    try {
        sCache.store(new Cache, std::memory_order_release);
    } catch (const std::bad_alloc&) {
        // Then there is none, and its users are told so.
    }
}

void DestroyCache() {
    delete sCache.exchange(nullptr, std::memory_order_acq_rel);
}

void InsertIntoCache(const VideoFrameRef& inFrame, const tulocore::utility::Guid& inGuid,
                     unsigned int inManagerValue) {
    Cache& cache = TheCache();
    if (inFrame) inFrame->SetReadOnly(true);
    cache.Insert(inFrame, inGuid, inManagerValue, true);
    if (auto* const notify = gNotification.load()) notify(inGuid);
}

VideoFrameRef RetrieveFromCache(const tulocore::utility::Guid& inGuid) {
    return TheCache().Retrieve(inGuid);
}

void RegisterDependencyOnFrame(const tulocore::utility::Guid& inGuid) {
    TheCache().AddDependency(inGuid);
}

void UnregisterDependencyOnFrame(const tulocore::utility::Guid& inGuid) {
    TheCache().RemoveDependency(inGuid);
}

void SetNotificationFunction(void (*inFunction)(const tulocore::utility::Guid&)) {
    gNotification.exchange(inFunction);
}

}  // namespace VF::SharedVideoFrameCache

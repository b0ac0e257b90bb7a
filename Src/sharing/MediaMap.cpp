#include "sharing/MediaMap.h"

#include <boost/bind/bind.hpp>
#include <boost/function.hpp>
#include <new>

namespace OV::Details {

/// Keeps the owner from going while it is used. A count, not a lock: a thread that holds the
/// owner's lock must be able to come in while another one waits for the last use to end.
class MediaMapTemplateHelper::OwnerUse {
  public:
    explicit OwnerUse(MediaMapTemplateHelper& inMap) : map_(inMap) { ++map_.ownerUses_; }
    ~OwnerUse() {
        if (--map_.ownerUses_ == 0) map_.ownerUses_.notify_all();
    }
    OwnerUse(const OwnerUse&) = delete;
    OwnerUse& operator=(const OwnerUse&) = delete;

    /// Null when it has been detached.
    MediaMapTemplateCache* Owner() const { return map_.owner_; }

  private:
    MediaMapTemplateHelper& map_;
};

MediaMapTemplateHelper::MediaMapTemplateHelper() : manager_(GetMediaManager()) {
    manager_->GetMapGuid(guid_);
}

void MediaMapTemplateHelper::Detach() {
    owner_ = nullptr;
    for (std::uint32_t uses = ownerUses_; uses != 0; uses = ownerUses_)
        ownerUses_.wait(uses);
}

void MediaMapTemplateHelper::ReportRetainedBytes(std::uint64_t inBytes) try {
    struct Report {
        static void Run(const Brix::InterfaceRef<MediaMapTemplateHelper>& inMap,
                        const tulocore::utility::Guid& inMapGuid, std::uint64_t inRetained) {
            const OwnerUse use(*inMap);
            // The manager would count the bytes of a map that has gone for good.
            if (!use.Owner()) return;
            GetMediaManager()->SetRetainedBytes(inMapGuid, inRetained);
        }
    };
    const boost::function<void()> report =
        boost::bind(&Report::Run, Brix::InterfaceRef<MediaMapTemplateHelper>(this), guid_, inBytes);
    tulocore::threads::AsyncCallFromMainThread(report);
} catch (const std::bad_alloc&) {
    // The next report gives the whole again.
}

void MediaMapTemplateHelper::AddRef() {
    referenceCount_.fetch_add(1, std::memory_order_relaxed);
}

void MediaMapTemplateHelper::Release() {
    if (referenceCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy();
}

void MediaMapTemplateHelper::Destroy() {
    delete this;
}

std::int32_t MediaMapTemplateHelper::QueryInterface(const tulocore::utility::Guid& inId,
                                                    void** outView) {
    const bool isCarried = inId == Brix::BrixUnknown::kInterfaceId;
    *outView = isCarried ? static_cast<Brix::BrixUnknown*>(this) : nullptr;
    if (!isCarried) return Brix::kInterfaceNotCarried;
    AddRef();
    return 0;
}

void MediaMapTemplateHelper::FlushItem(std::uint64_t inItem) {
    const OwnerUse use(*this);
    if (MediaMapTemplateCache* const owner = use.Owner()) owner->Flush(inItem);
}

Brix::InterfaceRef<IMediaMap> MediaMapTemplateHelper::GetReference() {
    return Brix::InterfaceRef<IMediaMap>(this);
}

}  // namespace OV::Details

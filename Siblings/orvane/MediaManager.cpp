// The media manager: books of what caches hold, least recently used item first.

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

#include "contracts/Orvane.h"

namespace OV {
namespace {

using MapRef = Brix::InterfaceRef<IMediaMap>;

constexpr std::uint64_t kFirstBudget = std::uint64_t{512} << 20;

struct ItemKey {
    IMediaMap* map = nullptr;
    std::uint64_t item = 0;

    friend bool operator==(const ItemKey&, const ItemKey&) = default;
};

struct ItemKeyHash {
    std::size_t operator()(const ItemKey& inKey) const {
        // Numbers of items follow one another; the factor spreads maps that do the same.
        return static_cast<std::size_t>(inKey.item) +
               std::hash<IMediaMap*>()(inKey.map) * 0x9E3779B97F4A7C15U;
    }
};

struct Item {
    MapRef map;
    std::uint64_t number = 0;
    std::uint64_t size = 0;
};

ItemKey KeyOf(const Item& inItem) {
    return {inItem.map.Get(), inItem.number};
}

/// What every map holds, in the order of use. Not safe from several threads.
class Books {
  public:
    std::uint64_t Used() const { return itemBytes_ + retainedBytes_; }
    bool IsEmpty() const { return items_.empty(); }

    void Add(const Item& inItem) {
        const ItemKey key = KeyOf(inItem);
        Take(key);
        Items added{inItem};
        places_[key] = added.begin();  // the last step that can fail
        items_.splice(items_.end(), added);
        itemBytes_ += inItem.size;
    }

    void Use(const ItemKey& inKey) {
        const auto found = places_.find(inKey);
        if (found != places_.end()) items_.splice(items_.end(), items_, found->second);
    }

    /// Takes the item from the books; one without a map when it is unknown. The caller lets go of
    /// the map where no lock is held: that may be its last reference.
    Item Take(const ItemKey& inKey) {
        const auto found = places_.find(inKey);
        if (found == places_.end()) return {};
        const auto place = found->second;
        Item item = std::move(*place);
        itemBytes_ -= item.size;
        items_.erase(place);
        places_.erase(found);
        return item;
    }

    ItemKey Oldest() const { return KeyOf(items_.front()); }

    /// Returns what the map retained before.
    std::uint64_t SetRetained(const tulocore::utility::Guid& inMap, std::uint64_t inBytes) {
        const auto found = retained_.find(inMap);
        const std::uint64_t before = found == retained_.end() ? 0 : found->second;
        if (inBytes != 0)
            retained_[inMap] = inBytes;
        else if (found != retained_.end())
            retained_.erase(found);
        retainedBytes_ += inBytes - before;
        return before;
    }

  private:
    using Items = std::list<Item>;

    Items items_;  // the one used last at the end
    std::unordered_map<ItemKey, Items::iterator, ItemKeyHash> places_;
    std::map<tulocore::utility::Guid, std::uint64_t> retained_;
    std::uint64_t itemBytes_ = 0;
    std::uint64_t retainedBytes_ = 0;
};

// ---------------------------------------------------------------------------------------------
// The manager

class MediaManager final : public IMediaManager {
  public:
    void AddRef() override { referenceCount_.fetch_add(1, std::memory_order_relaxed); }
    void Release() override {
        if (referenceCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy();
    }
    void Destroy() override { delete this; }
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) override {
        const bool isCarried = inId == Brix::BrixUnknown::kInterfaceId;
        *outView = isCarried ? static_cast<Brix::BrixUnknown*>(this) : nullptr;
        if (!isCarried) return Brix::kInterfaceNotCarried;
        AddRef();
        return 0;
    }

    void GetMapGuid(tulocore::utility::Guid& outMap) override {
        outMap = tulocore::utility::Guid::Generate();
    }

    void AddItem(std::uint64_t inItem, std::uint64_t inSize, std::uint32_t, bool,
                 const MapRef& inMap) override {
        const ItemKey added{&*inMap, inItem};
        {
            const std::lock_guard lock(mutex_);
            books_.Add({inMap, inItem, inSize});
        }
        while (const auto victim = TakeVictim(added)) {
            // The lock of another map may be held by a thread that waits for this one's.
            if (victim->map == inMap)
                Flush(*victim);
            else
                tulocore::threads::AsyncCallFromMainThread([item = *victim] { Flush(item); });
        }
    }

    void UseItem(std::uint64_t inItem, const MapRef& inMap) override {
        const std::lock_guard lock(mutex_);
        books_.Use({&*inMap, inItem});
    }

    void RemoveItem(std::uint64_t inItem, const MapRef& inMap) override {
        Item item;  // let go after the lock
        const std::lock_guard lock(mutex_);
        item = books_.Take({&*inMap, inItem});
    }

    void SetBudget(std::uint64_t inBytes) override {
        {
            const std::lock_guard lock(mutex_);
            budget_ = inBytes;
        }
        FlushBeyondBudget();
    }

    std::uint64_t GetBudget() override {
        const std::lock_guard lock(mutex_);
        return budget_;
    }

    std::uint64_t GetUsedBytes() override {
        const std::lock_guard lock(mutex_);
        return books_.Used();
    }

    void SetRetainedBytes(const tulocore::utility::Guid& inMap, std::uint64_t inBytes) override {
        std::uint64_t before = 0;
        {
            const std::lock_guard lock(mutex_);
            before = books_.SetRetained(inMap, inBytes);
        }
        if (inBytes > before) FlushBeyondBudget();
    }

    void Purge() override {
        while (const auto item = TakeOldestIf([] { return true; }))
            Flush(*item);
    }

  private:
    static void Flush(const Item& inItem) { inItem.map->FlushItem(inItem.number); }

    /// Takes the item used longest ago from the books, if there is one and the condition holds.
    template <class Condition>
    std::optional<Item> TakeOldestIf(const Condition& inCondition) {
        const std::lock_guard lock(mutex_);
        if (books_.IsEmpty() || !inCondition()) return std::nullopt;
        return books_.Take(books_.Oldest());
    }

    /// What has to go while more than the budget is used; never the item of inKept.
    std::optional<Item> TakeVictim(const ItemKey& inKept) {
        return TakeOldestIf(
            [&] { return books_.Used() > budget_ && !(books_.Oldest() == inKept); });
    }

    void FlushBeyondBudget() {
        while (const auto victim = TakeVictim({}))
            Flush(*victim);
    }

    std::atomic<std::uint32_t> referenceCount_ = 0;
    std::mutex mutex_;  // never held while anything else is called
    Books books_;
    std::uint64_t budget_ = kFirstBudget;
};

struct Installed {
    std::mutex mutex;
    Brix::InterfaceRef<IMediaManager> manager{new MediaManager};
};

// Never destroyed: caches let go of the manager while the process ends.
Installed& TheManager() {
    static Installed& installed = *new Installed;
    return installed;
}

}  // namespace

Brix::InterfaceRef<IMediaManager> GetMediaManager() {
    Installed& installed = TheManager();
    const std::lock_guard lock(installed.mutex);
    return installed.manager;
}

Brix::InterfaceRef<IMediaManager> SetMediaManager(Brix::InterfaceRef<IMediaManager> inManager) {
    Installed& installed = TheManager();
    const std::lock_guard lock(installed.mutex);
    std::swap(installed.manager, inManager);
    return inManager;
}

}  // namespace OV

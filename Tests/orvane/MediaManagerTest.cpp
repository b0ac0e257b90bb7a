#include "contracts/Orvane.h"
#include "support/Testing.h"

namespace {

using tulocore::utility::Guid;

/// Notes what it is told to flush; asks the manager something each time, which must not hang.
class Map final : public OV::IMediaMap {
  public:
    void AddRef() override { ++references; }
    void Release() override { --references; }
    void Destroy() override {}
    std::int32_t QueryInterface(const Guid&, void**) override { return -1; }
    void FlushItem(std::uint64_t inItem) override {
        flushed += std::to_string(inItem) + " ";
        OV::GetMediaManager()->GetUsedBytes();
    }
    Guid GetMapGuid() override { return {}; }
    Brix::InterfaceRef<OV::IMediaMap> GetReference() override {
        return Brix::InterfaceRef<OV::IMediaMap>(this);
    }
    std::string TakeFlushed() { return std::exchange(flushed, {}); }

    std::string flushed;
    int references = 0;
};

class MediaManagerTest : public testing::Test {
  protected:
    MediaManagerTest() { manager->SetBudget(100); }
    ~MediaManagerTest() override {
        manager->Purge();
        manager->SetBudget(budget_);
    }
    void Add(std::uint64_t inItem, std::uint64_t inSize, Map& inMap) {
        manager->AddItem(inItem, inSize, 0, false, inMap.GetReference());
    }

    const Brix::InterfaceRef<OV::IMediaManager> manager = OV::GetMediaManager();
    Map map;

  private:
    const std::uint64_t budget_ = manager->GetBudget();
};

TEST_F(MediaManagerTest, FlushesWhatWasUsedLongestAgo) {
    for (const std::uint64_t item : {1U, 2U, 3U})
        Add(item, 30, map);
    EXPECT_EQ(manager->GetUsedBytes(), 90U);
    manager->UseItem(1, map.GetReference());
    manager->UseItem(77, map.GetReference());
    Add(4, 30, map);
    EXPECT_EQ(map.TakeFlushed(), "2 ");
    Add(3, 60, map);  // counted anew: larger, and used last
    EXPECT_EQ(map.TakeFlushed(), "1 ");
    EXPECT_EQ(manager->GetUsedBytes(), 90U);
    manager->RemoveItem(4, map.GetReference());
    manager->RemoveItem(4, map.GetReference());
    EXPECT_EQ(manager->GetUsedBytes(), 60U);
    EXPECT_EQ(map.TakeFlushed(), "");
    EXPECT_EQ(map.references, 1);  // of what is left
    Add(5, 500, map);              // what has just come is kept whatever its size
    EXPECT_EQ(map.TakeFlushed(), "3 ");
    EXPECT_EQ(manager->GetUsedBytes(), 500U);
}

// Another map's lock may be held by a thread that waits for this one's.
TEST_F(MediaManagerTest, FlushesItemsOfOtherMapsFromTheMainThread) {
    Map other;
    Add(1, 60, other);
    Add(1, 60, map);
    EXPECT_EQ(other.flushed, "");
    EXPECT_EQ(manager->GetUsedBytes(), 60U);
    EXPECT_EQ(tulocore::threads::RunMainThreadCalls(), 1U);
    EXPECT_EQ(other.flushed, "1 ");
    EXPECT_EQ(map.flushed, "");
    EXPECT_EQ(other.references, 0);
}

// Hosts call by position: operation 10 gives the bytes, 12 drops them.
TEST_F(MediaManagerTest, PositionsInTheTable) {
    Add(1, 7, map);
    OV::IMediaManager* const object = manager.Get();
    void** const table = *reinterpret_cast<void***>(object);
    const auto usedBytes = reinterpret_cast<std::uint64_t (*)(OV::IMediaManager*)>(table[10]);
    EXPECT_EQ(usedBytes(object), 7U);
    reinterpret_cast<void (*)(OV::IMediaManager*)>(table[12])(object);
    EXPECT_EQ(usedBytes(object), 0U);
    EXPECT_EQ(map.flushed, "1 ");
}

}  // namespace

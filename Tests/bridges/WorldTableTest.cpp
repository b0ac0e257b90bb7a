#include "Records.h"

namespace bridges_test {
namespace {

using WorldTable = BridgeTest;

constexpr tagRECT kBounds = Bounds(4, 4);

TEST_F(WorldTable, KindsOfWorlds) {
    TPixHand record = NewRecord(4, 4);
    std::int16_t made = 0, given = 0, other = 0, plain = 0;
    EXPECT_EQ(twNew(&made, &kBounds, nullptr, 0), 0);
    EXPECT_EQ(twNew(&given, &kBounds, &record, 0), 0);
    EXPECT_EQ(twNew(&other, &kBounds, &record, 2), 0);
    EXPECT_EQ(twNew(&plain, &kBounds, &record, 5), 0);
    EXPECT_TRUE(made == 1 && given == 2 && other == 3 && plain == 4);
    ASSERT_NE(twGetTPix(made), nullptr);
    EXPECT_EQ((*twGetTPix(made))->bounds.bottom, 4);
    EXPECT_EQ(twGetTPix(given), record);
    EXPECT_EQ(twGetTPix(other), nullptr);
    EXPECT_EQ(twGetTPix(plain), nullptr);
    for (const std::int16_t number : {made, other, plain, given})
        twDispose(number, 0);
    EXPECT_EQ(*record, nullptr);  // went with the world that owned it
    for (const auto number : std::initializer_list<std::int16_t>{-32768, -1, 0, 2, 200, 201}) {
        twDispose(number, 0);
        EXPECT_EQ(twGetTPix(number), nullptr);
    }
}

TEST_F(WorldTable, WhoDisposesOfTheRecord) {
    const TPixHand record = NewRecord(4, 4);
    for (const auto& [owns, keeps] : {std::pair{0, 0}, {1, 1}, {7, 0}}) {
        twDispose(RegTWorldBits(record, static_cast<std::uint8_t>(owns)), keeps);
        EXPECT_EQ(*record == nullptr, owns == 7) << owns;
    }
}

TEST_F(WorldTable, FullTable) {
    TPixHand record = NewRecord(4, 4);
    for (std::int16_t number = 1; number <= 200; ++number)
        ASSERT_EQ(RegTWorldBits(record, 0), number);
    EXPECT_EQ(RegTWorldBits(record, 0), 0);
    std::int16_t number = 9;
    for (const std::int32_t kind : {1, 2}) {
        EXPECT_EQ(twNew(&number, &kBounds, &record, kind), -108);
        EXPECT_EQ(number, 9);
    }
    EXPECT_EQ(twNew(&number, &kBounds, &record, 0), 1);
    EXPECT_EQ(number, 0);
    EXPECT_NE(*record, nullptr);
    hoardex::FailAllocationsAfter(0);
    EXPECT_EQ(twNew(&number, &kBounds, nullptr, 0), -108);
    hoardex::FailAllocationsAfter(-1);
    twDispose(77, 0);
    EXPECT_EQ(RegTWorldBits(record, 0), 77);  // the first free one
    for (number = 1; number <= 200; ++number)
        twDispose(number, 0);
    tpixDispose(record);
}

// Handles, worlds and effect worlds.
TEST_F(WorldTable, IsSharedByThreads) {
    const VF::VideoFrameRef shared = MakeFrame(4, 4);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                const TPixHand handle = VF::NewTPixFromVideoFrame(shared);
                EXPECT_EQ(VF::GetVideoFrameFromTPix(handle), shared);
                twDispose(RegTWorldBits(handle, 1), 0);
                std::int16_t number = 0;
                EXPECT_EQ(twNew(&number, &kBounds, nullptr, 0), 0);
                EXPECT_TRUE(twGetTPix(number));
                twDispose(number, 0);
                GF_LayerDef world;
                ASSERT_TRUE(VF::NewGF_WorldWithNewVideoFrame(4, 4, OV::kPixelFormat_BGRA_4444_8u,
                                                             {1, 1}, world));
                EXPECT_TRUE(VF::GetGFWorldFrameMapping(world.pixelData));
                VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
            }
        });
    }
}

}  // namespace
}  // namespace bridges_test

// Handles and worlds of many threads at once.
#include <thread>

#include "Records.h"

namespace bridges_test {
namespace {

using BridgeThreads = BridgeTest;

TEST_F(BridgeThreads, MakeAndDispose) {
    const VF::VideoFrameRef shared = MakeFrame(4, 4);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&] {
            constexpr tagRECT bounds = Bounds(4, 4);
            for (int i = 0; i < 300; ++i) {
                const TPixHand handle = VF::NewTPixFromVideoFrame(shared);
                EXPECT_EQ(VF::GetVideoFrameFromTPix(handle), shared);
                twDispose(RegTWorldBits(handle, 1), 0);
                std::int16_t number = 0;
                EXPECT_EQ(twNew(&number, &bounds, nullptr, 0), 0);
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

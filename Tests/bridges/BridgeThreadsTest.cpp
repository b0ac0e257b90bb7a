// Handles and worlds of many threads at once, and what a host forgets.
#include <thread>

#include "Records.h"
#include "support/SharedFolder.h"

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
                const std::int16_t number = RegTWorldBits(handle, 1);
                std::int16_t other = 0;
                EXPECT_EQ(twNew(&other, &bounds, nullptr, 0), 0);
                EXPECT_EQ(twGetTPix(number), handle);
                VF::DisposeTPixFromVideoFrame(handle == twGetTPix(other) ? nullptr
                                                                         : twGetTPix(other));
                twDispose(other, 1);
                twDispose(number, 0);
                GF_LayerDef world;
                VF::NewGF_WorldFromExistingVideoFrame(shared, world, false, 0, 0);
                VF::GetGFWorldFrameMapping(world.pixelData);
                ASSERT_TRUE(VF::NewGF_WorldWithNewVideoFrame(4, 4, OV::kPixelFormat_BGRA_4444_8u,
                                                             {1, 1}, world));
                EXPECT_TRUE(VF::GetGFWorldFrameMapping(world.pixelData));
                VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
            }
        });
    }
    threads.clear();
    GF_LayerDef world;
    VF::NewGF_WorldFromExistingVideoFrame(shared, world, false, 0, 0);
    VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
}

TEST_F(BridgeThreads, WhatAHostForgetsIsReported) {
    const SharedFolder folder;
    VF::Initialize();
    const TPixHand rows = VF::NewTPixFromVideoFrame(MakeFrame(720, 480));
    const TPixHand bytes = VF::NewTPixWithRawFrame(1000, 0);
    GF_LayerDef world;
    VF::NewGF_WorldFromExistingVideoFrame(MakeFrame(8, 8), world, false, 0, 0);
    std::string text;
    tulocore::debug::SetTraceEnabled("TPix", true);
    const auto before =
        tulocore::debug::SetTraceSink([&](std::string_view inLine) { text += inLine; });
    VF::Shutdown();
    tulocore::debug::SetTraceSink(before);
    tulocore::debug::SetTraceEnabled("TPix", false);

    const auto holds = [&](const std::string& inPart) { return text.find(inPart) != text.npos; };
    std::ostringstream rowsLine;
    rowsLine << "<TPix> <0> <Leaked Video frame,0x" << std::hex
             << reinterpret_cast<std::uintptr_t>(rows) << "> row bytes:2880, data size:1382400\r\n";
    EXPECT_TRUE(holds("<TPix> <0> 2 TPix frames were leaked at shutdown!\r\n")) << text;
    EXPECT_TRUE(holds(rowsLine.str())) << text;
    EXPECT_TRUE(holds("> data size:1000\r\n")) << text;
    EXPECT_TRUE(holds("<TPix> <0> 1 GFWorlds were leaked at shutdown!\r\n")) << text;
    for (const TPixHand handle : {rows, bytes})
        VF::DisposeTPixFromVideoFrame(handle);  // the frames have gone, the records are still there
}

}  // namespace
}  // namespace bridges_test

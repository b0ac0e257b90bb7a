#include "VideoFrame/VideoFrameFactory.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>

#include "frames/SharedMemoryVideoFrame.h"
#include "support/Contracts.h"
#include "support/Frames.h"

using namespace tulomediatypes;

namespace {

constexpr PixelFormat kFormat = kPixelFormat_BGRA_4444_8u;

}  // namespace

TEST(Factory, ZeroSizesBreakTheContractAndKeepTheReference) {
    VF::VideoFrameRef frame = support::MakeFrame(1, 1);
    OV::IVideoFrame* const before = frame.Get();
    for (const int width : {0, 1}) {
        const std::string condition = width == 0 ? "inWidth != 0" : "inHeight != 0";
        const auto pixels = static_cast<std::uint32_t>(width);
        support::ExpectBroken(condition, "VideoFrameFactory", 79 + width, [&] {
            VF::CreateVideoFrame(frame, kFormat, pixels, 0, {1, 1}, false, false);
        });
        support::ExpectBroken(condition, "VideoFrameFactory", 148 + width, [&] {
            VF::CreateCustomVideoFrame(frame, support::kCustomFormat, pixels, 0, 1, {1, 1});
        });
    }
    EXPECT_EQ(frame.Get(), before);
}

TEST(Factory, SizesThatCannotBeHeldGiveNoFrame) {
    constexpr std::uint32_t kSizes[][2] = {
        {INT_MAX, INT_MAX}, {UINT_MAX, 1}, {1, 0x80000000}, {1U << 27, 1}, {1U << 27, 2}};
    for (const auto& [width, height] : kSizes) {
        VF::VideoFrameRef frame = support::MakeFrame(1, 1);
        EXPECT_EQ(VF::CreateVideoFrame(frame, kPixelFormat_BGRA_4444_32f, width, height, {1, 1},
                                       true, false),
                  0);
        EXPECT_FALSE(frame);
    }
    for (const std::int32_t dataSize : {-1, -128, -129, INT_MIN, INT_MAX, INT_MAX - 127}) {
        VF::VideoFrameRef frame;
        EXPECT_EQ(VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 1, 1, dataSize, {1, 1}),
                  0);
        EXPECT_FALSE(frame) << dataSize;
    }
}

TEST(Factory, RefusedMemoryGivesNoFrameOrTheStatus) {
    // The recycler lives only as long as it is held, and so keeps nothing it could hand out.
    constexpr auto kFree = [](void* block, std::size_t) { std::free(block); };
    const std::pair<Brix::BlockSource, std::int32_t> kCases[] = {
        {{[](std::size_t) -> void* { return nullptr; }, kFree}, 0},
        {{[](std::size_t) -> void* { throw std::bad_alloc(); }, kFree},
         static_cast<std::int32_t>(0xA0060003)}};
    for (const auto& [source, status] : kCases) {
        VF::VideoFrameRef frame = support::MakeFrame(1, 1);
        const Brix::BlockSource before = Brix::MemoryRecycler::SetBlockSource(source);
        EXPECT_EQ(VF::CreateVideoFrame(frame, kFormat, 4, 4, {1, 1}, true, true), status);
        EXPECT_FALSE(frame);
        EXPECT_EQ(VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 4, 4, 9, {1, 1}),
                  status);
        EXPECT_FALSE(frame);
        Brix::MemoryRecycler::SetBlockSource(before);
    }
}

TEST(Factory, ClearsAsAsked) {
    for (const bool transparent : {false, true}) {
        VF::VideoFrameRef frame;
        ASSERT_EQ(VF::CreateVideoFrame(frame, kFormat, 33, 7, {1, 1}, true, transparent), 0);
        const auto* const pixels = reinterpret_cast<const std::uint32_t*>(support::Data(frame));
        for (int i = 0; i < 33 * 7; ++i)
            EXPECT_EQ(pixels[i], transparent ? 0 : 0xFF000000) << i;
    }
    VF::VideoFrameRef frame;
    EXPECT_EQ(VF::CreateVideoFrame(frame, kPixelFormat_Invalid, 3, 3, {1, 1}, true, true), 0);
    EXPECT_TRUE(frame);
}

TEST(Factory, CustomFrameIsOneRowBehindTheHeader) {
    const VF::VideoFrameRef frame = support::MakeCustomFrame(1000);
    const auto memory = support::Ask<VF::IVideoFrameMemoryAccess>(frame);
    EXPECT_EQ(memory->GetAllocatedSize(), 1128U);
    EXPECT_EQ(memory->GetDataSize(), 1000U);
    auto* const object = static_cast<VF::SharedMemoryVideoFrameBase*>(frame.Get());
    EXPECT_EQ(object->GetRowBytes(), 1000U);
    auto* const header = static_cast<VF::SharedFrameHeader*>(object->InternalGetWritableData());
    EXPECT_EQ(memory->GetData(), header + 1);
    header->totalSize = 100;  // as another process may say
    EXPECT_EQ(memory->GetDataSize(), 0U);
}

#include "frames/RawFrame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "support/Contracts.h"

using VF::RawFrame;

namespace {

void* gLastBlock = nullptr;

// Remembers the block it gave, so that a test can see where in it the data lies.
const Brix::BlockSource kRememberingSource = {
    [](std::size_t inSize) { return gLastBlock = std::aligned_alloc(4096, inSize); },
    [](void* inBlock, std::size_t) { std::free(inBlock); },
};

}  // namespace

TEST(RawFrame, PlacesItsDataInTheBlock) {
    const Brix::BlockSource before = Brix::MemoryRecycler::SetBlockSource(kRememberingSource);
    constexpr std::uint64_t kCases[][4] = {
        {100, 0, 100, 0}, {100, 64, 164, 64}, {1, 1, 2, 1}, {100000, 8192, 108192, 4096}};
    for (const auto& [size, alignment, allocated, offset] : kCases) {
        const auto frame = RawFrame::Create();
        ASSERT_EQ(frame->AllocateMemory(size, alignment), 0);
        EXPECT_EQ(frame->GetDataSize(), size);
        EXPECT_EQ(frame->GetAllocatedSize(), allocated);
        const auto address = reinterpret_cast<std::uintptr_t>(frame->GetData());
        const std::uintptr_t distance = address - reinterpret_cast<std::uintptr_t>(gLastBlock);
        EXPECT_TRUE(distance == offset || (offset == 4096 && distance == 8192)) << distance;
        EXPECT_TRUE(alignment == 0 || address % alignment == 0);
        EXPECT_FALSE(frame->GetReadOnly());
    }
    Brix::MemoryRecycler::SetBlockSource(before);
}

TEST(RawFrame, RefusesWhatItCannotGive) {
    const auto frame = RawFrame::Create();
    support::ExpectBroken("inSize", "RawFrame", 60, [&] { frame->AllocateMemory(0, 0); });
    constexpr auto kOutOfMemory = static_cast<std::int32_t>(0xA00F0006);
    EXPECT_EQ(frame->AllocateMemory(100, 48), kOutOfMemory);
    EXPECT_EQ(frame->AllocateMemory(UINT64_MAX, 64), kOutOfMemory);
    EXPECT_EQ(frame->AllocateMemory(UINT64_MAX - 100, 64), kOutOfMemory);
    const Brix::BlockSource before = Brix::MemoryRecycler::SetBlockSource(
        {[](std::size_t) -> void* { throw std::bad_alloc(); },
         [](void* inBlock, std::size_t) { std::free(inBlock); }});
    EXPECT_EQ(frame->AllocateMemory(100, 0), kOutOfMemory);
    Brix::MemoryRecycler::SetBlockSource(before);
    EXPECT_EQ(frame->GetData(), nullptr);
    EXPECT_EQ(frame->GetDataSize(), 0U);
    EXPECT_EQ(frame->AllocateMemory(100, 0), 0);
}

TEST(RawFrame, CarriesMemoryAccessItsClassAndTheRoot) {
    const auto frame = RawFrame::Create();
    EXPECT_EQ(Brix::QueryInterface<RawFrame>(frame).Get(), frame.Get());
    EXPECT_TRUE(Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame));
    EXPECT_TRUE(Brix::QueryInterface<Brix::BrixUnknown>(frame));
    EXPECT_FALSE(Brix::QueryInterface<OV::IVideoFrame>(frame));
    EXPECT_FALSE(Brix::QueryInterface<VF::IVideoFrame2DPixelMemoryAccess>(frame));
}

#include <new>

#include "VideoFrame/VideoFrameFactory.h"

#include "frames/RawFrame.h"
#include "frames/SharedMemoryVideoFrame.h"
#include "support/Contracts.h"
#include "support/Frames.h"

using namespace tulomediatypes;

namespace {

constexpr PixelFormat kFormat = kPixelFormat_BGRA_4444_8u;

/// Where recyclers have their memory from while it lives.
struct Source {
    explicit Source(void* (*inAllocate)(std::size_t))
        : before(Brix::MemoryRecycler::SetBlockSource(
              {inAllocate, [](void* block, std::size_t) { std::free(block); }})) {}
    ~Source() { Brix::MemoryRecycler::SetBlockSource(before); }
    const Brix::BlockSource before;
};

void* Refuse(std::size_t) {
    throw std::bad_alloc();
}

}  // namespace

TEST(Factory, ZeroSizesBreakTheContractAndKeepTheReference) {
    VF::VideoFrameRef frame = support::MakeFrame(1, 1);
    OV::IVideoFrame* const before = frame.Get();
    for (const std::uint32_t width : {0U, 1U}) {
        const std::string condition = width == 0 ? "inWidth != 0" : "inHeight != 0";
        const int line = static_cast<int>(width);
        support::ExpectBroken(condition, "VideoFrameFactory", 79 + line, [&] {
            VF::CreateVideoFrame(frame, kFormat, width, 0, {1, 1}, false, false);
        });
        support::ExpectBroken(condition, "VideoFrameFactory", 148 + line, [&] {
            VF::CreateCustomVideoFrame(frame, support::kCustomFormat, width, 0, 1, {1, 1});
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
    for (const std::int32_t dataSize : {-1, -128, -129, INT_MIN, INT_MAX, INT_MAX - 127})
        EXPECT_FALSE(support::MakeCustomFrame(dataSize)) << dataSize;
}

TEST(Factory, RefusedMemoryGivesNoFrameOrTheStatus) {
    constexpr auto kOutOfMemory = static_cast<std::int32_t>(0xA0060003);
    VF::VideoFrameRef frame = support::MakeFrame(1, 1);
    {
        const Source source([](std::size_t) -> void* { return nullptr; });
        EXPECT_EQ(VF::CreateVideoFrame(frame, kFormat, 4, 4, {1, 1}, true, true), 0);
        EXPECT_FALSE(frame);
        EXPECT_FALSE(support::MakeCustomFrame(9));
    }
    const Source source(Refuse);
    EXPECT_EQ(VF::CreateVideoFrame(frame, kFormat, 4, 4, {1, 1}, true, true), kOutOfMemory);
    EXPECT_EQ(VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 4, 4, 9, {1, 1}),
              kOutOfMemory);
    EXPECT_FALSE(frame);
}

TEST(Factory, ClearsAsAsked) {
    VF::VideoFrameRef frame;
    for (const bool transparent : {false, true}) {
        ASSERT_EQ(VF::CreateVideoFrame(frame, kFormat, 33, 7, {1, 1}, true, transparent), 0);
        const auto* const pixels = reinterpret_cast<const std::uint32_t*>(support::Data(frame));
        for (int i = 0; i < 33 * 7; ++i)
            EXPECT_EQ(pixels[i], transparent ? 0 : 0xFF000000) << i;
    }
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

TEST(RawFrame, PlacesItsDataInTheBlock) {
    static std::uintptr_t block = 0;
    const Source source([](std::size_t size) {
        void* const address = std::aligned_alloc(4096, size);
        block = reinterpret_cast<std::uintptr_t>(address);
        return address;
    });
    constexpr std::uint64_t kCases[][4] = {
        {100, 0, 100, 0}, {100, 64, 164, 64}, {1, 1, 2, 1}, {100000, 8192, 108192, 4096}};
    for (const auto& [size, alignment, allocated, offset] : kCases) {
        const auto frame = VF::RawFrame::Create();
        ASSERT_EQ(frame->AllocateMemory(size, alignment), 0);
        EXPECT_EQ(frame->GetDataSize(), size);
        EXPECT_EQ(frame->GetAllocatedSize(), allocated);
        const auto address = reinterpret_cast<std::uintptr_t>(frame->GetData());
        EXPECT_TRUE(address == block + offset || (offset == 4096 && address == block + 8192));
        EXPECT_TRUE(alignment == 0 || address % alignment == 0);
        EXPECT_FALSE(frame->GetReadOnly());
    }
}

TEST(RawFrame, RefusesWhatItCannotGiveAndCarriesItsViews) {
    const auto frame = VF::RawFrame::Create();
    support::ExpectBroken("inSize", "RawFrame", 60, [&] { frame->AllocateMemory(0, 0); });
    constexpr auto kOutOfMemory = static_cast<std::int32_t>(0xA00F0006);
    EXPECT_EQ(frame->AllocateMemory(100, 48), kOutOfMemory);
    EXPECT_EQ(frame->AllocateMemory(UINT64_MAX, 64), kOutOfMemory);
    EXPECT_EQ(frame->AllocateMemory(UINT64_MAX - 100, 64), kOutOfMemory);
    {
        const Source source(Refuse);
        EXPECT_EQ(frame->AllocateMemory(100, 0), kOutOfMemory);
    }
    EXPECT_EQ(frame->GetData(), nullptr);
    EXPECT_EQ(frame->GetDataSize(), 0U);
    EXPECT_EQ(frame->AllocateMemory(100, 0), 0);
    EXPECT_EQ(Brix::QueryInterface<VF::RawFrame>(frame).Get(), frame.Get());
    EXPECT_TRUE(Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame));
    EXPECT_TRUE(Brix::QueryInterface<Brix::BrixUnknown>(frame));
    EXPECT_FALSE(Brix::QueryInterface<OV::IVideoFrame>(frame));
}

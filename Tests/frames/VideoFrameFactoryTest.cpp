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

// A source of recycler blocks that refuses, for the length of a scope.
class Refusal {
  public:
    explicit Refusal(void* (*inAllocate)(std::size_t)) {
        // The recycler lives only as long as it is held, and so keeps nothing it could hand out.
        before_ = Brix::MemoryRecycler::SetBlockSource(
            {inAllocate, [](void* inBlock, std::size_t) { std::free(inBlock); }});
    }
    ~Refusal() { Brix::MemoryRecycler::SetBlockSource(before_); }

  private:
    Brix::BlockSource before_;
};

void* ReturnNull(std::size_t) {
    return nullptr;
}

void* Throw(std::size_t) {
    throw std::bad_alloc();
}

}  // namespace

TEST(Factory, ZeroSizesBreakTheContractAndKeepTheReference) {
    VF::VideoFrameRef frame = support::MakeFrame(1, 1);
    OV::IVideoFrame* const before = frame.Get();
    support::ExpectBroken("inWidth != 0", "VideoFrameFactory", 79, [&] {
        VF::CreateVideoFrame(frame, kFormat, 0, 0, {1, 1}, false, false);
    });
    support::ExpectBroken("inHeight != 0", "VideoFrameFactory", 80, [&] {
        VF::CreateDiskAlignedVideoFrame(frame, kFormat, 1, 0, {1, 1}, 0, 0, 0, false, false);
    });
    support::ExpectBroken("inWidth != 0", "VideoFrameFactory", 148, [&] {
        VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 0, 0, 1, {1, 1});
    });
    support::ExpectBroken("inHeight != 0", "VideoFrameFactory", 149, [&] {
        VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 1, 0, 1, {1, 1});
    });
    EXPECT_EQ(frame.Get(), before);
}

TEST(Factory, SizesThatCannotBeHeldGiveNoFrame) {
    struct Case {
        std::uint32_t width, height;
    };
    for (const Case& c :
         {Case{INT_MAX, INT_MAX}, {UINT_MAX, 1}, {1, 0x80000000}, {1U << 27, 1}, {1U << 27, 2}}) {
        VF::VideoFrameRef frame = support::MakeFrame(1, 1);
        EXPECT_EQ(VF::CreateVideoFrame(frame, kPixelFormat_BGRA_4444_32f, c.width, c.height, {1, 1},
                                       true, false),
                  0);
        EXPECT_FALSE(frame);
    }
    for (const std::int32_t dataSize : {-1, -128, -129, INT_MIN, INT_MAX, INT_MAX - 127}) {
        VF::VideoFrameRef frame = support::MakeFrame(1, 1);
        EXPECT_EQ(VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 1, 1, dataSize, {1, 1}),
                  0);
        EXPECT_FALSE(frame) << dataSize;
    }
}

TEST(Factory, RefusedMemoryGivesNoFrameOrTheStatus) {
    VF::VideoFrameRef frame = support::MakeFrame(1, 1);
    {
        const Refusal refusal(ReturnNull);
        EXPECT_EQ(VF::CreateVideoFrame(frame, kFormat, 4, 4, {1, 1}, true, true), 0);
        EXPECT_FALSE(frame);
        EXPECT_EQ(VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 4, 4, 9, {1, 1}), 0);
        EXPECT_FALSE(frame);
    }
    const Refusal refusal(Throw);
    EXPECT_EQ(VF::CreateVideoFrame(frame, kFormat, 4, 4, {1, 1}, true, true),
              static_cast<std::int32_t>(0xA0060003));
    EXPECT_EQ(VF::CreateCustomVideoFrame(frame, support::kCustomFormat, 4, 4, 9, {1, 1}),
              static_cast<std::int32_t>(0xA0060003));
    EXPECT_FALSE(frame);
}

TEST(Factory, ClearsAsAsked) {
    struct Case {
        bool transparent;
        std::uint32_t pixel;
    };
    for (const Case& c : {Case{false, 0xFF000000}, {true, 0}}) {
        VF::VideoFrameRef frame;
        ASSERT_EQ(VF::CreateVideoFrame(frame, kFormat, 33, 7, {1, 1}, true, c.transparent), 0);
        const auto* const pixels = reinterpret_cast<const std::uint32_t*>(support::Data(frame));
        for (int i = 0; i < 33 * 7; ++i)
            EXPECT_EQ(pixels[i], c.pixel) << i;
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
    EXPECT_EQ(memory->GetData(), static_cast<std::byte*>(object->InternalGetWritableData()) + 128);
}

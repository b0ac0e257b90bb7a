#include "VideoFrame/EffectWorld.h"

#include "Records.h"
#include "support/FrameWithoutMemory.h"

namespace bridges_test {
namespace {

using EffectWorld = BridgeTest;

constexpr std::int32_t kWidth = 6;

/// A plug-in's record, which is longer than what is written of it.
struct World {
    static constexpr std::size_t kBytes = 160;
    static constexpr std::uint8_t kUntouched = 0xA5;

    alignas(8) std::uint8_t memory[kBytes];
    GF_LayerDef& record = *reinterpret_cast<GF_LayerDef*>(memory);

    World() { std::memset(memory, kUntouched, sizeof memory); }
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    std::vector<std::uint8_t> Written() const { return BytesAt(memory, sizeof memory); }

    static Bytes Expected(const void* inPixels, std::int32_t inStride, std::int32_t inHeight,
                          std::uint32_t inDepthFlags) {
        Bytes bytes(kBytes, kUntouched);
        bytes.Put(0, std::uint64_t{0}).Put(8, std::uint64_t{0}).Put(16, inDepthFlags);
        bytes.Put(24, inPixels).Put(32, inStride).Put(36, kWidth).Put(40, inHeight);
        bytes.Put(44, 0).Put(48, 0).Put(52, kWidth).Put(56, inHeight).Put(64, std::uint64_t{0});
        return bytes.Put(88, 16).Put(92, 15).Put(116, 0);
    }
};

struct Case {
    std::uint32_t height;
    tulomediatypes::FieldType frameFieldType;
    bool asField;
    tulomediatypes::FieldType fieldType;
    int whichField;
    // expected
    std::int32_t row, rows, stepRows;
};

constexpr Case kCases[] = {
    {10, 3, false, 2, 0, 9, 10, -1}, {11, 0, false, 1, 1, 10, 11, -1},
    {10, 3, true, 2, 0, 8, 5, -2},   {10, 3, true, 2, 1, 9, 5, -2},
    {10, 0, true, 1, 0, 9, 5, -2},   {10, 0, true, 1, 1, 8, 5, -2},
    {10, 1, true, 2, 0, 9, 5, -2},   {10, 2, true, 1, 0, 8, 5, -2},
    {10, 2, true, 0, 1, 9, 5, -2},   {10, 3, true, 3, 0, 9, 5, -2},
    {10, 4, true, 2, 0, 9, 5, -2},   {11, 3, true, 2, 0, 9, 5, -2},
    {11, 3, true, 2, 1, 10, 6, -2},  {11, 1, true, 0, 0, 10, 6, -2},
    {11, 1, true, 0, 1, 9, 5, -2},   {1, 3, true, 0, 0, 0, 1, -2},
};

TEST_F(EffectWorld, DescribesFramesAndTouchesNothingElse) {
    constexpr std::int32_t kRowBytes = 24;
    for (const Case& one : kCases) {
        SCOPED_TRACE(&one - kCases);
        const VF::VideoFrameRef frame = MakeFrame(kWidth, one.height);
        frame->SetFieldType(one.frameFieldType);
        frame->SetPixelAspectRatio({16, 15});
        World world;
        VF::NewGF_WorldFromExistingVideoFrame(frame, world.record, one.asField, one.fieldType,
                                              one.whichField);
        EXPECT_EQ(world.Written(), World::Expected(Data(frame) + one.row * kRowBytes,
                                                   one.stepRows * kRowBytes, one.rows, 0)
                                       .Put(112, tulomediatypes::FourCC("bgra"))
                                       .bytes_);
        EXPECT_EQ(VF::GetGFWorldFrameMapping(world.record.pixelData),
                  Ask<VF::IVideoFrameMemoryAccess>(frame));
        VF::DisposeGF_WorldFromVideoFrame(world.record.pixelData);
    }
}

TEST_F(EffectWorld, MakesFramesThatRunUpwards) {
    for (const auto& [format, pixelBytes, depthFlags] :
         {std::tuple{OV::kPixelFormat_BGRA_4444_8u, 4, 0U},
          {OV::kPixelFormat_BGRA_4444_16u, 8, 1U},
          {OV::kPixelFormat_BGRA_4444_32f, 16, 0U}}) {
        World world;
        ASSERT_TRUE(VF::NewGF_WorldWithNewVideoFrame(kWidth, 5, format, {16, 15}, world.record));
        GF_Pixel* const pixels = world.record.pixelData;
        EXPECT_EQ(VF::GetGFWorldFrameMapping(pixels)->GetData(), static_cast<void*>(pixels));
        EXPECT_EQ(world.Written(),
                  World::Expected(pixels, kWidth * pixelBytes, 5, depthFlags).bytes_);
        EXPECT_EQ(VF::GetGFWorldVideoFramePixelType(pixels), format);
        VF::DisposeGF_WorldFromVideoFrame(pixels);
    }
}

TEST_F(EffectWorld, HoldsTheFrameOnce) {
    const Brix::MemoryRecycler::Pointer recycler;
    VF::VideoFrameRef frame = MakeFrame(100, 100);
    GF_LayerDef one, same;
    VF::NewGF_WorldFromExistingVideoFrame(frame, one, false, 0, 0);
    VF::NewGF_WorldFromExistingVideoFrame(frame, same, true, 0, 0);
    EXPECT_EQ(one.pixelData, same.pixelData);
    EXPECT_EQ(VF::EffectWorldFrameMap().Frames().size(), 1U);
    frame = nullptr;
    const std::size_t kept = recycler->KeptBytes();
    VF::DisposeGF_WorldFromVideoFrame(one.pixelData);
    EXPECT_GT(recycler->KeptBytes(), kept);
    VF::DisposeGF_WorldFromVideoFrame(one.pixelData);  // unknown by now
}

TEST_F(EffectWorld, AnswersForUnknownWorlds) {
    auto* const nowhere = reinterpret_cast<GF_Pixel*>(0x40);
    auto format = OV::kPixelFormat_Invalid;
    EXPECT_FALSE(VF::GetGFWorldVideoFramePixelType(nowhere, OV::kPixelFormat_VUYA_4444_8u, format));
    EXPECT_EQ(format, OV::kPixelFormat_VUYA_4444_8u);
    EXPECT_EQ(VF::GetGFWorldVideoFramePixelType(nowhere), OV::kPixelFormat_BGRA_4444_8u);
    EXPECT_EQ(VF::EffectWorldFrameMap().Frames().size(), 0U);
    EXPECT_FALSE(VF::GetGFWorldFrameMapping(nowhere));
    EXPECT_EQ(VF::EffectWorldFrameMap().Frames().size(), 1U);
    EXPECT_FALSE(VF::GetGFWorldVideoFramePixelType(nowhere, OV::kPixelFormat_VUYA_4444_8u, format));
    VF::DisposeGF_WorldFromVideoFrame(nowhere);
}

TEST_F(EffectWorld, BreaksContractsAndLeavesTheWorldAlone) {
    World untouched;
    GF_LayerDef& world = untouched.record;
    FrameWithoutMemory bare;
    const auto expect = [](const char* inCondition, auto inCall) {
        ExpectBroken(inCondition, "EffectWorld", 0, inCall);
    };
    const auto describe = [&](const VF::VideoFrameRef& inFrame) {
        VF::NewGF_WorldFromExistingVideoFrame(inFrame, world, false, 0, 0);
    };
    // clang-format off
    expect("memoryAccesibleVideoFrame != NULL", [&] { describe(VF::VideoFrameRef(&bare)); });
    expect("memory2DPixelAccesibleVideoFrame != NULL", [&] { describe(MakeCustomFrame(100)); });
    expect("memory2DPixelAccesibleVideoFrame != NULL", [&] { VF::NewGF_WorldWithNewVideoFrame(720, 480, OV::kPixelFormat_NTSCDV25, {1, 1}, world); });
    expect("inData != NULL", [] { VF::DisposeGF_WorldFromVideoFrame(nullptr); });
    expect("inData != NULL", [] { VF::GetGFWorldVideoFramePixelType(nullptr); });
    // clang-format on
    EXPECT_THROW(describe(nullptr), Brix::NullInterfaceException);

    const WithoutMemory none;
    EXPECT_FALSE(
        VF::NewGF_WorldWithNewVideoFrame(900, 900, OV::kPixelFormat_BGRA_4444_8u, {1, 1}, world));
    EXPECT_EQ(untouched.Written(), World().Written());
}

}  // namespace
}  // namespace bridges_test

#include "VideoFrame/EffectWorld.h"

#include "Records.h"
#include "support/FrameWithoutMemory.h"

namespace bridges_test {
namespace {

using EffectWorld = BridgeTest;

constexpr std::int32_t kWidth = 6;

GF_LayerDef Untouched() {
    GF_LayerDef world;
    std::memset(&world, 0xA5, sizeof world);
    return world;
}

GF_LayerDef Expected(void* inPixels, std::int32_t inStride, std::int32_t inHeight,
                     std::uint32_t inDepthFlags) {
    GF_LayerDef world = Untouched();
    world.spare0 = world.spare1 = world.spare2 = 0;
    world.spare3 = 0;
    world.depthFlags = inDepthFlags;
    world.pixelData = static_cast<GF_Pixel*>(inPixels);
    world.rowStride = inStride;
    world.width = kWidth;
    world.height = inHeight;
    world.extent = {0, 0, kWidth, inHeight};
    world.aspectNumerator = 16;
    world.aspectDenominator = 15;
    return world;
}

void ExpectSame(const GF_LayerDef& inWorld, const GF_LayerDef& inExpected) {
    EXPECT_EQ(BytesAt(&inWorld, sizeof inWorld), BytesAt(&inExpected, sizeof inExpected));
}

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
        GF_LayerDef world = Untouched();
        VF::NewGF_WorldFromExistingVideoFrame(frame, world, one.asField, one.fieldType,
                                              one.whichField);
        GF_LayerDef expected =
            Expected(Data(frame) + one.row * kRowBytes, one.stepRows * kRowBytes, one.rows, 0);
        expected.pixelFormat = VF::BEToSDKPixelFormat(OV::kPixelFormat_BGRA_4444_8u);
        ExpectSame(world, expected);
        EXPECT_EQ(VF::GetGFWorldFrameMapping(world.pixelData),
                  Ask<VF::IVideoFrameMemoryAccess>(frame));
        VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
    }
}

TEST_F(EffectWorld, MakesFramesThatRunUpwards) {
    for (const auto& [format, pixelBytes, depthFlags] :
         {std::tuple{OV::kPixelFormat_BGRA_4444_8u, 4, 0U},
          {OV::kPixelFormat_BGRA_4444_16u, 8, 1U},
          {OV::kPixelFormat_BGRA_4444_32f, 16, 0U}}) {
        GF_LayerDef world = Untouched();
        ASSERT_TRUE(VF::NewGF_WorldWithNewVideoFrame(kWidth, 5, format, {16, 15}, world));
        GF_Pixel* const pixels = world.pixelData;
        EXPECT_EQ(VF::GetGFWorldFrameMapping(pixels)->GetData(), static_cast<void*>(pixels));
        ExpectSame(world, Expected(pixels, kWidth * pixelBytes, 5, depthFlags));
        EXPECT_EQ(VF::GetGFWorldVideoFramePixelType(pixels), format);
        VF::DisposeGF_WorldFromVideoFrame(pixels);
    }
}

TEST_F(EffectWorld, BreaksContractsAndLeavesTheWorldAlone) {
    GF_LayerDef world = Untouched();
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

    EXPECT_FALSE(VF::NewGF_WorldWithNewVideoFrame(0x7FFFFFFF, 0x7FFFFFFF,
                                                  OV::kPixelFormat_BGRA_4444_8u, {1, 1}, world));
    const WithoutMemory none;
    EXPECT_FALSE(
        VF::NewGF_WorldWithNewVideoFrame(900, 900, OV::kPixelFormat_BGRA_4444_8u, {1, 1}, world));
    ExpectSame(world, Untouched());
}

}  // namespace
}  // namespace bridges_test

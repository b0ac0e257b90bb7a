#include "VideoFrame/EffectWorld.h"

#include "Records.h"
#include "support/FrameWithoutMemory.h"

namespace bridges_test {
namespace {

using EffectWorld = BridgeTest;

constexpr std::size_t kWorldBytes = 160;  // a plug-in's record is longer than what is written
constexpr std::uint8_t kUntouched = 0xA5;

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
    constexpr std::int32_t kWidth = 6;
    constexpr std::int32_t kRowBytes = 24;
    for (const Case& one : kCases) {
        SCOPED_TRACE(&one - kCases);
        const VF::VideoFrameRef frame = MakeFrame(kWidth, one.height);
        frame->SetFieldType(one.frameFieldType);
        frame->SetPixelAspectRatio({16, 15});
        alignas(8) std::uint8_t memory[kWorldBytes];
        std::memset(memory, kUntouched, sizeof memory);
        auto& world = *reinterpret_cast<GF_LayerDef*>(memory);
        VF::NewGF_WorldFromExistingVideoFrame(frame, world, one.asField, one.fieldType,
                                              one.whichField);
        EXPECT_EQ(BytesAt(memory, sizeof memory), Bytes(kWorldBytes, kUntouched)
                                                      .Put(0, std::uint64_t{0})
                                                      .Put(8, std::uint64_t{0})
                                                      .Put(16, 0)
                                                      .Put(24, Data(frame) + one.row * kRowBytes)
                                                      .Put(32, one.stepRows * kRowBytes)
                                                      .Put(36, kWidth)
                                                      .Put(40, one.rows)
                                                      .Put(44, 0)
                                                      .Put(48, 0)
                                                      .Put(52, kWidth)
                                                      .Put(56, one.rows)
                                                      .Put(64, std::uint64_t{0})
                                                      .Put(88, 16)
                                                      .Put(92, 15)
                                                      .Put(112, tulomediatypes::FourCC("bgra"))
                                                      .Put(116, 0)
                                                      .bytes_);
        EXPECT_EQ(VF::GetGFWorldFrameMapping(world.pixelData),
                  Ask<VF::IVideoFrameMemoryAccess>(frame));
        VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
    }
}

TEST_F(EffectWorld, MakesFramesThatRunUpwards) {
    struct Depth {
        tulomediatypes::PixelFormat format;
        std::int32_t pixelBytes;
        std::uint32_t depthFlags;
    };
    for (const Depth& depth :
         {Depth{OV::kPixelFormat_BGRA_4444_8u, 4, 0}, Depth{OV::kPixelFormat_BGRA_4444_16u, 8, 1},
          Depth{OV::kPixelFormat_BGRA_4444_32f, 16, 0}}) {
        alignas(8) std::uint8_t memory[kWorldBytes];
        std::memset(memory, kUntouched, sizeof memory);
        auto& world = *reinterpret_cast<GF_LayerDef*>(memory);
        ASSERT_TRUE(VF::NewGF_WorldWithNewVideoFrame(6, 5, depth.format, {16, 15}, world));
        const auto frame = VF::GetGFWorldFrameMapping(world.pixelData);
        EXPECT_EQ(BytesAt(memory, sizeof memory), Bytes(kWorldBytes, kUntouched)
                                                      .Put(0, std::uint64_t{0})
                                                      .Put(8, std::uint64_t{0})
                                                      .Put(16, depth.depthFlags)
                                                      .Put(24, frame->GetData())
                                                      .Put(32, 6 * depth.pixelBytes)
                                                      .Put(36, 6)
                                                      .Put(40, 5)
                                                      .Put(44, 0)
                                                      .Put(48, 0)
                                                      .Put(52, 6)
                                                      .Put(56, 5)
                                                      .Put(64, std::uint64_t{0})
                                                      .Put(88, 16)
                                                      .Put(92, 15)
                                                      .Put(116, 0)
                                                      .bytes_);
        EXPECT_EQ(VF::GetGFWorldVideoFramePixelType(world.pixelData), depth.format);
        VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
    }
}

TEST_F(EffectWorld, HoldsTheFrameOnce) {
    const Brix::MemoryRecycler::Pointer recycler;
    VF::VideoFrameRef frame = MakeFrame(100, 100);
    GF_LayerDef one;
    GF_LayerDef same;
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
    alignas(8) std::uint8_t memory[kWorldBytes];
    std::memset(memory, kUntouched, sizeof memory);
    auto& world = *reinterpret_cast<GF_LayerDef*>(memory);
    FrameWithoutMemory bare;
    const auto format = OV::kPixelFormat_BGRA_4444_8u;
    const auto expect = [](const char* inCondition, auto inCall) {
        ExpectBroken(inCondition, "EffectWorld", 0, inCall);
    };
    expect("memoryAccesibleVideoFrame != NULL", [&] {
        VF::NewGF_WorldFromExistingVideoFrame(VF::VideoFrameRef(&bare), world, false, 0, 0);
    });
    expect("memory2DPixelAccesibleVideoFrame != NULL", [&] {
        VF::NewGF_WorldFromExistingVideoFrame(MakeCustomFrame(100), world, false, 0, 0);
    });
    expect("memory2DPixelAccesibleVideoFrame != NULL", [&] {
        VF::NewGF_WorldWithNewVideoFrame(720, 480, OV::kPixelFormat_NTSCDV25, {1, 1}, world);
    });
    expect("inData != NULL", [] { VF::DisposeGF_WorldFromVideoFrame(nullptr); });
    expect("inData != NULL", [] { VF::GetGFWorldVideoFramePixelType(nullptr); });
    EXPECT_THROW(VF::NewGF_WorldFromExistingVideoFrame(nullptr, world, false, 0, 0),
                 Brix::NullInterfaceException);

    const auto before = Brix::MemoryRecycler::SetBlockSource(
        {[](std::size_t) -> void* { throw std::bad_alloc(); }, [](void*, std::size_t) {}});
    EXPECT_FALSE(VF::NewGF_WorldWithNewVideoFrame(900, 900, format, {1, 1}, world));
    Brix::MemoryRecycler::SetBlockSource(before);
    EXPECT_EQ(BytesAt(memory, sizeof memory), Bytes(kWorldBytes, kUntouched).bytes_);
}

}  // namespace
}  // namespace bridges_test

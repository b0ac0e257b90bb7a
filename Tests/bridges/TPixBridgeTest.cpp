#include "VideoFrame/TPixBridge.h"

#include "Records.h"
#include "bridges/RowGeometry.h"
#include "support/FrameWithoutMemory.h"

namespace bridges_test {
namespace {

using TPixBridge = BridgeTest;

constexpr std::uint32_t kWidth = 5;

/// Where a record points, in rows of the frame.
struct Place {
    std::int32_t bottom;
    int pixels, field0, field1;
    int rowStep;
    std::uint64_t fieldbase;
};

void ExpectRecord(TPixHand inHandle, const Place& inPlace, std::uint64_t inAspectRatio) {
    constexpr std::int32_t kRowBytes = 4 * kWidth;
    auto* const base = reinterpret_cast<std::uint8_t*>(Data(VF::GetVideoFrameFromTPix(inHandle)));
    TPix expected{};
    expected.bounds = Bounds(kWidth, inPlace.bottom);
    expected.rowbytes = inPlace.rowStep * kRowBytes;
    expected.depth = 32;
    expected.pixels = expected.fullPixels = base + inPlace.pixels * kRowBytes;
    expected.fieldStart[0] = base + inPlace.field0 * kRowBytes;
    expected.fieldStart[1] = base + inPlace.field1 * kRowBytes;
    expected.fieldbase = inPlace.fieldbase;
    expected.pixelAspectRatio = inAspectRatio;
    EXPECT_EQ(std::memcmp(*inHandle, &expected, sizeof expected), 0);
}

TEST_F(TPixBridge, PointsIntoFrames) {
    struct Case {
        std::int32_t height;
        bool asField;
        tulomediatypes::FieldType fieldType;
        int whichField;
        Place place;
        bool isMade = false;  // by the bridge, with that field first
    };
    // clang-format off
    constexpr Case kCases[] = {
        {10, false, 4, 0, {10, 0, 0, 0, 1, 0}}, {11, false, 2, 1, {11, 0, 0, 0, 1, 0}},
        {10, true, 2, 0, {5, 0, 0, 1, 2, 1}}, {10, true, 2, 1, {5, 1, 0, 1, 2, 2}},
        {10, true, 1, 0, {5, 1, 1, 0, 2, 1}}, {10, true, 1, 1, {5, 0, 1, 0, 2, 2}},
        {10, true, 0, 0, {5, 1, 1, 0, 2, 1}}, {10, true, 3, 1, {5, 1, 1, 0, 2, 2}},
        {11, true, 2, 0, {6, 0, 0, 1, 2, 1}}, {11, true, 2, 1, {5, 1, 0, 1, 2, 2}},
        {11, true, 1, 0, {5, 1, 1, 0, 2, 1}}, {11, true, 1, 1, {6, 0, 1, 0, 2, 2}},
        {11, true, 0, 1, {5, 1, 1, 0, 2, 2}}, {11, true, 3, 0, {5, 1, 1, 0, 2, 1}},
        {10, true, 2, 7, {5, 1, 0, 1, 2, 2}}, {1, true, 2, 0, {1, 0, 0, 1, 2, 1}},
        {10, false, 0, 0, {10, 0, 0, 0, 1, 0}, true}, {11, false, 0, 1, {11, 0, 0, 0, 1, 0}, true},
        {10, true, 2, 1, {5, 0, 0, 1, 2, 2}, true}, {10, true, 1, 0, {5, 1, 0, 1, 2, 1}, true},
        {11, true, 2, 1, {6, 1, 1, 0, 2, 2}, true}, {11, true, 1, 0, {5, 0, 1, 0, 2, 1}, true},
    };
    // clang-format on
    for (const Case& one : kCases) {
        SCOPED_TRACE(&one - kCases);
        const tagRECT bounds{3, -4, 3 + static_cast<int>(kWidth), one.height - 4};
        const VF::VideoFrameRef frame = MakeFrame(kWidth, static_cast<std::uint32_t>(one.height));
        const TPixHand handle =
            one.isMade
                ? VF::NewTPixWithVideoFrame(&bounds, OV::kPixelFormat_BGRA_4444_8u, one.asField,
                                            one.whichField, {0x8001, 0x12345}, 0, 0, 0)
                : VF::NewTPixFromVideoFrame(frame, one.asField, one.fieldType, one.whichField);
        EXPECT_EQ(VF::GetVideoFrameFromTPix(handle) == frame, !one.isMade);
        // 0x8001 << 16 meets the upper bits of the denominator; nothing reaches the upper word.
        ExpectRecord(handle, one.place, one.isMade ? 0x80012345U : 1000U << 16 | 1000U);
        EXPECT_EQ(VF::GetUnderlyingVideoFrameFieldType(handle),
                  one.isMade ? one.fieldType : frame->GetFieldType());
        VF::DisposeTPixFromVideoFrame(handle);
    }
}

/// A frame that tells of its rows in the other way only, as frames of other libraries may.
class FrameWithRowGeometry final : public FrameWithoutMemory, public VF::IVideoFrameRowGeometry {
  public:
    void AddRef() override {}
    void Release() override {}
    void Destroy() override {}
    std::int32_t QueryInterface(const tulocore::utility::Guid& inId, void** outView) override {
        if (inId != VF::IVideoFrameRowGeometry::kInterfaceId)
            return FrameWithoutMemory::QueryInterface(inId, outView);
        *outView = static_cast<VF::IVideoFrameRowGeometry*>(this);
        return 0;
    }
    std::uint32_t GetPixelSize() override { return 8; }
    std::uint32_t GetRowBytes() override { return static_cast<std::uint32_t>(-80); }
};

// Frames without two-dimensional rows.
TEST_F(TPixBridge, RecordsWithoutGeometry) {
    FrameWithoutMemory bare;
    FrameWithRowGeometry foreign;
    const VF::VideoFrameRef bareFrame(&bare);
    const VF::VideoFrameRef foreignFrame(static_cast<OV::IVideoFrame*>(&foreign));
    const VF::VideoFrameRef dv = MakeFrame(720, 480, OV::kPixelFormat_NTSCDV25);
    const tagRECT bounds = Bounds(8, 6);
    const TPixHand custom = VF::NewCustomTPixWithVideoFrame(&bounds, kCustomFormat, 100, {1, 1});
    const struct {
        TPixHand handle;
        std::int32_t bottom;
        void* pixels;
        std::uint64_t fieldbase;
        std::int32_t rowbytes = 0;
        std::uint32_t depth = 0;
    } cases[] = {
        {VF::NewTPixFromVideoFrame(foreignFrame, true, 2, 0), 10, nullptr, 0, -80, 64},
        {VF::NewTPixFromVideoFrame(bareFrame, true, 2, 0), 10, nullptr, 0},
        {VF::NewTPixFromVideoFrame(dv, true, 2, 1), 480, Data(dv), 2},
        {custom, 6, Data(VF::GetVideoFrameFromTPix(custom)), 0},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(&one - cases);
        const TPix& record = **one.handle;
        EXPECT_EQ(record.bounds.bottom, one.bottom);
        EXPECT_EQ(record.rowbytes, one.rowbytes);
        EXPECT_EQ(record.depth, one.depth);
        EXPECT_EQ(record.fieldbase, one.fieldbase);
        EXPECT_EQ(record.pixels, record.fullPixels);
        EXPECT_EQ(record.pixels, one.pixels);
        VF::DisposeTPixFromVideoFrame(one.handle);
    }
}

TEST_F(TPixBridge, TakesMemoryOfAnyOwner) {
    const TPixHand raw = VF::NewTPixWithRawFrame(1000, 256);
    ASSERT_NE((*raw)->pixels, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>((*raw)->pixels) % 256, 0U);
    EXPECT_EQ((*raw)->fullPixels, (*raw)->pixels);
    const auto bytes =
        Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(VF::GetTPixHandFrameMapping(raw));
    const TPixHand again = VF::NewTPixFromVideoMemoryAccess(bytes);
    EXPECT_EQ((*again)->pixels, (*raw)->pixels);
    EXPECT_FALSE(VF::GetUnderlyingVideoFrameReadOnly(again));
    EXPECT_FALSE(VF::GetVideoFrameFromTPix(again));

    const VF::VideoFrameRef frame = MakeFrame(kWidth, 4);
    const TPixHand ofFrame =
        VF::NewTPixFromVideoMemoryAccess(Ask<VF::IVideoFrameMemoryAccess>(frame));
    EXPECT_EQ(VF::GetVideoFrameFromTPix(ofFrame), frame);
    EXPECT_EQ(VF::NewTPixFromVideoMemoryAccess(nullptr), nullptr);
    for (const TPixHand handle : {raw, again, ofFrame})
        VF::DisposeTPixFromVideoFrame(handle);
}

// ---------------------------------------------------------------------------------------------
// Bad input

TEST_F(TPixBridge, BreaksContracts) {
    const auto expect = [](const char* inCondition, auto inCall) {
        ExpectBroken(inCondition, "TPixBridge", 0, inCall);
    };
    std::uint32_t number = 0;
    TPix record{};
    TPix* master = &record;
    // clang-format off
    expect("inVideoFrame != NULL", [] { VF::NewTPixFromVideoFrame(nullptr); });
    expect("bounds", [] { tpixNew(nullptr); });
    expect("bounds", [] { VF::NewCustomTPixWithVideoFrame(nullptr, kCustomFormat, 1, {1, 1}); });
    expect("inSize", [] { VF::NewTPixWithRawFrame(0, 16); });
    expect("tpixHandle != NULL", [] { tpixDispose(nullptr); });
    expect("inTPix != NULL", [] { VF::GetVideoFrameFromTPix(nullptr); });
    expect("inTPixHand != NULL", [] { VF::GetUnderlyingVideoFrameFieldType(nullptr); });
    expect("inTPixHand != NULL", [&] { VF::GetUnderlyingVideoFrameAspectRatio(nullptr, &number, &number); });
    expect("outAspectNum != NULL && outAspectDen != NULL", [&] { VF::GetUnderlyingVideoFrameAspectRatio(&master, &number, nullptr); });
    // clang-format on
    ExpectBroken("inWidth != 0", "VideoFrameFactory", 79, [] { NewRecord(0, 5); });
}

}  // namespace
}  // namespace bridges_test

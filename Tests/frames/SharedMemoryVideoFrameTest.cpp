#include "frames/RawFrame.h"
#include "frames/SharedMemoryVideoFrame.h"
#include "support/Contracts.h"
#include "support/Frames.h"

using namespace tulomediatypes;
using support::Ask;
using support::MakeFrame;

namespace {

constexpr const char* kWriteRule = "!GetReadOnly() && InternalGetWritableData()";

VF::SharedMemoryVideoFrameBase& Object(const VF::VideoFrameRef& inFrame) {
    return static_cast<VF::SharedMemoryVideoFrameBase&>(*inFrame);
}

VF::SharedFrameHeader& Header(const VF::VideoFrameRef& inFrame) {
    return *static_cast<VF::SharedFrameHeader*>(Object(inFrame).InternalGetWritableData());
}

}  // namespace

TEST(Frame, NewFrameReportsWhatItWasMadeWith) {
    VF::VideoFrameRef frame;
    ASSERT_EQ(VF::CreateVideoFrame(frame, kPixelFormat_UYVY_422_8u, 7, 5, {10, 11}, false, false),
              0);
    EXPECT_EQ(frame->GetBounds(), (Brix::Rect{0, 0, 7, 5}));
    EXPECT_EQ(frame->GetPixelType(), kPixelFormat_UYVY_422_8u);
    EXPECT_EQ(frame->GetPixelAspectRatio(), (PixelAspectRatio{10, 11}));
    EXPECT_FALSE(frame->GetReadOnly());
    EXPECT_EQ(frame->GetFieldType(), 3U);
    EXPECT_EQ(frame->GetAlphaType(), 1U);
    EXPECT_EQ(frame->GetOrigin(), (OV::Point{-1, -1}));
    EXPECT_EQ(frame->GetContentRect(), frame->GetBounds());
    Brix::Rect dataRect;
    EXPECT_TRUE(frame->GetDataRect(dataRect));
    EXPECT_EQ(dataRect, frame->GetBounds());
    EXPECT_EQ(frame->GetRenderTime(), 0U);
    const auto memory = Ask<VF::IVideoFrameMemoryAccess>(frame);
    EXPECT_EQ(memory->GetDataSize(), 80U);
    EXPECT_EQ(memory->GetAllocatedSize(), 208U);
    EXPECT_EQ(memory->GetData(), reinterpret_cast<std::byte*>(&Header(frame)) + 128);
    // The origin is unset when either part is negative.
    for (const OV::Point& origin : {OV::Point{5, -2}, {-7, 2}, {5, 0}}) {
        frame->SetOrigin(origin.x, origin.y);
        const bool isSet = origin.x == 5 && origin.y == 0;
        EXPECT_EQ(frame->GetOrigin(), (isSet ? origin : OV::Point{-1, -1}));
    }
}

TEST(Frame, ReadOnlyRefusesEveryWriteButTheRenderTime) {
    const VF::VideoFrameRef frame = MakeFrame(4, 4);
    frame->SetRenderTime(5);
    frame->SetReadOnly(true);
    // clang-format off
    const std::vector<std::function<void()>> writes = {
        [&] { frame->SetPixelAspectRatio({1, 2}); }, [&] { frame->SetFieldType(1); },
        [&] { frame->SetAlphaType(3); }, [&] { frame->SetOrigin(1, 1); },
        [&] { frame->SetContentRect({}); }, [&] { frame->SetDataRect({}); },
        [&] { frame->ResetDataRect(); }};
    // clang-format on
    const VF::SharedFrameHeader before = Header(frame);
    for (const auto& write : writes)
        support::ExpectBroken(kWriteRule, "SharedMemoryVideoFrame", 0, write);
    frame->SetRenderTime(9);
    frame->SetAuxiliaryInfo({1, 2, 3});
    EXPECT_EQ(std::memcmp(&before, &Header(frame), sizeof(before)), 0);
    frame->SetReadOnly(false);
    frame->SetRenderTime(9);
    EXPECT_EQ(frame->GetRenderTime(), 9U);
    // The view is handed out to nobody; the object carries it all the same.
    support::ExpectBroken("false", "SharedMemoryVideoFrame", 397,
                          [&] { Object(frame).Publish(tulocore::utility::Guid()); });
}

TEST(Frame, InterfacesFollowFormatAndState) {
    // clang-format off
    const struct { VF::VideoFrameRef frame; bool readOnly, clearable, rows; } kCases[] = {
        {MakeFrame(4, 4), false, true, true}, {MakeFrame(4, 4), true, false, true},
        {MakeFrame(720, 480, kPixelFormat_NTSCDV25), false, true, false},
        {MakeFrame(4, 4, kPixelFormat_Invalid), false, true, false},
        {support::MakeCustomFrame(100), false, false, false}};
    // clang-format on
    for (const auto& [frame, readOnly, clearable, rows] : kCases) {
        SCOPED_TRACE(frame->GetPixelType().code);
        frame->SetReadOnly(readOnly);
        EXPECT_TRUE(Ask<OV::IVideoFrame>(frame));
        EXPECT_TRUE(Ask<VF::IVideoFrameMemoryAccess>(frame));
        EXPECT_TRUE(Ask<Brix::BrixUnknown>(frame));
        EXPECT_EQ(static_cast<bool>(Ask<OV::IVideoFrameClearable>(frame)), clearable);
        EXPECT_EQ(static_cast<bool>(Ask<VF::IVideoFrame2DPixelMemoryAccess>(frame)), rows);
        EXPECT_FALSE(Ask<VF::IPublishableVideoFrame>(frame));
    }
}

// Alpha counts where the format holds it; formats without addressable rows have no pixel size.
TEST(Frame, FormatsSayPixelSizeAndAlpha) {
    constexpr int kNoRows = -1;
    // clang-format off
    const struct { PixelFormat format; std::uint32_t alphaType; bool hasAlpha; int pixelSize; }
    kCases[] = {
        {kPixelFormat_BGRA_4444_8u, 1, true, 4}, {kPixelFormat_BGRA_4444_8u, 2, true, 4},
        {kPixelFormat_BGRA_4444_8u, 3, false, 4}, {kPixelFormat_BGRP_4444_32f, 1, true, 16},
        {kPixelFormat_BGRX_4444_8u, 1, false, 4}, {kPixelFormat_UYVY_422_8u, 1, false, 2},
        {kPixelFormat_PALDV50, 1, false, kNoRows}, {kPixelFormat_Invalid, 1, false, kNoRows},
        {kPixelFormat_VUYX_4444_8u_709, 1, false, 4}, {kPixelFormat_PRGB_4444_15u, 1, true, 8},
        {kPixelFormat_VUYA_4444_16u, 1, true, 8}, {kPixelFormat_BGRA_4444_32f, 1, true, 16},
        {kPixelFormat_YUYV_422_8u, 1, false, 2}, {kPixelFormat_V210_422_10u, 1, false, 0}};
    // clang-format on
    for (const auto& [format, alphaType, hasAlpha, pixelSize] : kCases) {
        const VF::VideoFrameRef frame = MakeFrame(8, 2, format);
        frame->SetAlphaType(alphaType);
        EXPECT_EQ(frame->HasAlphaChannel(), hasAlpha) << format.code << " " << alphaType;
        const auto rows = Ask<VF::IVideoFrame2DPixelMemoryAccess>(frame);
        EXPECT_EQ(rows ? static_cast<int>(rows->GetPixelSize()) : kNoRows, pixelSize);
    }
}

// Sub-frames have a rule of their own.
TEST(Frame, FieldsStartAtTheRowThatFieldTypeAndHeightSay) {
    constexpr std::uint32_t kCases[][4] = {
        // field type, height, first row of a frame, of a part
        {1, 10, 1, 1}, {1, 11, 0, 0}, {2, 10, 0, 0}, {2, 11, 1, 0}, {3, 10, 0, 1}, {0, 11, 1, 1}};
    for (const auto& [fieldType, height, ofFrame, ofPart] : kCases) {
        const VF::VideoFrameRef frame = MakeFrame(16, height);
        frame->SetFieldType(fieldType);
        VF::VideoFrameRef parent = MakeFrame(16, 20), part;
        parent->SetFieldType(fieldType);
        const auto bottom = 3 + static_cast<std::int32_t>(height);
        EXPECT_EQ(VF::CreateVideoSubFrame(part, parent, {2, 3, 9, bottom}), 0);
        for (const auto& [each, first] : {std::pair(frame, ofFrame), {part, ofPart}}) {
            SCOPED_TRACE(testing::Message() << fieldType << ' ' << height << ' ' << first);
            const auto rows = Ask<VF::IVideoFrame2DPixelMemoryAccess>(each);
            EXPECT_EQ(rows->GetFieldFirstRow(0), first);
            EXPECT_EQ(rows->GetFieldFirstRow(1), 1 - first);
            EXPECT_EQ(rows->GetField0Data(), support::Data(each) + first * 64);
            EXPECT_EQ(rows->GetField1Data(), support::Data(each) + (1 - first) * 64);
            EXPECT_EQ(rows->GetFieldRowBytes(), 128U);
        }
    }
    const VF::VideoFrameRef compressed = MakeFrame(720, 480, kPixelFormat_NTSCDV25);
    support::ExpectBroken("IsRowAddressable()", "SharedMemoryVideoFrame", 0,
                          [&] { Object(compressed).GetField1Data(); });
}

TEST(Frame, PixelsLieBehindTheOffsetOfTheHeader) {
    VF::VideoFrameRef frame;
    ASSERT_EQ(VF::CreateDiskAlignedVideoFrame(frame, kPixelFormat_BGRA_4444_8u, 4, 4, {1, 1}, 512,
                                              4096, 64, false, false),
              0);
    EXPECT_EQ((reinterpret_cast<std::uintptr_t>(support::Data(frame)) - 64) % 512, 0U);
    Header(frame).version = 5;
    EXPECT_EQ(support::Data(frame), reinterpret_cast<std::byte*>(&Header(frame)) + 128);
}

TEST(Frame, DuplicateHasThePropertiesAndPixelsOfItsOwn) {
    const VF::VideoFrameRef frame = MakeFrame(6, 4, kPixelFormat_ARGB_4444_15u);
    frame->SetPixelAspectRatio({3, 4});
    frame->SetOrigin(5, 6);
    frame->SetContentRect({1, 1, 5, 3});
    frame->SetDataRect({2, 2, 4, 3});
    frame->SetFieldType(2);
    frame->SetAlphaType(2);
    frame->SetRenderTime(77);
    frame->SetReadOnly(true);
    const VF::VideoFrameRef duplicate = frame->Duplicate();
    ASSERT_TRUE(duplicate);
    EXPECT_NE(support::Data(duplicate), support::Data(frame));
    VF::SharedFrameHeader expected = Header(frame);
    expected.renderTime = 0;
    EXPECT_EQ(std::memcmp(&Header(duplicate), &expected, 96), 0);
    EXPECT_FALSE(duplicate->GetReadOnly());
}

// The four colours reach the last pixel, also of rows that go down in memory.
TEST(Frame, FillsEveryPixel) {
    using Clearable = OV::IVideoFrameClearable;
    for (const bool upsideDown : {false, true}) {
        const VF::VideoFrameRef frame = MakeFrame(3, 5);
        auto* const pixels = reinterpret_cast<std::uint32_t*>(support::Data(frame));
        Header(frame).rowBytes = upsideDown ? -12 : 12;
        Header(frame).pixelOffset = upsideDown ? 4 * 12 : 0;
        for (const auto& [fill, pixel] : {std::pair(&Clearable::FillWithOpaqueBlack, 0xFF000000U),
                                          {&Clearable::FillWithOpaqueWhite, 0xFFFFFFFFU},
                                          {&Clearable::FillWithTransparentBlack, 0U},
                                          {&Clearable::FillWithTransparentWhite, 0xFFFFFFU}}) {
            EXPECT_EQ((*Ask<Clearable>(frame).*fill)(), 0);
            EXPECT_EQ(std::count(pixels, pixels + 15, pixel), 15);
        }
    }
}

TEST(Frame, LastReleaseOfEachKindGivesItsMemoryBack) {
    const Brix::MemoryRecycler::Pointer recycler;
    std::vector<Brix::InterfaceRef<Brix::BrixUnknown>> frames = {MakeFrame(500, 500)};
    VF::VideoFrameRef part;
    EXPECT_EQ(VF::CreateVideoSubFrame(part, MakeFrame(500, 500), {0, 0, 1, 1}), 0);
    frames.push_back(std::exchange(part, nullptr));
    frames.push_back(VF::RawFrame::Create());
    Brix::QueryInterface<VF::RawFrame>(frames.back())->AllocateMemory(1'000'000, 0);
    while (!frames.empty()) {
        const std::size_t kept = recycler->KeptBytes();
        auto last = frames.back();
        frames.pop_back();
        EXPECT_EQ(recycler->KeptBytes(), kept);
        last = nullptr;
        EXPECT_GE(recycler->KeptBytes(), kept + 1'000'000);
    }
}

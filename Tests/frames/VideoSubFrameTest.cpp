#include "support/Contracts.h"
#include "support/Frames.h"

namespace {

using namespace support;
using Rows = VF::IVideoFrame2DPixelMemoryAccess;
using Memory = VF::IVideoFrameMemoryAccess;

constexpr Brix::Rect kPart{100, 50, 300, 150};

VF::VideoFrameRef SubFrameOf(const VF::VideoFrameRef& inParent, const Brix::Rect& inRect = kPart) {
    VF::VideoFrameRef frame;
    EXPECT_EQ(VF::CreateVideoSubFrame(frame, inParent, inRect), 0);
    return frame;
}

TEST(VideoSubFrame, ShowsAPartOfItsParent) {
    const VF::VideoFrameRef parent = MakeFrame(1920, 1080);
    const VF::VideoFrameRef part = SubFrameOf(parent);
    EXPECT_EQ(part->GetBounds(), (Brix::Rect{0, 0, 200, 100}));
    EXPECT_EQ(Data(part), Data(parent) + 50 * 7680 + 400);
    EXPECT_EQ(Ask<Memory>(part)->GetDataSize(), 80000u);
    EXPECT_EQ(Ask<Memory>(part)->GetAllocatedSize(), Ask<Memory>(parent)->GetAllocatedSize());
    const auto rows = Ask<Rows>(part);
    EXPECT_EQ(rows->GetRowBytes(), 7680u);
    EXPECT_EQ(rows->GetPixelSize(), 4u);
    EXPECT_EQ(Ask<Brix::BrixUnknown>(part).Get(), part.Get());
    EXPECT_TRUE(part->IsRectNative({0, 0, 200, 100}));
    EXPECT_FALSE(part->IsRectNative(kPart));
    EXPECT_EQ(part->GetPixelType(), parent->GetPixelType());
    // Filled, it fills the whole parent.
    EXPECT_EQ(Ask<OV::IVideoFrameClearable>(part)->FillWithOpaqueWhite(), 0);
    for (const std::size_t at : {std::size_t{0}, std::size_t{1920 * 1080 * 4 - 1}})
        EXPECT_EQ(Data(parent)[at], std::byte{255});
}

TEST(VideoSubFrame, HasPropertiesOfItsOwn) {
    const VF::VideoFrameRef parent = MakeFrame(1920, 1080);
    const VF::VideoFrameRef part = SubFrameOf(parent);
    EXPECT_EQ(part->GetOrigin(), (OV::Point{0, 0}));
    EXPECT_EQ(part->GetContentRect(), kPart);
    part->SetOrigin(-1, 5);
    part->SetContentRect({1, 2, 3, 4});
    part->SetAuxiliaryInfo({1, 2, 3});
    EXPECT_EQ(part->GetAuxiliaryInfo(), (OV::AuxiliaryInfo{1, 2, 3}));
    part->SetFieldType(2);
    EXPECT_NE(part->GetFieldType(), 2u);
    Brix::Rect rect;
    EXPECT_FALSE(part->GetDataRect(rect));
    EXPECT_EQ(rect, kPart);
    part->SetDataRect({0, 60, 5000, 5000});
    EXPECT_TRUE(part->GetDataRect(rect));
    EXPECT_EQ(rect, (Brix::Rect{100, 60, 300, 150}));

    const VF::VideoFrameRef copy = part->Duplicate();
    EXPECT_EQ(Data(copy), Data(part));
    EXPECT_EQ(copy->GetOrigin(), (OV::Point{-1, 5}));
    EXPECT_EQ(copy->GetContentRect(), (Brix::Rect{1, 2, 3, 4}));
    EXPECT_EQ(copy->GetAuxiliaryInfo(), OV::AuxiliaryInfo{});
    EXPECT_FALSE(copy->GetDataRect(rect));
    part->ResetDataRect();
    EXPECT_FALSE(part->GetDataRect(rect));

    // The parent's alpha type is changed unless it is straight.
    part->SetAlphaType(2);
    EXPECT_EQ(parent->GetAlphaType(), 1u);
    parent->SetAlphaType(3);
    part->SetAlphaType(2);
    EXPECT_EQ(parent->GetAlphaType(), 2u);
    EXPECT_THROW(part->SetReadOnly(true), VF::IllegalVideoSubFrameOperation);
    EXPECT_THROW(part->SetPixelAspectRatio({1, 1}), VF::IllegalVideoSubFrameOperation);
    EXPECT_STREQ(VF::IllegalVideoSubFrameOperation().what(),
                 "Illegal operation on a VideoSubFrame.");
}

TEST(VideoSubFrame, LivesWithItsParentAndOfIt) {
    VF::VideoFrameRef parent = MakeFrame(400, 400);
    Data(parent)[50 * 1600 + 400] = std::byte{42};
    const VF::VideoFrameRef part = SubFrameOf(parent);
    parent = nullptr;
    EXPECT_EQ(Data(part)[0], std::byte{42});

    const VF::VideoFrameRef readOnly = MakeFrame(400, 400);
    readOnly->SetReadOnly(true);
    VF::VideoFrameRef shown;
    EXPECT_EQ(VF::CreateVideoSubFrame(shown, readOnly, kPart), VF::kFailure);
    EXPECT_TRUE(shown->GetReadOnly());
    shown->SetRenderTime(7);
    EXPECT_EQ(shown->GetRenderTime(), 7u);
    ExpectBroken("clearableVideoFrame != NULL", "VideoFrame", 409,
                 [&] { Ask<OV::IVideoFrameClearable>(shown)->FillWithOpaqueBlack(); });
    EXPECT_FALSE(Ask<VF::IPublishableVideoFrame>(shown));
}

TEST(VideoSubFrame, IsNotMadeOfNothing) {
    const VF::VideoFrameRef parent = MakeFrame(400, 400);
    VF::VideoFrameRef frame;
    const auto expectBroken = [&](const char* condition, int line, const Brix::Rect& rect) {
        ExpectBroken(condition, "VideoFrameFactory", line,
                     [&] { VF::CreateVideoSubFrame(frame, parent, rect); });
    };
    expectBroken("inSubRectBounds.Width() != 0", 185, {5, 5, 5, 5});
    expectBroken("inSubRectBounds.Height() != 0", 186, {5, 5, 9, 5});
    for (const Brix::Rect& rect :
         {Brix::Rect{-1, 0, 5, 5}, {0, 0, 401, 5}, {0, 399, 5, 401}, {9, 0, 5, 5}})
        expectBroken("inSubRectBounds is inside the parent's bounds", 0, rect);
    ExpectBroken("memory2DPixelAccesibleVideoFrame != NULL", "VideoFrame", 179, [&] {
        VF::CreateVideoSubFrame(frame, MakeCustomFrame(400), {0, 0, 5, 5});
    });
    EXPECT_THROW(VF::CreateVideoSubFrame(frame, nullptr, {0, 0, 5, 5}),
                 Brix::NullInterfaceException);
    EXPECT_FALSE(frame);
}

}  // namespace

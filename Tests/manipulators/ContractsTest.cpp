// What the manipulators refuse.

#include "Patterns.h"
#include "support/FrameWithoutMemory.h"

namespace manipulators_test {
namespace {

TEST(Manipulators, KeepTheirContracts) {
    const VF::VideoFrameRef frame = MakeFrame(10, 9), readOnly = MakeFrame(10, 9);
    const VF::VideoFrameRef otherFields = MakeFrame(10, 9), custom = MakeCustomFrame(400);
    const VF::VideoFrameRef yuv = MakeFrame(10, 9, tulomediatypes::kPixelFormat_VUYA_4444_8u);
    const VF::VideoFrameRef planar = MakeFrame(10, 4, kPlanar);
    FrameWithoutMemory withoutMemory;
    const VF::VideoFrameRef bare(&withoutMemory);
    const Brix::Rect whole{0, 0, 10, 9};
    std::vector<std::byte> buffer(400);
    otherFields->SetFieldType(1);
    readOnly->SetReadOnly(true);
    // clang-format off
    const struct { const char* condition; std::function<void()> call; } kBroken[] = {
        {"srcMemoryAccess != NULL", [&] { CopyRect(bare, whole, frame, whole, 4, 3); }},
        {"destMemoryAccess != NULL", [&] { CopyRect(frame, whole, bare, whole, 4, 3); }},
        {"destVideoFrame->GetReadOnly() == false", [&] { CopyRect(frame, whole, readOnly, whole, 4, 3); }},
        {"inDestVideoFrame->GetReadOnly() == false", [&] { CopyFrame(frame, readOnly, 4); }},
        {"inDestVideoFrame->GetReadOnly() == false", [&] { LoadExternal(readOnly, buffer.data(), 40); }},
        {"src2DPixelMemoryAccess != NULL", [&] { StoreExternal(custom, buffer.data(), 40); }},
        {"dest2DPixelMemoryAccess != NULL", [&] { LoadExternal(custom, buffer.data(), 40); }},
        {"inDestFrame->GetReadOnly() == false", [&] { CopyField(nullptr, readOnly, 0, 4); }},
        {"inDestFrame->GetReadOnly() == false", [&] { InterpFieldToFrame(frame, readOnly, 0); }},
        {"inDestFrame->GetReadOnly() == false", [&] { SwapFields(frame, readOnly); }},
        {"inDestFrame->GetReadOnly() == false", [&] { VerticalConvolve(frame, readOnly); }},
        {"inDestFrame->GetReadOnly() == false", [&] { InvertAlpha(readOnly); }},
        {"inDestFrame->GetReadOnly() == false", [&] { OpaqueAlpha(readOnly); }},
        {"inVideoFrame->GetReadOnly() == false", [&] { DeinterlaceVideoFrame(readOnly, 0); }},
        {"theSrcRect.Height() == theDestRect.Height()", [&] { CopyField(frame, otherFields, 0, 4); }},
        {"inSourceFrameA->GetPixelType() == inSourceFrameB->GetPixelType()", [&] { MergePulldownFrames(frame, yuv); }},
    };
    const std::function<void()> kNull[] = {
        [&] { CopyRect(nullptr, whole, frame, whole, 4, 3); },
        [&] { CopyRect(frame, whole, planar, whole, 4, 0); },
        [&] { CopyFrame(nullptr, frame, 4); },
        [&] { CopyField(frame, planar, 0, 4); },  // before the heights, which differ
        [&] { DeinterlaceVideoFrame(custom, 0); },
        [&] { VerticalConvolve(custom, frame); },
        [&] { VF::MakeWriteableVideoFrame(nullptr, 4); },
    };
    // clang-format on
    for (const auto& [condition, call] : kBroken)
        ExpectBroken(condition, kFile, 0, call);
    for (const auto& call : kNull)
        EXPECT_THROW(call(), Brix::NullInterfaceException) << &call - kNull;
    EXPECT_EQ(CopyRect(nullptr, whole, readOnly, {10, 10, 10, 50}, 4, 3), 0);
    EXPECT_EQ(CopyRect(custom, whole, frame, whole, 4, 3), 0);
    EXPECT_EQ(CopyFrame(custom, frame, 4), VF::kGeneralFailure);
}

}  // namespace
}  // namespace manipulators_test

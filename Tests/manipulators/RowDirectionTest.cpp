// Memory rows run the other way where row bytes are negative, as those of received frames and of
// other libraries' may be. Everything that works on frames does there what it does elsewhere.
#include "Patterns.h"
#include "support/SharedFolder.h"

namespace manipulators_test {
namespace {

constexpr std::int32_t kWidth = 6, kHeight = 5, kRowBytes = 4 * kWidth;
constexpr Brix::Rect kWhole{0, 0, kWidth, kHeight};

Canvas PaintRows(std::int32_t inShift, bool inIsTurned) {
    const Canvas canvas{MakeFrame(kWidth, kHeight)};
    if (inIsTurned) {
        void* const start = Data(canvas.frame) - VF::kFrameHeaderSize;
        auto& header = *static_cast<VF::SharedFrameHeader*>(start);
        header.pixelOffset = (kHeight - 1) * kRowBytes;
        header.rowBytes = -kRowBytes;
    }
    for (std::int32_t place = 0; place < kWidth * kHeight; ++place) {
        Pixel pixel = PatternAt(place % kWidth + inShift, place / kWidth);
        pixel[3] = static_cast<std::uint8_t>(place < 2 * kWidth ? 0 : place);
        canvas.Set(place % kWidth, place / kWidth, pixel);
    }
    return canvas;
}

using Frame = const VF::VideoFrameRef&;

/// Each line in a value of its own.
void PaintLines(void* outFirst, std::int64_t inStep, std::int32_t inLines) {
    for (std::int32_t line = 0; line < inLines; ++line)
        std::memset(static_cast<std::byte*>(outFirst) + inStep * line, line + 1, kRowBytes);
}

void PaintRecord(Frame ioFrame, bool inAsField, int inWhichField) {
    const TPixHand handle = VF::NewTPixFromVideoFrame(ioFrame, inAsField, 2, inWhichField);
    PaintLines((*handle)->pixels, (*handle)->rowbytes, (*handle)->bounds.bottom);
    std::memset((*handle)->fieldStart[1], 99, 3);
    tpixDispose(handle);
}

void PaintWorld(Frame ioFrame, bool inAsField, int inWhichField) {
    GF_LayerDef world;
    VF::NewGF_WorldFromExistingVideoFrame(ioFrame, world, inAsField, 2, inWhichField);
    PaintLines(world.pixelData, world.rowStride, world.height);
    VF::DisposeGF_WorldFromVideoFrame(world.pixelData);
}

VF::VideoFrameRef Published(Frame inFrame) {
    const auto guid = tulocore::utility::Guid::Generate();
    EXPECT_EQ(VF::PublishVideoFrame(inFrame, guid), 0);
    processcoordination::BinaryReferencePtr reference;
    EXPECT_EQ(processcoordination::GetBinaryDataIfAvailable(guid, reference), 0);
    VF::VideoFrameRef received;
    EXPECT_EQ(VF::WrapVideoFrameAroundBinaryReference(reference, guid, received), 0);
    return received;
}

VF::VideoFrameRef Rendered(Frame inSource) {
    VF::MultiCamRenderParams params;
    params.width = kWidth;
    params.height = kHeight;
    params.pixelFormat = inSource->GetPixelType();
    return VF::RenderNonMulticam({inSource}, false, params, {}, false);
}

// What a call does is seen in the first frame.
// clang-format off
const struct { const char* name; void (*run)(Frame io, Frame in); } kCalls[] = {
    {"part", [](Frame io, Frame in) { CopyRect(in, {2, 1, 6, 4}, io, {0, 2, 6, 5}, 4, 3); }},
    {"field of a part", [](Frame io, Frame in) { CopyRect(in, kWhole, io, {0, 1, 6, 3}, 4, 0); }},
    {"frame", [](Frame io, Frame in) { CopyFrame(in, io, 4); }},
    {"field", [](Frame io, Frame in) { CopyField(in, io, 1, 4); }},
    {"swap", [](Frame io, Frame in) { SwapFields(in, io); }},
    {"deinterlace", [](Frame io, Frame) { DeinterlaceVideoFrame(io, 0); }},
    {"field to frame", [](Frame io, Frame in) { InterpFieldToFrame(in, io, 1); }},
    {"convolve", [](Frame io, Frame) { VerticalConvolve(io, io); }},
    {"merge", [](Frame io, Frame in) { MergePulldownFrames(io, in); }},
    {"invert", [](Frame io, Frame) { InvertAlpha(io); }},
    {"opaque", [](Frame io, Frame) { OpaqueAlpha(io); }},
    {"bounds", [](Frame io, Frame in) { Brix::Rect rect; CalculateAlphaBounds(in, rect); CopyRect(in, rect, io, kWhole, 4, 3); }},
    {"black", [](Frame io, Frame) { Ask<OV::IVideoFrameClearable>(io)->FillWithOpaqueBlack(); }},
    {"white", [](Frame io, Frame) { Ask<OV::IVideoFrameClearable>(io)->FillWithTransparentWhite(); }},
    {"buffer", [](Frame io, Frame in) { std::byte all[200]; StoreExternal(in, all, 40); LoadExternal(io, all, 40); }},
    {"shared", [](Frame io, Frame in) { std::byte all[300]; VF::CopyVideoFrameIntoSharedMemoryBuffer(in, all, 300); LoadExternal(io, all + 128, kRowBytes); }},
    {"published", [](Frame io, Frame in) { CopyFrame(Published(in), io, 4); }},
    {"writeable", [](Frame io, Frame in) { in->SetReadOnly(true); CopyFrame(VF::MakeWriteableVideoFrame(in, 4), io, 4); }},
    {"multicam", [](Frame io, Frame in) { CopyFrame(Rendered(in), io, 4); }},
    {"record", [](Frame io, Frame) { PaintRecord(io, false, 0); }},
    {"record of field 0", [](Frame io, Frame) { PaintRecord(io, true, 0); }},
    {"record of field 1", [](Frame io, Frame) { PaintRecord(io, true, 1); }},
    {"world", [](Frame io, Frame) { PaintWorld(io, false, 0); }},
    {"world of field 0", [](Frame io, Frame) { PaintWorld(io, true, 0); }},
    {"world of field 1", [](Frame io, Frame) { PaintWorld(io, true, 1); }},
};
// clang-format on

TEST(RowDirection, MakesNoDifference) {
    const SharedFolder folder;
    VF::Initialize();
    for (const auto& [name, run] : kCalls) {
        const Canvas expected = PaintRows(0, false);
        run(expected.frame, PaintRows(9, false).frame);
        for (const auto& [isTurned, isOtherTurned] :
             {std::pair{true, true}, {true, false}, {false, true}}) {
            SCOPED_TRACE(name);
            const Canvas canvas = PaintRows(0, isTurned);
            run(canvas.frame, PaintRows(9, isOtherTurned).frame);
            ExpectPixels(canvas, [&](int x, int y) { return expected.At(x, y); });
        }
    }
    VF::Shutdown();
}

}  // namespace
}  // namespace manipulators_test

#include "VideoFrame/EffectWorld.h"

#include "VideoFrame/VideoFrameFactory.h"
#include "frames/Contract.h"
#include "frames/FramePixels.h"
#include "frames/VideoFrameUtilities.h"

namespace VF {
namespace {

constexpr const char* kFile = "EffectWorld";

/// The views that a world needs.
struct WorldMemory {
    explicit WorldMemory(const VideoFrameRef& inFrame)
        : memory(ViewOf<IVideoFrameMemoryAccess>(inFrame)) {
        Require(static_cast<bool>(memory), "memoryAccesibleVideoFrame != NULL", kFile, __LINE__);
        rows = ViewOf<IVideoFrame2DPixelMemoryAccess>(inFrame);
        Require(static_cast<bool>(rows), "memory2DPixelAccesibleVideoFrame != NULL", kFile,
                __LINE__);
    }

    /// The world that starts at that memory row.
    GF_Pixel* Row(std::int32_t inRow) const {
        auto* const start = static_cast<std::byte*>(memory->GetData());
        return reinterpret_cast<GF_Pixel*>(start + inRow * SignedRowBytes(rows));
    }

    MemoryRef memory;
    RowsRef rows;
};

/// Everything but the place of the pixels.
void Describe(const VideoFrameRef& inFrame, GF_LayerDef& outWorld) {
    const Brix::Rect bounds = inFrame->GetBounds();
    const auto ratio = inFrame->GetPixelAspectRatio();
    outWorld.spare0 = outWorld.spare1 = outWorld.spare2 = 0;
    outWorld.spare3 = 0;
    outWorld.depthFlags = PixelFormatComponentPrecision(inFrame->GetPixelType()) == 16 ? 1 : 0;
    outWorld.width = bounds.Width();
    outWorld.height = bounds.Height();
    outWorld.extent = {bounds.left, bounds.top, bounds.right, bounds.bottom};
    outWorld.aspectNumerator = ratio.numerator;
    outWorld.aspectDenominator = ratio.denominator;
}

std::int32_t Stride(std::int64_t inRowBytes) {
    return static_cast<std::int32_t>(inRowBytes);
}

bool StartsWithSecondRow(tulomediatypes::FieldType inOrder, int inWhichField) {
    return (inOrder == 2 && inWhichField == 0) || (inOrder == 1 && inWhichField == 1);
}

}  // namespace

void NewGF_WorldFromExistingVideoFrame(VideoFrameRef inVideoFrame, GF_LayerDef& outWorld,
                                       bool inAsField, tulomediatypes::FieldType inFieldType,
                                       int inWhichField) {
    const WorldMemory memory(inVideoFrame);
    const std::int32_t height = inVideoFrame->GetBounds().Height();
    const tulomediatypes::FieldType frameOrder = inVideoFrame->GetFieldType();
    const tulomediatypes::FieldType order =
        frameOrder != 0 && frameOrder != 3 ? frameOrder : inFieldType;
    const bool startsWithSecond = inAsField && StartsWithSecondRow(order, inWhichField);

    Describe(inVideoFrame, outWorld);
    outWorld.pixelData = memory.Row(height - (startsWithSecond ? 2 : 1));
    outWorld.rowStride = Stride(-SignedRowBytes(memory.rows));
    outWorld.pixelFormat = BEToSDKPixelFormat(inVideoFrame->GetPixelType());
    if (inAsField) {
        const std::int32_t oddRow = startsWithSecond ? 0 : height % 2;
        outWorld.height = height / 2 + oddRow;
        outWorld.extent.bottom = outWorld.extent.bottom / 2 + oddRow;
        outWorld.rowStride = Stride(-SignedRowBytes(memory.rows->GetFieldRowBytes()));
    }
    RegisterEffectWorldFrame(outWorld.pixelData, ViewOf<Brix::BrixUnknown>(inVideoFrame));
}

bool NewGF_WorldWithNewVideoFrame(unsigned int inWidth, unsigned int inHeight,
                                  tulomediatypes::PixelFormat inFormat,
                                  const tulomediatypes::PixelAspectRatio& inAspect,
                                  GF_LayerDef& outWorld) {
    VideoFrameRef frame;
    if (CreateVideoFrame(frame, inFormat, inWidth, inHeight, inAspect, false, false) < 0 || !frame)
        return false;
    const WorldMemory memory(frame);
    Describe(frame, outWorld);
    outWorld.pixelData = memory.Row(0);
    outWorld.rowStride = Stride(SignedRowBytes(memory.rows));
    RegisterEffectWorldFrame(outWorld.pixelData, ViewOf<Brix::BrixUnknown>(frame));
    return true;
}

void DisposeGF_WorldFromVideoFrame(GF_Pixel* inData) {
    Require(inData != nullptr, "inData != NULL", kFile, __LINE__);
    EffectWorldFrameMap().Forget(inData);
}

Brix::InterfaceRef<IVideoFrameMemoryAccess> GetGFWorldFrameMapping(GF_Pixel* inData) {
    return Brix::QueryInterface<IVideoFrameMemoryAccess>(EffectWorldFrameMap().Find(inData));
}

bool GetGFWorldVideoFramePixelType(GF_Pixel* inData, tulomediatypes::PixelFormat inDefault,
                                   tulomediatypes::PixelFormat& outFormat) {
    Require(inData != nullptr, "inData != NULL", kFile, __LINE__);
    outFormat = inDefault;
    auto& map = EffectWorldFrameMap();
    const auto frame =
        Brix::QueryInterface<OV::IVideoFrame>(map.Contains(inData) ? map.Find(inData) : nullptr);
    if (!frame) return false;
    outFormat = frame->GetPixelType();
    return true;
}

tulomediatypes::PixelFormat GetGFWorldVideoFramePixelType(GF_Pixel* inData) {
    tulomediatypes::PixelFormat format;
    GetGFWorldVideoFramePixelType(inData, OV::kPixelFormat_BGRA_4444_8u, format);
    return format;
}

}  // namespace VF

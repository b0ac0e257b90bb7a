#include "Frames.h"

#include <contracts/Scanvo.h>

#include <unistd.h>

#include <array>
#include <cstring>
#include <new>
#include <string>

#include "Failure.h"

namespace vframe {
namespace {

/// A small one that suits everything but DV, then those of DV.
constexpr std::array kUsualSizes = {Size{48, 32},     Size{720, 480},  Size{720, 576},
                                    Size{960, 720},   Size{1280, 720}, Size{1280, 1080},
                                    Size{1440, 1080}, Size{1920, 1080}};

Brix::InterfaceRef<VF::IVideoFrameMemoryAccess> MemoryOf(const VF::VideoFrameRef& inFrame) {
    auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(inFrame);
    if (!memory) throw Failure("frame", "its memory cannot be reached");
    return memory;
}

/// Memory that nobody has would be promised by the system all the same, and then taken back.
bool IsMoreThanTheMachineHas(std::uint64_t inBytes) {
    const auto pages = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES));
    return inBytes / static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) >= pages;
}

/// What to do about a size that the format cannot hold.
std::string SizeAdvice(tulomediatypes::PixelFormat inFormat) {
    if (VF::PixelType2DMemoryAccessCapable(inFormat)) return "; its width has to be even";
    const std::optional<Size> usual = FindUsualSize(inFormat);
    if (usual && *usual != kUsualSizes[0]) return "; try --size " + ToText(*usual);
    return "; its width and height have to be even";
}

SV_PixelFormat RendererBgra() {
    return VF::BEPixelFormatToSVPixelFormat(tulomediatypes::kPixelFormat_BGRA_4444_8u);
}

std::string RendererError(std::int32_t inResult) {
    switch (inResult) {
        case kSV_OutOfMemory:
            return "there is not enough memory";
        case kSV_UnsupportedFormat:
            return "the renderer does not convert this format";
        case kSV_BadSize:
            return "the renderer does not take this size";
        case kSV_BadData:
            return "its bytes are no frame of this format";
        default:
            return "the renderer failed with " + std::to_string(inResult);
    }
}

}  // namespace

Size FrameSize(const VF::VideoFrameRef& inFrame) {
    const Brix::Rect bounds = inFrame->GetBounds();
    return {bounds.Width(), bounds.Height()};
}

PictureView ViewFrame(const VF::VideoFrameRef& inFrame) {
    const auto rows = Brix::QueryInterface<VF::IVideoFrame2DPixelMemoryAccess>(inFrame);
    return {.start = MemoryOf(inFrame)->GetData(),
            .rowBytes = rows ? std::int64_t{rows->GetRowBytes()} : 0,
            .size = FrameSize(inFrame),
            .format = VF::BEPixelFormatToSVPixelFormat(inFrame->GetPixelType()),
            .fieldType = inFrame->GetFieldType(),
            .aspectRatio = inFrame->GetPixelAspectRatio()};
}

std::string Describe(const VF::VideoFrameRef& inFrame) {
    return ToText(FrameSize(inFrame)) + " " + FormatName(inFrame->GetPixelType()) + ", " +
           Grouped(MemoryOf(inFrame)->GetDataSize()) + " bytes";
}

std::optional<Size> FindUsualSize(tulomediatypes::PixelFormat inFormat) {
    for (const Size& size : kUsualSizes) {
        if (VF::RectIsValidForPixelFormat(inFormat, {0, 0, size.width, size.height}, {}))
            return size;
    }
    return std::nullopt;
}

void CheckSize(tulomediatypes::PixelFormat inFormat, Size inSize,
               tulomediatypes::PixelAspectRatio inAspectRatio) {
    const std::string name = FormatName(inFormat);
    if (!VF::RectIsValidForPixelFormat(inFormat, {0, 0, inSize.width, inSize.height},
                                       inAspectRatio)) {
        throw Failure(name, "cannot hold a picture of " + ToText(inSize) + SizeAdvice(inFormat));
    }
    if (IsMoreThanTheMachineHas(
            tulomediatypes::PixelFormatSize(inFormat, inSize.width, inSize.height)))
        throw Failure(ToText(inSize) + " " + name, "there is not enough memory for such a frame");
}

VF::VideoFrameRef MakeFrame(tulomediatypes::PixelFormat inFormat, Size inSize,
                            tulomediatypes::PixelAspectRatio inAspectRatio) {
    CheckSize(inFormat, inSize, inAspectRatio);
    VF::VideoFrameRef frame;
    const std::int32_t result = VF::CreateVideoFrame(
        frame, inFormat, static_cast<std::uint32_t>(inSize.width),
        static_cast<std::uint32_t>(inSize.height), inAspectRatio, false, false);
    if (result != VF::kSuccess || !frame) {
        throw Failure(ToText(inSize) + " " + FormatName(inFormat),
                      "there is not enough memory for such a frame");
    }
    return frame;
}

void RenderInto(const PictureView& inPicture, const VF::VideoFrameRef& inFrame, int inQuality) {
    const PictureView target = ViewFrame(inFrame);
    const std::int32_t result = SV_ScaleConvert(
        inPicture.start, inPicture.rowBytes, inPicture.size.width, inPicture.size.height,
        inPicture.format, inPicture.fieldType, MemoryOf(inFrame)->GetData(), target.rowBytes,
        target.size.width, target.size.height, target.format, target.fieldType, inQuality);
    if (result == kSV_Success) return;
    const auto culprit = result == kSV_BadData ? VF::SVPixelFormatToBEPixelFormat(inPicture.format)
                                               : inFrame->GetPixelType();
    throw Failure(FormatName(culprit), RendererError(result));
}

VF::VideoFrameRef MakeFrameOf(const PictureView& inPicture, const FrameSettings& inSettings) {
    const VF::VideoFrameRef frame = MakeFrame(
        inSettings.format, inSettings.size.value_or(inPicture.size), inPicture.aspectRatio);
    // Some formats leave bytes at the end of a row unused; files of the memory hold no chance
    // there.
    const auto memory = MemoryOf(frame);
    std::memset(memory->GetData(), 0, memory->GetDataSize());
    // Before rendering: pictures of two fields are scaled field by field.
    frame->SetFieldType(inPicture.fieldType);
    RenderInto(inPicture, frame, inSettings.quality);
    return frame;
}

bool TopDownPicture::IsOpaque() const {
    for (std::size_t i = 3; i < pixels.size(); i += 4) {
        if (pixels[i] != 255) return false;
    }
    return true;
}

TopDownPicture ToTopDownPicture(const VF::VideoFrameRef& inFrame) {
    const PictureView view = ViewFrame(inFrame);
    TopDownPicture picture{.size = view.size, .pixels = {}};
    picture.pixels.resize(static_cast<std::size_t>(picture.RowBytes()) *
                          static_cast<std::size_t>(view.size.height));
    std::uint8_t* const bottomRow =
        picture.pixels.data() + (view.size.height - 1) * picture.RowBytes();
    const std::int32_t result =
        SV_Convert(view.start, view.rowBytes, view.format, bottomRow, -picture.RowBytes(),
                   RendererBgra(), view.size.width, view.size.height, kDefaultQuality);
    if (result != kSV_Success)
        throw Failure(FormatName(inFrame->GetPixelType()), RendererError(result));
    return picture;
}

}  // namespace vframe

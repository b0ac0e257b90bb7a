// vframe formats: a table of every named format.

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "Failure.h"
#include "Frames.h"
#include "LibrarySession.h"

namespace vframe {
namespace {

using tulomediatypes::PixelFormat;

std::string CodeText(PixelFormat inFormat) {
    std::string text;
    for (int shift = 0; shift < 32; shift += 8)
        text += static_cast<char>(inFormat.code >> shift & 0xFF);
    return text;
}

std::string Bits(PixelFormat inFormat) {
    using namespace tulomediatypes;
    switch (inFormat.properties & kProperty_ComponentMask) {
        case kProperty_10u:
            return "10";
        case kProperty_16u | kProperty_15BitKind:
            return "15";
        case kProperty_16u:
            return "16";
        case kProperty_32f:
            return "float";
        default:
            return "8";
    }
}

/// How many bytes a pixel takes, rows' padding included, in a picture of a usual size.
std::string BytesPerPixel(PixelFormat inFormat, Size inSize) {
    const auto bytes = tulomediatypes::PixelFormatSize(inFormat, inSize.width, inSize.height);
    const double pixels = static_cast<double>(inSize.width) * inSize.height;
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", static_cast<double>(bytes) / pixels);
    return text;
}

bool IsFillable(const VF::VideoFrameRef& inFrame) {
    const auto fills = Brix::QueryInterface<OV::IVideoFrameClearable>(inFrame);
    return fills && fills->FillWithOpaqueBlack() == VF::kSuccess;
}

/// Tries it: a black picture into the frame, and back.
bool IsConvertible(const VF::VideoFrameRef& inFrame) {
    try {
        const auto black =
            MakeFrame(tulomediatypes::kPixelFormat_BGRA_4444_8u, FrameSize(inFrame), {});
        const auto fills = Brix::QueryInterface<OV::IVideoFrameClearable>(black);
        if (!fills || fills->FillWithOpaqueBlack() != VF::kSuccess) return false;
        RenderInto(ViewFrame(black), inFrame, kDefaultQuality);
        RenderInto(ViewFrame(inFrame), black, kDefaultQuality);
        return true;
    } catch (const Failure&) {
        return false;
    }
}

void PrintRow(const tulomediatypes::NamedPixelFormat& inNamed) {
    const PixelFormat format = inNamed.format;
    const auto yes = [](bool inCan) { return inCan ? "yes" : "-"; };
    const std::optional<Size> size = FindUsualSize(format);
    if (!size) throw Failure(std::string(inNamed.name), "takes none of the usual sizes");
    const VF::VideoFrameRef frame = MakeFrame(format, *size, {});
    std::printf("%-42s %s  %08X  %5s  %11s  %-5s  %-4s  %-5s  %s\n",
                std::string(inNamed.name).c_str(), CodeText(format).c_str(),
                static_cast<unsigned>(VF::BEPixelFormatToSVPixelFormat(format)),
                Bits(format).c_str(), BytesPerPixel(format, *size).c_str(),
                yes(frame->HasAlphaChannel()), yes(VF::PixelType2DMemoryAccessCapable(format)),
                yes(IsFillable(frame)), yes(IsConvertible(frame)));
}

void PrintFormats() {
    const LibrarySession session;
    std::printf("%-42s code  renderer   bits  bytes/pixel  alpha  rows  fills  converts\n", "name");
    for (const auto& named : tulomediatypes::NamedPixelFormats())
        PrintRow(named);
}

}  // namespace

void AddFormatsCommand(CLI::App& inApp) {
    CLI::App* const command = inApp.add_subcommand("formats", "List every pixel format");
    command->footer(
        "code:        the four characters that stand for the format in a plug-in\n"
        "renderer:    the image renderer's code of the format, 0 where it has none\n"
        "bits:        of one component\n"
        "bytes/pixel: on average, in a picture of a usual size\n"
        "alpha:       frames of the format have an alpha channel\n"
        "rows:        the rows of a frame can be addressed\n"
        "fills:       frames can be filled with black and white\n"
        "converts:    pictures can be converted into the format and out of it");
    command->callback(PrintFormats);
}

}  // namespace vframe

// vframe info: every property of a frame made from the input.

#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Frames.h"
#include "LibrarySession.h"
#include "PictureSource.h"

namespace vframe {
namespace {

struct InfoArguments {
    InputArguments input;
    std::string format;
};

void Print(const char* inName, const std::string& inValue) {
    std::printf("  %-16s %s\n", inName, inValue.c_str());
}

std::string YesOrNo(bool inValue) {
    return inValue ? "yes" : "no";
}

std::string Bytes(std::uint64_t inCount) {
    return Grouped(inCount) + " bytes";
}

std::string ToText(const Brix::Rect& inRect) {
    return std::to_string(inRect.Width()) + "x" + std::to_string(inRect.Height()) + " at (" +
           std::to_string(inRect.left) + ", " + std::to_string(inRect.top) + ")";
}

std::string FieldTypeName(tulomediatypes::FieldType inType) {
    switch (inType) {
        case 0:
            return "0, one progressive picture";
        case 1:
            return "1, upper field first";
        case 2:
            return "2, lower field first";
        default:
            return std::to_string(inType) + ", not set";
    }
}

std::string AlphaTypeName(std::uint32_t inType) {
    switch (inType) {
        case 1:
            return "1, straight";
        case 2:
            return "2, premultiplied";
        case 3:
            return "3, opaque";
        default:
            return std::to_string(inType);
    }
}

void PrintProperties(const VF::VideoFrameRef& inFrame) {
    const auto ratio = inFrame->GetPixelAspectRatio();
    const OV::Point origin = inFrame->GetOrigin();
    const OV::AuxiliaryInfo auxiliary = inFrame->GetAuxiliaryInfo();
    Brix::Rect dataRect;
    const bool isDataRectSet = inFrame->GetDataRect(dataRect);
    Print("bounds", ToText(inFrame->GetBounds()));
    Print("format", FormatName(inFrame->GetPixelType()));
    Print("aspect ratio",
          std::to_string(ratio.numerator) + ":" + std::to_string(ratio.denominator));
    Print("read-only", YesOrNo(inFrame->GetReadOnly()));
    Print("field type", FieldTypeName(inFrame->GetFieldType()));
    Print("alpha type", AlphaTypeName(inFrame->GetAlphaType()));
    Print("has alpha", YesOrNo(inFrame->HasAlphaChannel()));
    Brix::Rect alphaBounds;
    VF::VideoFrameManipulators::CalculateAlphaBounds(inFrame, alphaBounds);
    Print("alpha bounds", ToText(alphaBounds));
    Print("origin", "(" + std::to_string(origin.x) + ", " + std::to_string(origin.y) + ")");
    Print("content rect", ToText(inFrame->GetContentRect()));
    Print("data rect", ToText(dataRect) + (isDataRectSet ? ", set" : ", not set"));
    Print("render time", std::to_string(inFrame->GetRenderTime()));
    Print("auxiliary", std::to_string(auxiliary.first) + " " + std::to_string(auxiliary.second) +
                           " " + std::to_string(auxiliary.third));
}

void PrintRows(const VF::VideoFrameRef& inFrame) {
    const auto rows = Brix::QueryInterface<VF::IVideoFrame2DPixelMemoryAccess>(inFrame);
    if (!rows) {
        Print("rows", "cannot be addressed");
        return;
    }
    const std::uint32_t pixelBytes = rows->GetPixelSize();
    Print("pixel size", pixelBytes ? Bytes(pixelBytes) : "no whole number of bytes");
    Print("row bytes", Bytes(rows->GetRowBytes()));
    for (std::uint32_t field = 0; field < 2; ++field) {
        Print(field == 0 ? "field 0 rows" : "field 1 rows",
              "memory row " + std::to_string(rows->GetFieldFirstRow(field)) +
                  " and every second one after it, " + Bytes(rows->GetFieldRowBytes()) + " apart");
    }
}

void PrintMemory(const VF::VideoFrameRef& inFrame) {
    if (const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(inFrame)) {
        Print("data size", Bytes(memory->GetDataSize()));
        Print("allocated size", Bytes(memory->GetAllocatedSize()));
    }
    PrintRows(inFrame);
}

template <class Interface>
void AddIfCarried(const VF::VideoFrameRef& inFrame, const char* inName, std::string& ioNames) {
    if (Brix::QueryInterface<Interface>(inFrame))
        ioNames += (ioNames.empty() ? "" : ", ") + std::string(inName);
}

void PrintInterfaces(const VF::VideoFrameRef& inFrame) {
    std::string names;
    AddIfCarried<OV::IVideoFrame>(inFrame, "IVideoFrame", names);
    AddIfCarried<OV::IVideoFrameClearable>(inFrame, "IVideoFrameClearable", names);
    AddIfCarried<VF::IVideoFrameMemoryAccess>(inFrame, "IVideoFrameMemoryAccess", names);
    AddIfCarried<VF::IVideoFrame2DPixelMemoryAccess>(inFrame, "IVideoFrame2DPixelMemoryAccess",
                                                     names);
    AddIfCarried<VF::IPublishableVideoFrame>(inFrame, "IPublishableVideoFrame", names);
    Print("interfaces", names);
}

void PrintInfo(const InfoArguments& inArguments) {
    const LibrarySession session;
    const auto source = OpenSource(inArguments.input);
    FrameSettings settings{.format = source->Format()};
    if (!inArguments.format.empty()) settings.format = ParseFormat("--format", inArguments.format);
    const auto frame = MakeFrameOf(FirstPicture(*source, inArguments.input.path), settings);
    std::printf("%s\n", inArguments.input.path.c_str());
    PrintProperties(frame);
    PrintMemory(frame);
    PrintInterfaces(frame);
}

}  // namespace

void AddInfoCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<InfoArguments>();
    CLI::App* const command =
        inApp.add_subcommand("info", "Show every property of the frame made from a picture");
    arguments->input.AddTo(*command);
    command
        ->add_option("--format", arguments->format,
                     "Format of the frame; otherwise the one nearest to the input's own")
        ->type_name("NAME");
    command->footer(
        "Of a clip, the first picture is taken.\n\nExample:\n"
        "  vframe info holiday.jpg --format V210_422_10u");
    command->callback([arguments] { PrintInfo(*arguments); });
}

}  // namespace vframe

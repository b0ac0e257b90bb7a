// vframe convert: pictures and clips through frames of a format and size.

#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Failure.h"
#include "FrameEdits.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "PictureSink.h"
#include "PictureSource.h"
#include "Progress.h"

namespace vframe {
namespace {

struct ConvertArguments {
    InputArguments input;
    std::string output;
    std::string format;
    std::string size;
    int quality = kDefaultQuality;
    FrameEdits edits;
};

FrameSettings ReadSettings(const ConvertArguments& inArguments) {
    FrameSettings settings{.quality = inArguments.quality};
    if (!inArguments.format.empty()) settings.format = ParseFormat("--format", inArguments.format);
    if (!inArguments.size.empty()) settings.size = ParseSize("--size", inArguments.size);
    return settings;
}

void Convert(const ConvertArguments& inArguments) {
    const FrameSettings settings = ReadSettings(inArguments);
    const LibrarySession session;
    const auto source = OpenSource(inArguments.input);
    PictureView picture = FirstPicture(*source, inArguments.input.path);
    const auto sink = OpenSink(inArguments.output, source->Rate());
    Progress progress(source->Count());
    for (std::optional<PictureView> next = picture; next; next = source->Next()) {
        ThrowIfInterrupted();
        sink->Write(Edited(MakeFrameOf(*next, settings), inArguments.edits));
        progress.Step();
        if (sink->IsForOnePicture()) break;
    }
    sink->Finish();
}

}  // namespace

void AddConvertCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<ConvertArguments>();
    CLI::App* const command =
        inApp.add_subcommand("convert", "Convert a picture or clip through frames of a format");
    arguments->input.AddTo(*command);
    command->add_option("OUTPUT", arguments->output, kOutputHelp)->required();
    command->add_option("--format", arguments->format, "Format of the frames [BGRA_4444_8u]")
        ->type_name("NAME");
    command->add_option("--size", arguments->size, "Size of the frames; otherwise the input's own")
        ->type_name("WxH");
    command
        ->add_option("--quality", arguments->quality,
                     "0 nearest pixel, 2 bilinear, 3 bilinear over every pixel, 4 bicubic, "
                     "5 Lanczos [4]")
        ->type_name("N")
        ->check(CLI::Range(0, 5));
    arguments->edits.AddTo(*command);
    command->footer(
        "The picture goes into a frame of the format and size; the frame is cropped and\n"
        "edited in the order of the options above, and goes into the output. A .png\n"
        "output of a clip is its first picture. Clips have no sound.\n\n"
        "Examples:\n"
        "  vframe convert holiday.jpg small.png --size 480x270\n"
        "  vframe convert clip.mov clip.mkv --format UYVY_422_8u_709\n"
        "  vframe convert camera.mov still.png --deinterlace 0 --crop 0,60,1440,1020\n"
        "  vframe convert holiday.jpg holiday.raw --format V210_422_10u\n"
        "  vframe convert holiday.raw holiday.png --input-format V210_422_10u "
        "--input-size 960x540");
    command->callback([arguments] { Convert(*arguments); });
}

}  // namespace vframe

// vframe cut: a shape out of one picture, on another.

#include <charconv>
#include <memory>
#include <sstream>

#include "Canvas.h"
#include "Commands.h"
#include "Failure.h"
#include "LibrarySession.h"
#include "PictureSink.h"
#include "PictureSource.h"

namespace vframe {
namespace {

struct CutArguments {
    std::string source;
    std::string background;
    std::string output;
    std::string polygon;
    std::string bezier;
};

using Points = std::vector<TPixPoint>;

float ParseNumber(const std::string& inOption, const std::string& inPoint,
                  std::string_view inNumber) {
    float number = 0;
    const char* const end = inNumber.data() + inNumber.size();
    const auto [last, error] = std::from_chars(inNumber.data(), end, number);
    if (error == std::errc() && last == end && std::abs(number) <= 1e9F) return number;
    throw UsageFailure(inOption, "'" + inPoint + "' is no point; write it as 10.5,20");
}

/// Points from the top left of the picture, as lines of a record count them: from the bottom.
Points ParsePoints(const std::string& inOption, const std::string& inText, Size inSize) {
    Points points;
    std::istringstream words(inText);
    for (std::string word; words >> word;) {
        const std::size_t comma = std::min(word.find(','), word.size());
        const std::string_view x = std::string_view(word).substr(0, comma);
        const std::string_view y = std::string_view(word).substr(std::min(comma + 1, word.size()));
        points.push_back({ParseNumber(inOption, word, x),
                          static_cast<float>(inSize.height) - ParseNumber(inOption, word, y)});
    }
    return points;
}

/// A frame of that size, or the picture's own, over which a record can be had.
VF::VideoFrameRef ReadFrame(const std::string& inPath, std::optional<Size> inSize) {
    const auto source = OpenMedia(inPath);
    return MakeFrameOf(FirstPicture(*source, inPath), {.size = inSize});
}

RecordOwner MakeRecord(const VF::VideoFrameRef& inFrame) {
    RecordOwner record(VF::NewTPixFromVideoFrame(inFrame));
    if (!record) throw std::bad_alloc();
    return record;
}

void Cut(const CutArguments& inArguments) {
    const bool isBezier = inArguments.polygon.empty();
    if (isBezier == inArguments.bezier.empty())
        throw UsageFailure("shape", "give either --polygon or --bezier");
    const LibrarySession session;
    const VF::VideoFrameRef background = ReadFrame(inArguments.background, std::nullopt);
    const Size size = FrameSize(background);
    const Points points = isBezier ? ParsePoints("--bezier", inArguments.bezier, size)
                                   : ParsePoints("--polygon", inArguments.polygon, size);
    const VF::VideoFrameRef source = ReadFrame(inArguments.source, size);
    const auto draw = isBezier ? DoRenderPolyBezier : DoRenderPolygon;
    draw(MakeRecord(background).get(), MakeRecord(source).get(), &points,
         background->GetPixelType().code);
    WritePicture(inArguments.output, background);
}

}  // namespace

void AddCutCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<CutArguments>();
    CLI::App* const command =
        inApp.add_subcommand("cut", "Cut a shape out of one picture and put it onto another");
    command->add_option("SOURCE", arguments->source, "The picture that shows inside the shape")
        ->required();
    command->add_option("BACKGROUND", arguments->background, "The picture around it")->required();
    command->add_option("OUTPUT", arguments->output, kOutputHelp)->required();
    command
        ->add_option("--polygon", arguments->polygon,
                     "Corners in pixels from the top left; what is surrounded twice stays out")
        ->type_name("\"X,Y X,Y ...\"");
    command
        ->add_option("--bezier", arguments->bezier,
                     "An outline of curves: a point, then three for each curve")
        ->type_name("\"X,Y X,Y ...\"");
    command->footer(
        "The source is scaled to the background's size. Of clips the first picture is taken.\n\n"
        "Example:\n"
        "  vframe cut a.png b.png star.png --polygon \"480,40 640,500 240,220 720,220 320,500\"");
    command->callback([arguments] { Cut(*arguments); });
}

}  // namespace vframe

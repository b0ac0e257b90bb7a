// vframe multicam: camera angles in one picture or clip.

#include <algorithm>
#include <memory>

#include "Commands.h"
#include "Composite.h"
#include "Failure.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "PictureSink.h"
#include "PictureSource.h"
#include "Progress.h"

namespace vframe {
namespace {

struct MulticamArguments {
    std::vector<std::string> files;  ///< the inputs, and last the output
    std::size_t selected = 1;
    std::string size;
    bool sideBySide = false;
    bool redOutline = false;
    bool allProcessors = false;
};

/// One input, a frame at a time.
class Angle {
  public:
    explicit Angle(const std::string& inPath)
        : source_(OpenMedia(inPath)), frame_(MakeFrameOf(FirstPicture(*source_, inPath), {})) {}

    const PictureSource& Source() const { return *source_; }

    /// Null when the clip has ended.
    const VF::VideoFrameRef& Frame() const { return frame_; }

    /// Goes to a clip's next frame. False when there is none, or the input is a still picture.
    bool Step() {
        if (!frame_ || source_->IsStill()) return false;
        const auto picture = source_->Next();
        frame_ = picture ? MakeFrameOf(*picture, {}) : nullptr;
        return frame_ != nullptr;
    }

  private:
    std::unique_ptr<PictureSource> source_;
    VF::VideoFrameRef frame_;
};

using Angles = std::vector<Angle>;

Angles OpenAngles(const std::vector<std::string>& inFiles) {
    Angles angles;
    std::for_each(inFiles.begin(), inFiles.end() - 1,
                  [&](const std::string& path) { angles.emplace_back(path); });
    return angles;
}

std::vector<VF::VideoFrameRef> FramesOf(const Angles& inAngles) {
    std::vector<VF::VideoFrameRef> frames;
    for (const Angle& angle : inAngles)
        frames.push_back(angle.Frame());
    return frames;
}

/// Whether any angle has a further frame.
bool StepAll(Angles& ioAngles) {
    bool hasStepped = false;
    for (Angle& angle : ioAngles)
        hasStepped |= angle.Step();
    return hasStepped;
}

/// That of the first clip.
FrameRate RateOf(const Angles& inAngles) {
    for (const Angle& angle : inAngles) {
        if (!angle.Source().IsStill()) return angle.Source().Rate();
    }
    return {};
}

/// The count of the longest clip, where every clip says its own.
std::optional<std::int64_t> CountOf(const Angles& inAngles) {
    std::int64_t longest = 1;
    for (const Angle& angle : inAngles) {
        if (angle.Source().IsStill()) continue;
        const auto count = angle.Source().Count();
        if (!count) return std::nullopt;
        longest = std::max(longest, *count);
    }
    return longest;
}

/// What the arguments say without a look into the inputs; the size is 0 where they leave it open.
CompositeSettings ReadSettings(const MulticamArguments& inArguments) {
    const std::size_t count = inArguments.files.size() - 1;
    CheckAngleCount(count);
    if (inArguments.selected > count) {
        throw UsageFailure("--selected", "there is no angle " +
                                             std::to_string(inArguments.selected) + " among " +
                                             std::to_string(count));
    }
    CompositeSettings settings{.sideBySide = inArguments.sideBySide,
                               .redOutline = inArguments.redOutline,
                               .allProcessors = inArguments.allProcessors};
    if (inArguments.selected > 0) settings.selected = inArguments.selected - 1;
    if (!inArguments.size.empty()) settings.size = ParseSize("--size", inArguments.size);
    return settings;
}

void Compose(const MulticamArguments& inArguments) {
    CompositeSettings settings = ReadSettings(inArguments);
    const LibrarySession session;
    Angles angles = OpenAngles(inArguments.files);
    const VF::VideoFrameRef& first = angles.front().Frame();
    if (settings.size == Size{}) settings.size = FrameSize(first);
    settings.aspectRatio = first->GetPixelAspectRatio();
    const auto sink = OpenSink(inArguments.files.back(), RateOf(angles));
    Progress progress(CountOf(angles));
    do {
        ThrowIfInterrupted();
        sink->Write(MakeComposite(FramesOf(angles), settings));
        progress.Step();
    } while (!sink->IsForOnePicture() && StepAll(angles));
    sink->Finish();
}

}  // namespace

void AddMulticamCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<MulticamArguments>();
    CLI::App* const command =
        inApp.add_subcommand("multicam", "Compose one to four angles into one picture or clip");
    command
        ->add_option("FILE", arguments->files,
                     std::string("One to four inputs, pictures or clips, and last the output. ") +
                         kOutputHelp)
        ->required();
    command
        ->add_option("--selected", arguments->selected,
                     "The angle that gets the outline, from 1; 0 for none [1]")
        ->type_name("K")
        ->check(CLI::Range(std::size_t{0}, kMostAngles));
    command->add_flag("--side-by-side", arguments->sideBySide,
                      "All angles in the left half, the selected one in the right half");
    command->add_flag("--red", arguments->redOutline, "A red outline instead of a yellow one");
    command
        ->add_option("--size", arguments->size, "Size of the output; otherwise the first input's")
        ->type_name("WxH");
    command->add_flag("--all-processors", arguments->allProcessors,
                      "Draw the cells on all processors at once");
    command->footer(
        "Each angle is fitted into its cell between black bars. Clips run side by side at\n"
        "the frame rate of the first one; a still picture stays, the cell of a clip that\n"
        "has ended is black, and the longest clip ends the output. A .png output is the\n"
        "first moment.\n\n"
        "Examples:\n"
        "  vframe multicam a.mov b.mov c.mov logo.png out.mkv --size 1280x720\n"
        "  vframe multicam a.jpg b.jpg grid.png --selected 2 --side-by-side --red");
    command->callback([arguments] { Compose(*arguments); });
}

}  // namespace vframe

// vframe show: pictures and clips in a window.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>

#include "Canvas.h"
#include "Clip.h"
#include "Commands.h"
#include "Composite.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "Window.h"

namespace vframe {
namespace {

struct ShowArguments {
    std::vector<std::string> files;
    std::uint64_t memory = 256;  ///< in MiB
};

using Clips = std::vector<Clip>;

constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();

Clips OpenClips(const ShowArguments& inArguments) {
    Clips clips;
    for (const std::string& path : inArguments.files)
        clips.emplace_back(path, (inArguments.memory << 20) / inArguments.files.size());
    return clips;
}

/// The size of the frame in square pixels.
Size ShapeOf(const VF::VideoFrameRef& inFrame) {
    const Size size = FrameSize(inFrame);
    const auto ratio = inFrame->GetPixelAspectRatio();
    const double width = static_cast<double>(size.width) * ratio.numerator / ratio.denominator;
    // Further than any screen; a file may say any ratio.
    return {static_cast<int>(std::clamp(std::round(width), 1.0, 1e6)), size.height};
}

/// Several inputs in one picture, which is like the first of them.
CompositeSettings SettingsLike(const VF::VideoFrameRef& inFrame) {
    return {.size = FrameSize(inFrame),
            .aspectRatio = inFrame->GetPixelAspectRatio(),
            .allProcessors = true};
}

std::string NamesOf(const std::vector<std::string>& inFiles) {
    std::string names;
    for (const std::string& path : inFiles)
        names += (names.empty() ? "" : ", ") + std::filesystem::path(path).filename().string();
    return names;
}

/// The window and what it shows: one moment of all inputs.
class Viewer {
  public:
    explicit Viewer(const ShowArguments& inArguments)
        : names_(NamesOf(inArguments.files)),
          clips_(OpenClips(inArguments)),
          settings_(SettingsLike(clips_.front().Frame(0))),
          window_(ShapeOf(clips_.front().Frame(0)), names_) {
        Show(0);
    }

    /// Until the user has closed the window or the program is asked to end.
    void Run();

    /// Raises the Failure of an input that could be shown in part only.
    void ReportDamage() const;

  private:
    VF::VideoFrameRef FrameAt(std::int64_t inIndex) const;
    void Show(std::int64_t inIndex);
    void Paint();
    bool FollowWishes();
    void Follow(Wish inWish);
    bool EndsBefore(std::int64_t inIndex) const;
    bool StepTowardsTarget();

    std::string names_;
    Clips clips_;
    CompositeSettings settings_;
    Window window_;
    std::int64_t shownIndex_ = 0;
    std::int64_t target_ = 0;  ///< the frame that the user wants to see
    RecordOwner record_;
    Size shape_;  ///< of the record's picture, in square pixels
    std::optional<Canvas> canvas_;
    bool isPainted_ = false;
};

VF::VideoFrameRef Viewer::FrameAt(std::int64_t inIndex) const {
    if (clips_.size() == 1) return clips_.front().Frame(inIndex);
    std::vector<VF::VideoFrameRef> frames;
    for (const Clip& clip : clips_)
        frames.push_back(clip.Frame(inIndex));
    return MakeComposite(frames, settings_);
}

void Viewer::Show(std::int64_t inIndex) {
    const VF::VideoFrameRef frame = FrameAt(inIndex);
    record_ = MakeShownRecord(frame);
    shape_ = ShapeOf(frame);
    shownIndex_ = inIndex;
    isPainted_ = false;
    window_.SetTitle(names_ + ", frame " + std::to_string(inIndex + 1) + ", " +
                     ToText(FrameSize(frame)));
}

void Viewer::Paint() {
    if (!canvas_ || canvas_->GetSize() != window_.GetSize()) canvas_.emplace(window_.GetSize());
    canvas_->Draw(record_.get(), shape_);
    window_.Put(canvas_->Bits(), canvas_->GetSize());
    isPainted_ = true;
}

/// Whether all inputs are known to.
bool Viewer::EndsBefore(std::int64_t inIndex) const {
    return std::ranges::all_of(clips_, [&](const Clip& clip) { return clip.EndsBefore(inIndex); });
}

void Viewer::Follow(Wish inWish) {
    // Who steps on the way to the end means what is in front of them.
    const std::int64_t from = target_ == kEnd ? shownIndex_ : target_;
    switch (inWish) {
        case Wish::kNext:
            if (!EndsBefore(from + 1)) target_ = from + 1;
            break;
        case Wish::kPrevious:
            target_ = std::max<std::int64_t>(from - 1, 0);
            break;
        case Wish::kFirst:
            target_ = 0;
            break;
        case Wish::kLast:
            target_ = kEnd;
            break;
        case Wish::kRedraw:
            isPainted_ = false;
            break;
        case Wish::kClose:
            break;
    }
}

/// False when the window is to be closed.
bool Viewer::FollowWishes() {
    while (const auto wish = window_.NextWish()) {
        if (wish == Wish::kClose) return false;
        Follow(*wish);
    }
    return true;
}

/// Reads a picture on the way to the wanted frame, or shows that one; false when it is shown. A
/// picture at a time, so that the window can be closed on a long way.
bool Viewer::StepTowardsTarget() {
    if (target_ == shownIndex_) return false;
    bool isReading = false;
    for (Clip& clip : clips_)
        isReading |= clip.StepTowards(target_);
    if (isReading) return true;
    std::int64_t last = 0;
    for (const Clip& clip : clips_)
        last = std::max(last, clip.Last());
    if (target_ > last) {
        target_ = last;
    } else {
        Show(target_);
    }
    return true;
}

void Viewer::Run() {
    while (!IsInterrupted() && FollowWishes()) {
        const bool isOnTheWay = StepTowardsTarget();
        if (!isPainted_) Paint();
        if (!isOnTheWay) window_.Wait();
    }
}

void Viewer::ReportDamage() const {
    for (const Clip& clip : clips_) {
        if (clip.Damage()) throw *clip.Damage();
    }
}

void Show(const ShowArguments& inArguments) {
    CheckAngleCount(inArguments.files.size());
    const LibrarySession session;
    Viewer viewer(inArguments);
    viewer.Run();
    viewer.ReportDamage();
}

}  // namespace

void AddShowCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<ShowArguments>();
    CLI::App* const command = inApp.add_subcommand("show", "Show pictures and clips in a window");
    command
        ->add_option("INPUT", arguments->files,
                     "One to four pictures or clips; several are shown beside each other")
        ->required();
    command
        ->add_option("--memory", arguments->memory,
                     "Memory for frames that have been shown; to step back further, the clip is "
                     "read again [256]")
        ->type_name("MIB")
        ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1} << 20));
    command->footer(
        "Right, Down, space  next frame       Home  first frame\n"
        "Left, Up            frame before     End   last frame\n"
        "Escape, q           close the window\n\n"
        "The window can be resized; the picture is fitted into it between black bars.\n"
        "Several inputs step together in a picture of the first one's size; a still\n"
        "picture stays, the cell of a clip that has ended is black.\n\n"
        "Examples:\n"
        "  vframe show clip.mov\n"
        "  vframe show before.png after.png");
    command->callback([arguments] { Show(*arguments); });
}

}  // namespace vframe

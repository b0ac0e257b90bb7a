// vframe demo: a process for each camera angle publishes it, and this one composes them.

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <thread>

#include "ChildProcess.h"
#include "Commands.h"
#include "Composite.h"
#include "DemoPublisher.h"
#include "Failure.h"
#include "FrameData.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "PictureSink.h"
#include "StandardStreams.h"
#include "Stopwatch.h"
#include "TerminalPreview.h"

namespace vframe {
namespace {
namespace fs = std::filesystem;

struct DemoArguments {
    std::string folder = "demo-output";
    std::vector<std::string> inputs;
};

/// The sample pictures beside the installed program, or else those of the source tree.
std::vector<std::string> FindSamples() {
    const fs::path program = ProgramPath();
    for (const fs::path& folder :
         {program.parent_path() / VFRAME_INSTALLED_SAMPLES, fs::path(VFRAME_SOURCE_SAMPLES)}) {
        std::vector<std::string> pictures;
        std::error_code ignored;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
            if (entry.path().extension() == ".png")
                pictures.push_back(entry.path().lexically_normal().string());
        }
        std::sort(pictures.begin(), pictures.end());
        if (!pictures.empty()) return pictures;
    }
    throw Failure("samples", "the sample pictures are not where they were installed; name others");
}

void MakeFolder(const std::string& inFolder) {
    std::error_code error;
    fs::create_directories(inFolder, error);
    if (error) throw Failure(inFolder, "the folder cannot be made: " + error.message());
}

// ---------------------------------------------------------------------------------------------
// Lines for the user

constexpr int kNameWidth = 16;

/// Prints a line that the user sees at once.
template <class... Arguments>
void Print(const char* inFormat, Arguments... inArguments) {
    std::printf(inFormat, inArguments...);
    FlushOutput();
}

/// A file's name, not longer than its column.
std::string ShortName(const std::string& inPath) {
    const std::string name = fs::path(inPath).filename().string();
    if (name.size() <= kNameWidth) return name;
    std::size_t end = kNameWidth - 3;
    while (end > 0 && (name[end] & 0xC0) == 0x80)
        --end;  // whole characters
    return name.substr(0, end) + "...";
}

// ---------------------------------------------------------------------------------------------
// Publishing processes

/// One for each angle; they work at the same time.
using Publishers = std::vector<std::unique_ptr<ChildProcess>>;

Publishers StartPublishers(const std::vector<std::string>& inInputs) {
    Publishers publishers;
    for (std::size_t i = 0; i < inInputs.size(); ++i) {
        publishers.push_back(std::make_unique<ChildProcess>(
            std::vector<std::string>{kDemoPublisherCommand, std::to_string(i), "--", inInputs[i]}));
    }
    return publishers;
}

void PrintProcesses(const Publishers& inPublishers) {
    std::string ids;
    for (const auto& publisher : inPublishers)
        ids += std::to_string(publisher->Id()) + " ";
    const std::string own = std::to_string(getpid());
    const int width = static_cast<int>(std::max(ids.size(), own.size() + 1));
    Print("publishers  %-*s one angle each: read, convert into shared memory, publish\n", width,
          ids.c_str());
    Print("compositor  %-*s receives the frames without a copy, caches and composes them\n\n",
          width, own.c_str());
}

/// What a publishing process says about its angle.
PublishedAngle ReadAngle(ChildProcess& ioPublisher) {
    const std::optional<std::string> line = ioPublisher.ReadLine();
    ThrowIfInterrupted();
    if (line) return ParseLine(*line);
    const std::string reason = ioPublisher.Dismiss();
    throw Failure("publisher", "it ended too early" + (reason.empty() ? "" : " (" + reason + ")"));
}

/// Ends them; their frames stay with whoever holds them.
void DismissAll(Publishers& ioPublishers) {
    for (const auto& publisher : ioPublishers) {
        const std::string reason = publisher->Dismiss();
        if (!reason.empty()) throw Failure("publisher", reason);
    }
}

// ---------------------------------------------------------------------------------------------
// Receiving

/// A frame that the shared cache keeps, whatever its budget, while this object lives.
class CachedAngle {
  public:
    CachedAngle(const VF::VideoFrameRef& inFrame, const tulocore::utility::Guid& inGuid)
        : guid_(inGuid) {
        VF::SharedVideoFrameCache::RegisterDependencyOnFrame(guid_);
        VF::SharedVideoFrameCache::InsertIntoCache(inFrame, guid_, 0);
    }
    ~CachedAngle() { VF::SharedVideoFrameCache::UnregisterDependencyOnFrame(guid_); }
    CachedAngle(const CachedAngle&) = delete;
    CachedAngle& operator=(const CachedAngle&) = delete;

    VF::VideoFrameRef Frame() const { return VF::SharedVideoFrameCache::RetrieveFromCache(guid_); }

  private:
    tulocore::utility::Guid guid_;
};

using CachedAngles = std::vector<std::unique_ptr<CachedAngle>>;

void PrintAngleHeading() {
    Print("%75s---------- milliseconds ----------\n", "");
    Print("%-5s  %7s  %-*s  %-9s  %-16s  %10s  %7s  %7s  %7s  %7s\n", "angle", "process",
          kNameWidth, "picture", "size", "format", "bytes", "read", "convert", "publish",
          "receive");
}

/// Receives what the process has published, caches it, and prints the angle's line.
std::unique_ptr<CachedAngle> ReceiveAngle(ChildProcess& ioPublisher, std::size_t inAngle,
                                          const std::string& inInput) {
    const PublishedAngle published = ReadAngle(ioPublisher);
    const Stopwatch receiving;
    const VF::VideoFrameRef frame = ReceiveFrame(published.guid, std::chrono::seconds(10));
    const double receiveTime = receiving.Milliseconds();
    const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame);
    Print("%-5zu  %7d  %-*s  %-9s  %-16s  %10s  %7.2f  %7.2f  %7.2f  %7.2f\n", inAngle + 1,
          static_cast<int>(ioPublisher.Id()), kNameWidth, ShortName(inInput).c_str(),
          ToText(FrameSize(frame)).c_str(), FormatName(frame->GetPixelType()).c_str(),
          Grouped(memory->GetDataSize()).c_str(), published.readMilliseconds,
          published.convertMilliseconds, published.publishMilliseconds, receiveTime);
    return std::make_unique<CachedAngle>(frame, published.guid);
}

/// In the order in which the angles come.
CachedAngles ReceiveAll(Publishers& ioPublishers, const std::vector<std::string>& inInputs) {
    PrintAngleHeading();
    CachedAngles angles(inInputs.size());
    std::vector<pollfd> waiting;
    for (const auto& publisher : ioPublishers)
        waiting.push_back({publisher->Output(), POLLIN, 0});
    for (std::size_t received = 0; received < angles.size();) {
        ThrowIfInterrupted();
        if (poll(waiting.data(), waiting.size(), -1) < 0) continue;
        for (std::size_t i = 0; i < waiting.size(); ++i) {
            if (waiting[i].revents == 0) continue;
            angles[i] = ReceiveAngle(*ioPublishers[i], i, inInputs[i]);
            waiting[i] = {-1, 0, 0};  // poll passes over it
            ++received;
        }
    }
    return angles;
}

// ---------------------------------------------------------------------------------------------
// Compositing

constexpr int kTimedRuns = 5;

struct Composed {
    VF::VideoFrameRef frame;
    double milliseconds = 0;  ///< the shortest of a few runs
};

Composed Compose(const CachedAngles& inAngles, const CompositeSettings& inSettings) {
    Composed composed;
    for (int run = 0; run < kTimedRuns; ++run) {
        ThrowIfInterrupted();
        const Stopwatch stopwatch;
        std::vector<VF::VideoFrameRef> frames;
        for (const auto& angle : inAngles)
            frames.push_back(angle->Frame());
        composed.frame = MakeComposite(frames, inSettings);
        const double time = stopwatch.Milliseconds();
        composed.milliseconds = run == 0 ? time : std::min(composed.milliseconds, time);
    }
    return composed;
}

void PrintCompositeHeading() {
    const std::string processors =
        "all " + std::to_string(std::max(std::thread::hardware_concurrency(), 1u));
    Print("\n%25s-------- milliseconds --------\n", "");
    Print("%-12s  %-9s  %11s  %8s  %6s  %s\n", "composite", "size", "1 processor",
          processors.c_str(), "write", "written to");
}

/// Composes, writes and shows one picture, and prints its line.
void WriteComposite(const CachedAngles& inAngles, CompositeSettings inSettings,
                    const std::string& inName, const std::string& inFolder) {
    const double oneTime = Compose(inAngles, inSettings).milliseconds;
    inSettings.allProcessors = true;
    const Composed composed = Compose(inAngles, inSettings);
    const std::string output = (fs::path(inFolder) / (inName + ".png")).string();
    const Stopwatch writing;
    WritePicture(output, composed.frame);
    Print("%-12s  %-9s  %11.2f  %8.2f  %6.0f  %s\n", inName.c_str(),
          ToText(inSettings.size).c_str(), oneTime, composed.milliseconds, writing.Milliseconds(),
          output.c_str());
    ShowPreview(composed.frame);
}

void WriteComposites(const CachedAngles& inAngles, const std::string& inFolder) {
    CompositeSettings settings{.size = {1920, 1080},
                               .selected = std::min<std::size_t>(1, inAngles.size() - 1)};
    PrintCompositeHeading();
    WriteComposite(inAngles, settings, "multicam", inFolder);
    settings.size.height /= 2;  // two views beside each other
    settings.sideBySide = settings.redOutline = true;
    WriteComposite(inAngles, settings, "side-by-side", inFolder);
}

void PrintMemory(const CachedAngles& inAngles) {
    const auto manager = OV::GetMediaManager();
    const Stopwatch retrieving;
    const auto held = std::count_if(inAngles.begin(), inAngles.end(), [](const auto& angle) {
        return static_cast<bool>(angle->Frame());
    });
    const double time = 1000 * retrieving.Milliseconds() / static_cast<double>(inAngles.size());
    Print(
        "\nframe cache    %td frames, %s of %s bytes; %.2f microseconds to take one "
        "out\n",
        held, Grouped(manager->GetUsedBytes()).c_str(), Grouped(manager->GetBudget()).c_str(),
        time);
    Print("shared memory  %s bytes, all processes together\n",
          Grouped(processcoordination::CountSharedBytes()).c_str());
}

void RunDemo(DemoArguments ioArguments) {
    if (ioArguments.inputs.empty()) ioArguments.inputs = FindSamples();
    CheckAngleCount(ioArguments.inputs.size());
    MakeFolder(ioArguments.folder);
    Publishers publishers = StartPublishers(ioArguments.inputs);  // before there are threads
    PrintProcesses(publishers);

    const LibrarySession session;
    const SharingSession sharing;
    const CachedAngles angles = ReceiveAll(publishers, ioArguments.inputs);
    WriteComposites(angles, ioArguments.folder);
    PrintMemory(angles);
    DismissAll(publishers);
}

/// What the demonstration starts as its publishing processes.
void AddPublisherCommand(CLI::App& inApp) {
    const auto angle = std::make_shared<std::size_t>();
    const auto input = std::make_shared<std::string>();
    CLI::App* const command = inApp.add_subcommand(kDemoPublisherCommand, "")->group("");
    command->add_option("ANGLE", *angle)->required()->check(CLI::Range(kMostAngles - 1));
    command->add_option("INPUT", *input)->required();
    command->callback([angle, input] { RunDemoPublisher(*angle, *input); });
}

}  // namespace

void AddDemoCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<DemoArguments>();
    CLI::App* const command = inApp.add_subcommand(
        "demo", "Watch camera angles go from process to process and into one picture");
    command->add_option("FOLDER", arguments->folder,
                        "Where the two pictures go; made if need be [demo-output]");
    command->add_option("INPUT", arguments->inputs,
                        "One to four pictures, or clips, of which the first picture is taken; "
                        "otherwise the sample pictures");
    command->footer(
        "A process for each angle reads it, converts it into shared memory and publishes it\n"
        "there. This process receives the frames, puts them into the shared frame cache, takes\n"
        "them out of it for each composite, and writes multicam.png and side-by-side.png.\n"
        "Receiving is waiting for, checking and wrapping the frame. Composites are made five\n"
        "times; the shortest time is shown.\n\n"
        "Example:\n"
        "  vframe demo my-angles left.jpg middle.png right.mov");
    command->callback([arguments] { RunDemo(*arguments); });
    AddPublisherCommand(inApp);
}

}  // namespace vframe

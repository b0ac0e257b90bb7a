// vframe demo: one process publishes frames, another receives, scales and writes them.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

#include "ChildProcess.h"
#include "Commands.h"
#include "DemoPublisher.h"
#include "Failure.h"
#include "FrameData.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "PictureSink.h"
#include "Stopwatch.h"

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

/// Where the picture of an input goes; two inputs of one name get numbers.
class OutputNames {
  public:
    explicit OutputNames(std::string inFolder) : folder_(std::move(inFolder)) {}

    std::string For(const std::string& inInput) {
        const std::string stem = fs::path(inInput).stem().string();
        std::string name = stem + ".png";
        for (int number = 2; !taken_.insert(name).second; ++number)
            name = stem + "-" + std::to_string(number) + ".png";
        return (fs::path(folder_) / name).string();
    }

  private:
    std::string folder_;
    std::set<std::string> taken_;
};

std::string Milliseconds(double inTime) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", inTime);
    return text;
}

void PrintHeading(pid_t inPublisher) {
    std::printf(
        "Process %d makes each picture a frame in shared memory and publishes it there.\n"
        "Process %d receives it without a copy, halves it and writes it.\n\n",
        static_cast<int>(inPublisher), static_cast<int>(getpid()));
    std::printf("%-20s %-11s %-14s %13s %11s %11s %11s   %s\n", "picture", "size", "format",
                "bytes", "publish", "receive", "scale", "written");
    std::fflush(stdout);
}

/// Takes one published frame, halves it, writes it, and prints its line.
void ReceiveOne(const DemoFrame& inPublished, const std::string& inOutput) {
    const Stopwatch receiving;
    const VF::VideoFrameRef frame = ReceiveFrame(inPublished.guid, std::chrono::seconds(10));
    const double receiveTime = receiving.Milliseconds();

    const PictureView picture = ViewFrame(frame);
    const Stopwatch scaling;
    const VF::VideoFrameRef half = MakeFrameOf(
        picture,
        {.format = tulomediatypes::kPixelFormat_BGRA_4444_8u,
         .size = Size{std::max(picture.size.width / 2, 1), std::max(picture.size.height / 2, 1)}});
    const double scaleTime = scaling.Milliseconds();
    WritePicture(inOutput, half);

    const auto memory = Brix::QueryInterface<VF::IVideoFrameMemoryAccess>(frame);
    std::printf("%-20s %-11s %-14s %13s %11s %11s %11s   %s, %s\n",
                fs::path(inPublished.input).filename().c_str(), ToText(picture.size).c_str(),
                FormatName(frame->GetPixelType()).c_str(), Grouped(memory->GetDataSize()).c_str(),
                Milliseconds(inPublished.publishMilliseconds).c_str(),
                Milliseconds(receiveTime).c_str(), Milliseconds(scaleTime).c_str(),
                inOutput.c_str(), ToText(FrameSize(half)).c_str());
    std::fflush(stdout);
}

void ReceiveAll(ChildProcess& ioPublisher, const DemoArguments& inArguments) {
    OutputNames names(inArguments.folder);
    for (std::size_t i = 0; i < inArguments.inputs.size(); ++i) {
        const std::optional<std::string> line = ioPublisher.ReadLine();
        ThrowIfInterrupted();
        if (!line) {
            const std::string reason = ioPublisher.Dismiss();
            throw Failure("publisher",
                          "it ended too early" + (reason.empty() ? "" : " (" + reason + ")"));
        }
        const DemoFrame published = ParseLine(*line);
        ReceiveOne(published, names.For(published.input));
    }
}

void RunDemo(DemoArguments ioArguments) {
    if (ioArguments.inputs.empty()) ioArguments.inputs = FindSamples();
    MakeFolder(ioArguments.folder);
    std::vector<std::string> childArguments{kDemoPublisherCommand, "--"};
    childArguments.insert(childArguments.end(), ioArguments.inputs.begin(),
                          ioArguments.inputs.end());
    ChildProcess publisher(childArguments);  // before this process has threads

    const LibrarySession session;
    const SharingSession sharing;
    PrintHeading(publisher.Id());
    ReceiveAll(publisher, ioArguments);
    const std::string reason = publisher.Dismiss();
    if (!reason.empty()) throw Failure("publisher", reason);
    std::printf("\n%zu pictures are in %s\n", ioArguments.inputs.size(),
                ioArguments.folder.c_str());
}

/// What the demonstration starts as its publishing process.
void AddPublisherCommand(CLI::App& inApp) {
    const auto inputs = std::make_shared<std::vector<std::string>>();
    CLI::App* const command = inApp.add_subcommand(kDemoPublisherCommand, "")->group("");
    command->add_option("INPUT", *inputs)->required();
    command->callback([inputs] { RunDemoPublisher(*inputs); });
}

}  // namespace

void AddDemoCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<DemoArguments>();
    CLI::App* const command = inApp.add_subcommand(
        "demo", "Watch frames go from one process to another, which scales and writes them");
    command->add_option("FOLDER", arguments->folder,
                        "Where the pictures go; made if need be [demo-output]");
    command->add_option("INPUT", arguments->inputs,
                        "Pictures to send; otherwise the sample pictures");
    command->footer(
        "The times are those of publishing (in the one process), of waiting for, checking and\n"
        "wrapping the frame, and of making the frame of half the size (in the other).");
    command->callback([arguments] { RunDemo(*arguments); });
    AddPublisherCommand(inApp);
}

}  // namespace vframe

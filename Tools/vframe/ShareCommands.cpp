// vframe publish and vframe receive: one frame, between two processes.

#include <cstdio>
#include <memory>

#include "Commands.h"
#include "Failure.h"
#include "FrameData.h"
#include "Interrupt.h"
#include "LibrarySession.h"
#include "PictureSink.h"
#include "PictureSource.h"
#include "Publishing.h"
#include "StandardStreams.h"

namespace vframe {
namespace {

constexpr double kLongestWait = 1e9;  // seconds; 31 years

std::chrono::milliseconds Milliseconds(double inSeconds) {
    return std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(inSeconds));
}

// ---------------------------------------------------------------------------------------------
// publish

struct PublishArguments {
    InputArguments input;
    std::string guid;
    std::string format;
    std::string size;
    std::optional<double> hold;
    bool isInPlace = false;
};

VF::VideoFrameRef MakeFrameToPublish(const PublishArguments& inArguments) {
    FrameSettings settings;
    if (!inArguments.format.empty()) settings.format = ParseFormat("--format", inArguments.format);
    if (!inArguments.size.empty()) settings.size = ParseSize("--size", inArguments.size);
    const auto source = OpenSource(inArguments.input);
    const PictureView picture = FirstPicture(*source, inArguments.input.path);
    return inArguments.isInPlace ? MakePublishableFrameOf(picture, settings)
                                 : MakeFrameOf(picture, settings);
}

void Publish(const PublishArguments& inArguments) {
    const auto guid = ParseGuid(inArguments.guid);
    const LibrarySession session;
    const SharingSession sharing;
    const VF::VideoFrameRef frame = MakeFrameToPublish(inArguments);
    PublishFrame(frame, guid);
    // What others see now is no longer this process's to write.
    std::printf("%s: %s, %s\n", guid.ToString().c_str(), Describe(frame).c_str(),
                frame->GetReadOnly() ? "in place" : "as a copy");
    FlushOutput();  // whoever waits for the line must see it now
    std::optional<std::chrono::milliseconds> hold;
    if (inArguments.hold) hold = Milliseconds(*inArguments.hold);
    WaitForInterrupt(hold);
}

// ---------------------------------------------------------------------------------------------
// receive

struct ReceiveArguments {
    std::string output;
    std::string guid;
    std::string size;
    double timeout = 10;
};

void Receive(const ReceiveArguments& inArguments) {
    const auto guid = ParseGuid(inArguments.guid);
    std::optional<Size> size;
    if (!inArguments.size.empty()) size = ParseSize("--size", inArguments.size);
    const LibrarySession session;
    const SharingSession sharing;
    const auto sink = OpenSink(inArguments.output);
    VF::VideoFrameRef frame = ReceiveFrame(guid, Milliseconds(inArguments.timeout));
    std::printf("%s: %s\n", guid.ToString().c_str(), Describe(frame).c_str());
    FlushOutput();
    if (size) frame = MakeFrameOf(ViewFrame(frame), {frame->GetPixelType(), size});
    sink->Write(frame);
    sink->Finish();
}

}  // namespace

void AddPublishCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<PublishArguments>();
    CLI::App* const command =
        inApp.add_subcommand("publish", "Show a frame to other processes under a Guid");
    arguments->input.AddTo(*command);
    command->add_option("--guid", arguments->guid, "The Guid")->required()->type_name("GUID");
    command->add_option("--format", arguments->format, "Format of the frame [BGRA_4444_8u]")
        ->type_name("NAME");
    command->add_option("--size", arguments->size, "Size of the frame; otherwise the input's own")
        ->type_name("WxH");
    command
        ->add_option("--hold", arguments->hold,
                     "How long to keep it published; otherwise until the program is ended")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, kLongestWait));
    command->add_flag("--in-place", arguments->isInPlace,
                      "Make the frame in shared memory, so that it is published without a copy");
    command->footer(
        "Prints one line when the frame is published and keeps it so until it gets SIGINT\n"
        "(Ctrl+C) or SIGTERM. Whoever holds the frame by then keeps it.\n\n"
        "Example, in two terminals:\n"
        "  vframe publish holiday.jpg --guid 01234567-89AB-CDEF-0123-456789ABCDEF\n"
        "  vframe receive copy.png --guid 01234567-89AB-CDEF-0123-456789ABCDEF");
    command->callback([arguments] { Publish(*arguments); });
}

void AddReceiveCommand(CLI::App& inApp) {
    const auto arguments = std::make_shared<ReceiveArguments>();
    CLI::App* const command =
        inApp.add_subcommand("receive", "Write a frame that another process publishes");
    command->add_option("OUTPUT", arguments->output, kOutputHelp)->required();
    command->add_option("--guid", arguments->guid, "The Guid under which it is published")
        ->required()
        ->type_name("GUID");
    command->add_option("--timeout", arguments->timeout, "How long to wait for it [10]")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, kLongestWait));
    command->add_option("--size", arguments->size, "Scale it to this size")->type_name("WxH");
    command->footer(
        "Waits until a frame stands under the Guid, whichever program is started "
        "first.");
    command->callback([arguments] { Receive(*arguments); });
}

}  // namespace vframe

#include "DemoPublisher.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <sstream>

#include "Failure.h"
#include "LibrarySession.h"
#include "PictureSource.h"
#include "Publishing.h"
#include "Stopwatch.h"

namespace vframe {
namespace {

constexpr char kErrorMark[] = "error";

void Say(const std::string& inLine) {
    std::printf("%s\n", inLine.c_str());
    std::fflush(stdout);
}

/// The frame lives in the list for as long as it is to stay published.
DemoFrame PublishInput(const std::string& inInput, std::vector<VF::VideoFrameRef>& ioFrames) {
    const auto source = OpenSource({.path = inInput, .rawFormat = {}, .rawSize = {}});
    ioFrames.push_back(MakePublishableFrameOf(FirstPicture(*source, inInput), {}));
    DemoFrame published{.input = inInput, .guid = tulocore::utility::Guid::Generate()};
    const Stopwatch stopwatch;
    PublishFrame(ioFrames.back(), published.guid);
    published.publishMilliseconds = stopwatch.Milliseconds();
    return published;
}

void WaitForEndOfInput() {
    char ignored = 0;
    while (read(STDIN_FILENO, &ignored, 1) > 0) {
    }
}

}  // namespace

std::string ToLine(const DemoFrame& inFrame) {
    return inFrame.guid.ToString() + " " + std::to_string(inFrame.publishMilliseconds) + " " +
           inFrame.input;
}

DemoFrame ParseLine(const std::string& inLine) {
    std::istringstream line(inLine);
    std::string guid;
    DemoFrame frame;
    line >> guid;
    if (guid == kErrorMark) {
        // The text is made of a "what: why" already.
        const std::string text = inLine.substr(sizeof kErrorMark);
        const std::size_t colon = text.find(": ");
        if (colon == text.npos) throw Failure("publisher", text);
        throw Failure(text.substr(0, colon), text.substr(colon + 2));
    }
    frame.guid = ParseGuid(guid);
    line >> frame.publishMilliseconds;
    line.get();
    std::getline(line, frame.input);
    return frame;
}

void RunDemoPublisher(const std::vector<std::string>& inInputs) {
    const LibrarySession session;
    const SharingSession sharing;
    std::vector<VF::VideoFrameRef> frames;
    try {
        for (const std::string& input : inInputs)
            Say(ToLine(PublishInput(input, frames)));
    } catch (const std::exception& error) {
        // The receiving process tells the user, once.
        Say(std::string(kErrorMark) + " " + error.what());
    }
    WaitForEndOfInput();
}

}  // namespace vframe

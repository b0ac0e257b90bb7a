#include "DemoPublisher.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <future>
#include <sstream>

#include "Composite.h"
#include "Failure.h"
#include "LibrarySession.h"
#include "PictureSource.h"
#include "Publishing.h"
#include "StandardStreams.h"
#include "Stopwatch.h"

namespace vframe {
namespace {

using tulomediatypes::PixelFormat;

constexpr char kErrorMark[] = "error";

/// As if the angles came from cameras and programs of different makers.
constexpr std::array<PixelFormat, kMostAngles> kAngleFormats = {
    tulomediatypes::kPixelFormat_UYVY_422_8u_709, tulomediatypes::kPixelFormat_V210_422_10u_709,
    tulomediatypes::kPixelFormat_VUYA_4444_8u_709, tulomediatypes::kPixelFormat_BGRA_4444_8u};

/// 4:2:2 takes even widths only.
PixelFormat FormatFor(std::size_t inAngle, const PictureView& inPicture) {
    const PixelFormat format = kAngleFormats.at(inAngle);
    const Brix::Rect bounds{0, 0, inPicture.size.width, inPicture.size.height};
    return VF::RectIsValidForPixelFormat(format, bounds, inPicture.aspectRatio)
               ? format
               : tulomediatypes::kPixelFormat_BGRA_4444_8u;
}

/// One line, whatever the text holds.
void Say(std::string inText) {
    std::replace(inText.begin(), inText.end(), '\n', ' ');
    std::printf("%s\n", inText.c_str());
    FlushOutput();
}

std::string ToLine(const PublishedAngle& inAngle) {
    std::ostringstream line;
    line << inAngle.guid.ToString() << ' ' << inAngle.readMilliseconds << ' '
         << inAngle.convertMilliseconds << ' ' << inAngle.publishMilliseconds;
    return line.str();
}

/// The frame stays published for as long as it lives.
VF::VideoFrameRef PublishInput(std::size_t inAngle, const std::string& inInput) {
    PublishedAngle published{.guid = tulocore::utility::Guid::Generate()};
    const Stopwatch reading;
    const auto source = OpenMedia(inInput);
    const PictureView picture = FirstPicture(*source, inInput);
    published.readMilliseconds = reading.Milliseconds();
    const Stopwatch converting;
    VF::VideoFrameRef frame =
        MakePublishableFrameOf(picture, {.format = FormatFor(inAngle, picture)});
    published.convertMilliseconds = converting.Milliseconds();
    const Stopwatch publishing;
    PublishFrame(frame, published.guid);
    published.publishMilliseconds = publishing.Milliseconds();
    Say(ToLine(published));
    return frame;
}

/// Null when it fails; the compositing process tells the user, once.
VF::VideoFrameRef TryToPublish(std::size_t inAngle, const std::string& inInput) {
    try {
        return PublishInput(inAngle, inInput);
    } catch (const std::exception& error) {
        Say(std::string(kErrorMark) + " " + error.what());
        return nullptr;
    }
}

void WaitForEndOfInput() {
    char ignored = 0;
    while (read(STDIN_FILENO, &ignored, 1) > 0) {
    }
}

}  // namespace

PublishedAngle ParseLine(const std::string& inLine) {
    std::istringstream line(inLine);
    std::string guid;
    PublishedAngle angle;
    line >> guid;
    if (guid == kErrorMark) {
        // The text is made of a "what: why" already.
        const std::string text = inLine.substr(sizeof kErrorMark);
        const std::size_t colon = text.find(": ");
        if (colon == text.npos) throw Failure("publisher", text);
        throw Failure(text.substr(0, colon), text.substr(colon + 2));
    }
    angle.guid = ParseGuid(guid);
    line >> angle.readMilliseconds >> angle.convertMilliseconds >> angle.publishMilliseconds;
    return angle;
}

void RunDemoPublisher(std::size_t inAngle, const std::string& inInput) {
    const LibrarySession session;
    const SharingSession sharing;
    const auto published = std::async(std::launch::async, TryToPublish, inAngle, inInput);
    WaitForEndOfInput();
    // Reading can take for ever, for instance from a pipe; nobody waits for it any more.
    if (published.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        _exit(kExitFailure);
}

}  // namespace vframe

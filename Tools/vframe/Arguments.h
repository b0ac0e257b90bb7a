// What the texts of the command line mean.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <string>

namespace vframe {

/// A picture's sides in pixels, both positive.
struct Size {
    int width = 0;
    int height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

/// All of these raise UsageFailure for a text that they cannot read.
Size ParseSize(const std::string& inOption, const std::string& inText);
tulomediatypes::PixelFormat ParseFormat(const std::string& inOption, const std::string& inText);
tulocore::utility::Guid ParseGuid(const std::string& inText);

/// The name under which ParseFormat knows the format.
std::string FormatName(tulomediatypes::PixelFormat inFormat);

/// "960x540".
std::string ToText(Size inSize);

/// A whole number with its digits in groups of three: "2,073,600".
std::string Grouped(std::uint64_t inNumber);

}  // namespace vframe

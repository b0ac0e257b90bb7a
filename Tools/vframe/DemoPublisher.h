// The publishing processes of the demonstration, one for each camera angle, and what they tell the
// compositing one.
#pragma once

#include <cstddef>
#include <string>

#include "Arguments.h"

namespace vframe {

/// The hidden command that runs a publishing process.
inline constexpr char kDemoPublisherCommand[] = "demo-publisher";

/// A frame that stands published, and how long that took.
struct PublishedAngle {
    tulocore::utility::Guid guid;
    double readMilliseconds = 0;
    double convertMilliseconds = 0;
    double publishMilliseconds = 0;
};

/// Reads the line of a publishing process; one that says what went wrong there is raised as
/// Failure.
PublishedAngle ParseLine(const std::string& inLine);

/// Makes a frame of the input in shared memory, in a format of its own for each angle (counted
/// from 0), publishes it, says so in a line on standard output, and stays until standard input
/// ends. When that ends earlier, so does the process.
void RunDemoPublisher(std::size_t inAngle, const std::string& inInput);

}  // namespace vframe

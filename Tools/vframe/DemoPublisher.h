// The publishing process of the demonstration, and what it tells the receiving one.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Arguments.h"

namespace vframe {

/// The hidden command that runs the publishing process.
inline constexpr char kDemoPublisherCommand[] = "demo-publisher";

/// One frame that stands published.
struct DemoFrame {
    std::string input;
    tulocore::utility::Guid guid;
    double publishMilliseconds = 0;
};

std::string ToLine(const DemoFrame& inFrame);

/// Reads a line of the publishing process; one that says what went wrong there is raised as
/// Failure.
DemoFrame ParseLine(const std::string& inLine);

/// Makes a frame of every input, publishes it, says so in a line on standard output, and stays
/// until standard input ends.
void RunDemoPublisher(const std::vector<std::string>& inInputs);

}  // namespace vframe

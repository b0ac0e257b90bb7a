// The commands of the program. Each function adds one, with its arguments, its help and what it
// does, to the command line.
#pragma once

#include <CLI/CLI.hpp>

namespace vframe {

void AddFormatsCommand(CLI::App& inApp);
void AddInfoCommand(CLI::App& inApp);
void AddConvertCommand(CLI::App& inApp);
void AddMulticamCommand(CLI::App& inApp);
void AddShowCommand(CLI::App& inApp);
void AddPublishCommand(CLI::App& inApp);
void AddReceiveCommand(CLI::App& inApp);
void AddQuantiseCommand(CLI::App& inApp);
void AddCutCommand(CLI::App& inApp);
void AddDemoCommand(CLI::App& inApp);

}  // namespace vframe

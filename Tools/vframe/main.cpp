// vframe: makes, converts and shares video frames from the command line.

#include <VideoFrame/VideoFrame.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <new>
#include <sstream>

#include "Commands.h"
#include "Failure.h"
#include "Ffmpeg.h"
#include "Interrupt.h"
#include "StandardStreams.h"

namespace vframe {
namespace {

/// One line on standard error, whatever the text holds.
int Report(std::string inText, int inExitStatus) {
    for (char& c : inText) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    std::fprintf(stderr, "vframe: %s\n", inText.c_str());
    return inExitStatus;
}

void DescribeProgram(CLI::App& inApp) {
    inApp.require_subcommand(0, 1);
    inApp.add_flag_callback(
        "--verbose", [] { av_log_set_level(AV_LOG_WARNING); },
        "Also show what FFmpeg's libraries say");
    inApp.set_version_flag("--version", std::string("vframe ") + VFRAME_VERSION);
    inApp.footer(
        "Sizes are written as 960x540, formats by the names that 'vframe formats' lists.\n"
        "'vframe COMMAND --help' tells more about a command.\n\n"
        "Exit status: 0 done, 1 something failed, 2 the arguments cannot be understood.");
    AddFormatsCommand(inApp);
    AddInfoCommand(inApp);
    AddConvertCommand(inApp);
    AddMulticamCommand(inApp);
    AddShowCommand(inApp);
    AddPublishCommand(inApp);
    AddReceiveCommand(inApp);
    AddQuantiseCommand(inApp);
    AddCutCommand(inApp);
    AddDemoCommand(inApp);
}

int Run(int inCount, char** inArguments) {
    KeepStandardNumbers();
    ListenToSignals();
    av_log_set_level(AV_LOG_QUIET);
    // The error that follows says the same, in the program's own words.
    tulocore::debug::SetContractHandler([](const auto&) { return false; });
    CLI::App app("Makes, converts and shares uncompressed video frames.", "vframe");
    DescribeProgram(app);
    try {
        app.parse(inCount, inArguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            return Report(std::string("arguments: ") + error.what(), kExitUsage);
        std::ostringstream text;  // help or version
        app.exit(error, text, text);
        std::fputs(text.str().c_str(), stdout);
        FlushOutput();
        return 0;
    }
    if (app.get_subcommands().empty())
        throw UsageFailure("arguments", "a command is needed; 'vframe --help' lists them");
    FlushOutput();
    return 0;
}

}  // namespace
}  // namespace vframe

int main(int inCount, char** inArguments) {
    using vframe::Report;
    try {
        return vframe::Run(inCount, inArguments);
    } catch (const vframe::Failure& failure) {
        return Report(failure.what(), failure.ExitStatus());
    } catch (const tulocore::config::Error& error) {
        return Report(std::string("library: ") + error.what(), vframe::kExitFailure);
    } catch (const Brix::Exception& error) {
        return Report(std::string("library: ") + error.what(), vframe::kExitFailure);
    } catch (const std::bad_alloc&) {
        return Report("memory: there is not enough", vframe::kExitFailure);
    } catch (const std::exception& error) {
        return Report(std::string("error: ") + error.what(), vframe::kExitFailure);
    }
}

// The program as a process, and a folder to run it in.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/SharedFolder.h"

namespace vframe_test {

struct Result {
    int status = -1;     ///< exit status; -1 when a signal ended the program
    std::string output;  ///< standard output
    std::string errors;  ///< standard error
};

/// One run of the program.
class RunningTool {
  public:
    explicit RunningTool(const std::vector<std::string>& inArguments);
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    void Signal(int inSignal) const;
    /// To be asked before Wait.
    bool IsRunning() const;
    /// What it has put on standard output until now.
    std::string OutputSoFar() const;
    Result Wait();

  private:
    std::filesystem::path folder_;
    pid_t id_ = -1;
};

Result RunTool(const std::vector<std::string>& inArguments);

/// Expects success, and says what the program said otherwise.
void ExpectRuns(const std::vector<std::string>& inArguments);

/// Expects this exit status and exactly one line on standard error, which begins with "vframe: ".
void ExpectFails(const std::vector<std::string>& inArguments, int inStatus,
                 const std::string& inPartOfLine = "");

std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& inPath);
void WriteBytes(const std::filesystem::path& inPath, const std::vector<std::uint8_t>& inBytes);

/// A temporary folder for files, and a private one for what is shared between processes.
class ToolTest : public testing::Test {
  protected:
    ToolTest();
    ~ToolTest() override;

    std::string Path(const std::string& inName) const { return (folder_ / inName).string(); }
    /// Names of everything in the temporary folder, sorted.
    std::vector<std::string> Files() const;

    static std::string Sample(int inNumber) {
        return SAMPLES_FOLDER "/angle-" + std::to_string(inNumber) + ".png";
    }

  private:
    support::SharedFolder sharedFolder_;
    std::filesystem::path folder_;
};

}  // namespace vframe_test

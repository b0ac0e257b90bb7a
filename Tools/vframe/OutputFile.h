// A file that appears under its name whole or not at all.
#pragma once

#include <string>

namespace vframe {

/// The ending of a file name in lower case, with its dot: ".png".
std::string EndingOf(const std::string& inPath);

/// Makes an empty file beside the target; Commit gives it the target's name, and without that it
/// is removed.
class OutputFile {
  public:
    /// Raises Failure when nothing can be written there.
    explicit OutputFile(const std::string& inPath);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const { return path_; }
    const std::string& TemporaryPath() const { return temporaryPath_; }
    void Commit();

    /// Raises Failure with the reason of the last failed system call.
    [[noreturn]] void FailWriting() const;

  private:
    std::string path_;
    std::string target_;  ///< path_ with links followed
    std::string temporaryPath_;
};

}  // namespace vframe

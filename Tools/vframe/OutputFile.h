// A file that appears under its name whole or not at all.
#pragma once

#include <cstddef>
#include <string>

namespace vframe {

/// The ending of a file name in lower case, with its dot: ".png".
std::string EndingOf(const std::string& inPath);

/// Bytes go into a file that has no name, or a hidden one where the file system knows no others.
/// Commit puts it in the place of the target in one step; without that nothing of it stays. What
/// is no ordinary file, a pipe or a device, cannot be replaced: bytes go straight into that.
class OutputFile {
  public:
    /// Raises Failure when nothing can be written there.
    explicit OutputFile(const std::string& inPath);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const { return path_; }

    /// Where the bytes go, for those who have to change what they have written.
    int Descriptor() const { return file_; }

    /// Raises Failure when not all bytes can be written.
    void Write(const void* inData, std::size_t inSize);

    /// As Write, for callers through which nothing can be raised: returns 0 or an error number.
    int TryToWrite(const void* inData, std::size_t inSize) noexcept;

    void Commit();

  private:
    void Open();
    void OpenUnnamed();
    void OpenHidden();
    bool Link(const std::string& inName) const;
    void LinkHidden();
    void ChooseHiddenName();
    void RemoveHiddenName();
    [[noreturn]] void FailWriting(int inError) const;

    std::string path_;
    std::string target_;      ///< path_ with links followed; empty for what is not replaced
    std::string hiddenName_;  ///< beside the target, where there is one
    int file_ = -1;
};

}  // namespace vframe

#include "OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Failure.h"

namespace vframe {
namespace fs = std::filesystem;

std::string EndingOf(const std::string& inPath) {
    std::string ending = fs::path(inPath).extension().string();
    for (char& c : ending)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ending;
}

OutputFile::OutputFile(const std::string& inPath) : path_(inPath) {
    std::error_code error;
    const fs::file_status status = fs::status(inPath, error);
    if (fs::is_directory(status)) throw Failure(path_, "is a folder");
    // The new file would take the place of a device or a pipe.
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw Failure(path_, "is not an ordinary file");
    const fs::path target = fs::exists(status) ? fs::canonical(inPath) : fs::path(inPath);
    target_ = target.string();
    const fs::path temporaryName = std::string(".")
                                       .append(target.filename().string())
                                       .append(".")
                                       .append(std::to_string(getpid()));
    temporaryPath_ = (target.parent_path() / temporaryName).string();
    const int file = open(temporaryPath_.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0666);
    if (file < 0) {
        temporaryPath_.clear();
        FailWriting();
    }
    close(file);
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    if (!temporaryPath_.empty()) fs::remove(temporaryPath_, ignored);
}

void OutputFile::Commit() {
    std::error_code error;
    fs::rename(temporaryPath_, target_, error);
    if (error) throw Failure(path_, error.message());
    temporaryPath_.clear();
}

void OutputFile::FailWriting() const {
    throw Failure(path_, "cannot be written: " + std::generic_category().message(errno));
}

}  // namespace vframe

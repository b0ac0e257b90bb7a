#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

#include "Failure.h"
#include "Interrupt.h"

namespace vframe {
namespace {
namespace fs = std::filesystem;

/// The file that is meant, whether or not it is there.
fs::path FollowLinks(fs::path inPath) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    for (int i = 0; i < kMostLinks; ++i) {
        const fs::path next = fs::read_symlink(inPath, error);
        if (error) break;
        inPath = inPath.parent_path() / next;
    }
    return inPath;
}

fs::path FolderOf(const fs::path& inPath) {
    return inPath.has_parent_path() ? inPath.parent_path() : ".";
}

/// The name by which the system knows an open file, even one without a name.
std::string NameOfOpen(int inFile) {
    return "/proc/self/fd/" + std::to_string(inFile);
}

}  // namespace

std::string EndingOf(const std::string& inPath) {
    std::string ending = fs::path(inPath).extension().string();
    for (char& c : ending)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ending;
}

OutputFile::OutputFile(const std::string& inPath) : path_(inPath) {
    struct stat status {};
    const bool exists = stat(inPath.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) FailWriting(errno);
    if (exists && S_ISDIR(status.st_mode)) throw Failure(path_, "is a folder");
    if (!exists || S_ISREG(status.st_mode)) target_ = FollowLinks(inPath).string();
    Open();
    if (exists && !target_.empty()) fchmod(file_, status.st_mode & 0777);
}

OutputFile::~OutputFile() {
    close(file_);
    RemoveHiddenName();
}

void OutputFile::Open() {
    if (target_.empty()) {
        file_ = open(path_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    } else {
        OpenUnnamed();
        if (file_ < 0) OpenHidden();
    }
    if (file_ < 0) FailWriting(errno);
}

void OutputFile::OpenUnnamed() {
    file_ = open(FolderOf(target_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (file_ < 0 || access(NameOfOpen(file_).c_str(), F_OK) == 0) return;
    close(file_);  // without /proc it could never get a name
    file_ = -1;
}

void OutputFile::OpenHidden() {
    ChooseHiddenName();
    file_ = open(hiddenName_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    if (file_ < 0) RemoveAtSuddenEnd(nullptr);
}

void OutputFile::Write(const void* inData, std::size_t inSize) {
    if (const int error = TryToWrite(inData, inSize)) FailWriting(error);
}

int OutputFile::TryToWrite(const void* inData, std::size_t inSize) noexcept {
    const char* next = static_cast<const char*>(inData);
    while (inSize > 0) {
        const ssize_t written = write(file_, next, inSize);
        if (written < 0 && (errno != EINTR || IsInterrupted())) return errno;
        if (written < 0) continue;
        next += written;
        inSize -= static_cast<std::size_t>(written);
    }
    return 0;
}

void OutputFile::Commit() {
    // Some file systems tell only when a file is closed what they could not write.
    if (close(dup(file_)) != 0) FailWriting(errno);
    if (target_.empty()) return;
    if (hiddenName_.empty() && !Link(target_)) LinkHidden();
    if (!hiddenName_.empty() && std::rename(hiddenName_.c_str(), target_.c_str()) != 0)
        FailWriting(errno);
    RemoveHiddenName();
}

bool OutputFile::Link(const std::string& inName) const {
    return linkat(AT_FDCWD, NameOfOpen(file_).c_str(), AT_FDCWD, inName.c_str(),
                  AT_SYMLINK_FOLLOW) == 0;
}

/// A link takes no other file's place, but what has a name can.
void OutputFile::LinkHidden() {
    if (errno != EEXIST) FailWriting(errno);
    ChooseHiddenName();
    if (!Link(hiddenName_)) FailWriting(errno);
}

/// By chance, so that it is nobody else's and is safe to remove before it is there and after it
/// has gone.
void OutputFile::ChooseHiddenName() {
    std::random_device random;
    char name[32];
    std::snprintf(name, sizeof name, ".vframe-%08x%08x", random(), random());
    hiddenName_ = (FolderOf(target_) / name).string();
    RemoveAtSuddenEnd(hiddenName_.c_str());
}

void OutputFile::RemoveHiddenName() {
    if (hiddenName_.empty()) return;
    unlink(hiddenName_.c_str());
    RemoveAtSuddenEnd(nullptr);
    hiddenName_.clear();
}

void OutputFile::FailWriting(int inError) const {
    throw Failure(path_, "cannot be written: " + std::generic_category().message(inError));
}

}  // namespace vframe

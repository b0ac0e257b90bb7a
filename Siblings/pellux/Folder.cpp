#include "Folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace pellux {
namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr mode_t kOthersBits = 0077;

std::string FolderPath() {
    const char* chosen = secure_getenv("PELLUX_FOLDER");
    if (chosen != nullptr && *chosen != '\0') return chosen;
    return "/dev/shm/pellux-" + std::to_string(geteuid());
}

struct CloseDirectory {
    void operator()(DIR* inStream) const { closedir(inStream); }
};

int Result(int inOutcome) {
    return inOutcome == 0 ? 0 : errno;
}

}  // namespace

std::unique_ptr<Folder> Folder::Open() {
    const std::string path = FolderPath();
    constexpr int kFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    if (mkdir(path.c_str(), kFolderMode) == 0) {
        // The process's file mode mask may have taken away even this user's access.
        const Descriptor place(open(path.c_str(), O_PATH | kFlags));
        if (place) chmod(PathOf(place).c_str(), kFolderMode);
    }
    Descriptor directory(open(path.c_str(), O_RDONLY | kFlags));
    if (!directory) return nullptr;
    struct stat status {};
    if (fstat(directory.Number(), &status) != 0) return nullptr;
    if (status.st_uid != geteuid() || (status.st_mode & kOthersBits) != 0) return nullptr;
    return std::make_unique<Folder>(std::move(directory));
}

Descriptor Folder::OpenFile(const std::string& inName, Access inAccess) const {
    const int direction = inAccess == Access::kRead ? O_RDONLY : O_RDWR;
    return Descriptor(openat(directory_.Number(), inName.c_str(),
                             direction | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

Descriptor Folder::CreateFile(const std::string& inName) const {
    Descriptor file(openat(directory_.Number(), inName.c_str(),
                           O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    if (file) fchmod(file.Number(), kFileMode);
    return file;
}

int Folder::Rename(const std::string& inFrom, const std::string& inTo) const {
    return Result(renameat2(directory_.Number(), inFrom.c_str(), directory_.Number(), inTo.c_str(),
                            RENAME_NOREPLACE));
}

int Folder::Link(const Descriptor& inFile, const std::string& inName) const {
    return Result(linkat(AT_FDCWD, PathOf(inFile).c_str(), directory_.Number(), inName.c_str(),
                         AT_SYMLINK_FOLLOW));
}

int Folder::Remove(const std::string& inName) const {
    const int error = Result(unlinkat(directory_.Number(), inName.c_str(), 0));
    if (error != EISDIR) return error;
    std::error_code failure;
    std::filesystem::remove_all(std::filesystem::path(PathOf(directory_).c_str()) / inName,
                                failure);
    return failure.value();
}

int Folder::RemoveIf(const std::string& inName, const FileId& inFile) const {
    const std::optional<FileId> found = Identify(inName);
    if (!found) return ENOENT;
    return *found == inFile ? Remove(inName) : ESTALE;
}

std::optional<FileId> Folder::Identify(const std::string& inName) const {
    struct stat status {};
    if (fstatat(directory_.Number(), inName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    return FileId{status.st_dev, status.st_ino};
}

std::vector<FolderEntry> Folder::List() const {
    std::vector<FolderEntry> entries;
    // A descriptor of its own, since the position in the listing belongs to the open directory.
    const int number = openat(directory_.Number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (number < 0) return entries;
    const std::unique_ptr<DIR, CloseDirectory> stream(fdopendir(number));
    if (!stream) {
        close(number);
        return entries;
    }
    while (const dirent* entry = readdir(stream.get())) {
        entries.push_back({entry->d_name, entry->d_ino});
    }
    return entries;
}

}  // namespace pellux

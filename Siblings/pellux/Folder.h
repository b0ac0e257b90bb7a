// The folder that the user's processes meet in. It is the service's only directory: a name in it
// is a publication, and the file system's atomic operations on names are the service's own.
#pragma once

#include <sys/types.h>

#include <compare>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Handles.h"

namespace pellux {

/// Names a file whatever it is called at the moment. Unique for as long as the file is open or
/// mapped anywhere.
struct FileId {
    dev_t device = 0;
    ino_t inode = 0;

    friend auto operator<=>(const FileId&, const FileId&) = default;
};

struct FolderEntry {
    std::string name;
    ino_t inode = 0;
};

/// Functions that return int return 0, or the errno of what went wrong. Links are never followed.
class Folder {
  public:
    explicit Folder(Descriptor inDirectory) : directory_(std::move(inDirectory)) {}

    /// The folder that PELLUX_FOLDER names, else the user's own one in the machine's shared memory,
    /// made when it does not exist. Null unless it is a real directory that belongs to this user
    /// and is open to no one else.
    static std::unique_ptr<Folder> Open();

    /// Never waits, not even for the other end of a pipe. Empty with errno set on failure.
    Descriptor OpenFile(const std::string& inName, Access inAccess) const;

    /// A new file that only this user may use. Empty with errno set on failure.
    Descriptor CreateFile(const std::string& inName) const;

    /// EEXIST when the new name is taken; nothing is changed then.
    int Rename(const std::string& inFrom, const std::string& inTo) const;

    /// A second name for an open file. EEXIST when it is taken, ENOENT when the file has no name
    /// left.
    int Link(const Descriptor& inFile, const std::string& inName) const;

    /// A directory goes with all that is in it.
    int Remove(const std::string& inName) const;

    /// As Remove, but ESTALE when the name meanwhile leads to another file.
    int RemoveIf(const std::string& inName, const FileId& inFile) const;

    /// What the name leads to, if it exists.
    std::optional<FileId> Identify(const std::string& inName) const;

    std::vector<FolderEntry> List() const;

    const Descriptor& Directory() const { return directory_; }

  private:
    Descriptor directory_;
};

}  // namespace pellux

#include "Segment.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace pellux {
namespace {

constexpr mode_t kOthersBits = 0077;
constexpr std::uint64_t kBlockBytes = 512;  // the unit of st_blocks
// A signal makes the reservation in progress start over, so it goes in steps.
constexpr std::uint64_t kReservationStep = 16 << 20;

int Lock(const Descriptor& inFile, int inCommand, struct flock& ioLock) {
    ioLock.l_whence = SEEK_SET;
    return fcntl(inFile.Number(), inCommand, &ioLock);
}

// Asking first spares the others on this machine a moment without memory.
bool HasSpace(const Descriptor& inFile, std::uint64_t inSize) {
    struct statvfs space {};
    if (fstatvfs(inFile.Number(), &space) != 0 || space.f_blocks == 0) return true;
    return inSize / space.f_frsize < space.f_bavail;
}

// Growing a file beyond this limit raises a signal.
bool IsAllowedFileSize(std::uint64_t inSize) {
    struct rlimit limit {};
    return getrlimit(RLIMIT_FSIZE, &limit) != 0 || inSize <= limit.rlim_cur;
}

// Unused mappings in other processes would keep the memory of a file that nobody can reach. The
// header stays, for them to see that the file is gone.
void FreeRoom(const Descriptor& inFile, std::uint64_t inSize) {
    const Content freed = Content::kFreed;
    if (pwrite(inFile.Number(), &freed, sizeof(freed), offsetof(Header, content)) < 0) return;
    const std::uint64_t header = HeaderBytes();
    if (inSize <= header) return;
    fallocate(inFile.Number(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
              static_cast<off_t>(header), static_cast<off_t>(inSize - header));
}

// Returns whether the file has no name.
bool FreeRoomIfUnreachable(const Descriptor& inFile) {
    const std::optional<FileFacts> facts = Examine(inFile);
    if (!facts || facts->nameCount > 0) return false;
    if (IsHeldByOthers(inFile) || !ReadHeader(inFile)) return true;
    // A reader's descriptor does not allow this.
    const Descriptor writable = Reopen(inFile, Access::kReadWrite);
    if (writable) FreeRoom(writable, facts->size);
    return true;
}

}  // namespace

std::uint64_t HeaderBytes() {
    static const auto pageSize = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return pageSize;
}

std::optional<FileFacts> Examine(const Descriptor& inFile) {
    static const uid_t user = geteuid();
    struct stat status {};
    if (fstat(inFile.Number(), &status) != 0) return std::nullopt;
    if (!S_ISREG(status.st_mode) || status.st_uid != user) return std::nullopt;
    if ((status.st_mode & kOthersBits) != 0) return std::nullopt;
    FileFacts facts;
    facts.id = {status.st_dev, status.st_ino};
    facts.size = static_cast<std::uint64_t>(status.st_size);
    facts.occupied = static_cast<std::uint64_t>(status.st_blocks) * kBlockBytes;
    facts.nameCount = status.st_nlink;
    return facts;
}

std::optional<Header> ReadHeader(const Descriptor& inFile) {
    Header header;
    if (pread(inFile.Number(), &header, sizeof(header), 0) != sizeof(header)) return std::nullopt;
    if (header.mark != Header::kMark) return std::nullopt;
    return header;
}

bool DescribesData(const Header& inHeader, const FileFacts& inFile) {
    if (inHeader.layout != Header::kLayout || inHeader.content != Content::kData) return false;
    // A file with holes would ask for memory, perhaps in vain, when its data is looked at.
    if (inFile.size < HeaderBytes() || inFile.occupied < inFile.size) return false;
    return inHeader.size > 0 && inHeader.size <= inFile.size - HeaderBytes();
}

bool DescribesError(const Header& inHeader) {
    return inHeader.layout == Header::kLayout && inHeader.content == Content::kError;
}

int ReserveRoom(const Descriptor& inFile, std::uint64_t inSize) {
    if (!IsAllowedFileSize(inSize)) return EFBIG;
    if (!HasSpace(inFile, inSize)) return ENOSPC;
    for (std::uint64_t done = 0; done < inSize;) {
        const std::uint64_t step = std::min(inSize - done, kReservationStep);
        if (fallocate(inFile.Number(), 0, static_cast<off_t>(done), static_cast<off_t>(step)) ==
            0) {
            done += step;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

bool Hold(const Descriptor& inFile) {
    struct flock lock {};
    lock.l_type = F_RDLCK;
    return Lock(inFile, F_OFD_SETLK, lock) == 0;
}

bool IsHeldByOthers(const Descriptor& inFile) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    return Lock(inFile, F_OFD_GETLK, lock) != 0 || lock.l_type != F_UNLCK;
}

bool LetGo(Descriptor inFile) {
    // Close, then look: of two that let go at the same moment, the later one sees that it is last.
    // To unlock instead would end the hold of a forked child that shares the descriptor.
    const Descriptor again = Reopen(inFile, Access::kRead);
    inFile = Descriptor();
    return again && FreeRoomIfUnreachable(again);
}

void Discard(const Folder& inFolder, const std::string& inName, const FileId& inFile) {
    const Descriptor file = inFolder.OpenFile(inName, Access::kRead);
    inFolder.RemoveIf(inName, inFile);
    if (file) FreeRoomIfUnreachable(file);
}

}  // namespace pellux

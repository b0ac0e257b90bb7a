// One file of shared memory: a page of header, then the data. The service reserves all of a file's
// memory when it makes it and never changes its size afterwards, so nothing that clients do, and
// no lack of memory, makes a mapping of it fault.
//
// That is no promise about other programs of the same user, who may open the files like any other
// file of his. One that truncates a file while it is mapped, or punches holes into it where there
// is no memory left to fill them, ends publisher and receivers with SIGBUS as soon as they touch
// what is missing: the kernel gives no way to forbid it for files with names. One that writes into
// a file changes what its readers see. A file that is damaged before it is opened does no harm:
// what does not fit is not taken for data.
//
// Who uses a file holds a shared lock on a descriptor of his own. The kernel lets go of the lock
// when its holder dies, whatever the way, and the lock of an inherited descriptor lasts until the
// child has closed it too. So "held" always means that somebody still has the bytes before him.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Folder.h"
#include "Handles.h"
#include "Names.h"

namespace pellux {

enum class Content : std::uint32_t {
    kUndefined = 0,  ///< being filled, or waiting for reuse
    kData = 1,
    kError = 2,  ///< a generation error; the file is its header alone
    kFreed = 3,  ///< has lost its names and given back its memory
};

/// The first bytes of every file of the service. The mark and the owner are written before the
/// file can be found under a Guid and stay as they are.
struct Header {
    static constexpr std::uint64_t kMark = 0x31'58'55'4C'4C'45'50'89;  // "\x89PELLUX1"
    static constexpr std::uint32_t kLayout = 1;

    std::uint64_t mark = kMark;
    std::uint32_t layout = kLayout;
    std::uint32_t ownerProcess = 0;
    std::uint64_t ownerSalt = 0;
    Content content = Content::kUndefined;
    std::int32_t errorCode = 0;
    std::uint64_t size = 0;  ///< bytes of data
    Guid guid;               ///< the first name; any other is an alias

    ClientId Owner() const { return {ownerProcess, ownerSalt}; }
};
static_assert(sizeof(Header) == 56);

/// Bytes in front of the data: one page, so that the data is aligned to a page.
std::uint64_t HeaderBytes();

/// What can be told about an open file without its header.
struct FileFacts {
    FileId id;
    std::uint64_t size = 0;
    std::uint64_t occupied = 0;  ///< bytes of memory reserved for it
    std::uint64_t nameCount = 0;
};

/// Nothing unless it is an ordinary file of this user that is open to no one else.
std::optional<FileFacts> Examine(const Descriptor& inFile);

/// Nothing unless the file starts with the service's mark.
std::optional<Header> ReadHeader(const Descriptor& inFile);

/// Whether the header describes data that the file has, in a layout known here.
bool DescribesData(const Header& inHeader, const FileFacts& inFile);

/// Whether the header describes a generation error in a layout known here.
bool DescribesError(const Header& inHeader);

/// Gives the file this size with all its memory reserved. Returns 0 or the errno; ENOSPC or EFBIG
/// when there is no room.
int ReserveRoom(const Descriptor& inFile, std::uint64_t inSize);

/// Holds the file through this descriptor until it is closed here and in every forked child.
bool Hold(const Descriptor& inFile);

/// Whether anyone holds the file through another descriptor.
bool IsHeldByOthers(const Descriptor& inFile);

/// Ends this process's hold. True when the file has no name any more, so that nobody can come back
/// to it; the last one to let go of such a file frees its memory, even if unused mappings of it
/// remain.
bool LetGo(Descriptor inFile);

/// Takes the name away, if it still leads to that file. The file's memory is freed at once when
/// this was its last name and nobody holds it.
void Discard(const Folder& inFolder, const std::string& inName, const FileId& inFile);

}  // namespace pellux

#include "Liveness.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include "Segment.h"

namespace pellux {
namespace {

using namespace std::chrono_literals;

constexpr int kBeginAttempts = 100;
constexpr auto kSweepPatience = 1s;
constexpr auto kSweepRetryInterval = 5ms;
// Others may make aliases of a dead client's data until its last name has gone.
constexpr int kMaxSweepPasses = 4;

bool TryLock(const Descriptor& inFile) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(inFile.Number(), F_SETLK, &lock) == 0;
}

bool IsLocked(const Descriptor& inFile) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(inFile.Number(), F_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

// Errors of this process's own making; they say nothing about the file.
bool IsOwnTrouble(int inError) {
    return inError == EMFILE || inError == ENFILE || inError == ENOMEM || inError == EINTR;
}

bool IsRunning(const Folder& inFolder, const ClientId& inClient) {
    const Descriptor file = inFolder.OpenFile(ClientName(inClient), Access::kReadWrite);
    return file ? IsLocked(file) : IsOwnTrouble(errno);
}

using Decision = std::function<bool(const ClientId&)>;

// The file that a publication's name leads to, if it is to be removed: its owner is not among the
// living, or it has none. An alias goes with its mark.
std::optional<FileId> FindRemovable(const Folder& inFolder, const FolderEntry& inEntry,
                                    const AliasMakers& inMakers, bool inIncludingOwnerless,
                                    const Decision& inIsDoomed) {
    const std::optional<FileId> found = inFolder.Identify(inEntry.name);
    if (!found || !inMakers.Find(ParseName(inEntry.name).guid, found->inode).empty()) return {};
    const Descriptor file = inFolder.OpenFile(inEntry.name, Access::kRead);
    if (!file && (errno == ENOENT || IsOwnTrouble(errno))) return std::nullopt;
    std::optional<Header> header;
    if (file) {
        // Between the two calls the name may have gone to another file, of someone alive.
        const std::optional<FileFacts> facts = Examine(file);
        if (facts && facts->id != *found) return std::nullopt;
        if (facts) header = ReadHeader(file);
    }
    const bool isRemovable = header ? inIsDoomed(header->Owner()) : inIncludingOwnerless;
    return isRemovable ? found : std::nullopt;
}

// The name first: a publication that has lost its mark would be taken for the first publisher's.
void RemoveAlias(const Folder& inFolder, const FolderEntry& inMark, const AliasMakers& inMakers,
                 const Decision& inIsDoomed) {
    const std::optional<FileId> file = inFolder.Identify(inMark.name);
    if (!file) return;
    const Guid guid = ParseName(inMark.name).guid;
    const std::vector<ClientId> makers = inMakers.Find(guid, file->inode);
    if (std::all_of(makers.begin(), makers.end(), inIsDoomed)) {
        inFolder.RemoveIf(PublicationName(guid), *file);
    }
    Discard(inFolder, inMark.name, *file);
}

// Removes the publications, aliases and segments of doomed clients; returns whether there were any.
bool RemoveFiles(const Folder& inFolder, const std::vector<FolderEntry>& inEntries,
                 bool inIncludingOwnerless, const Decision& inIsDoomed) {
    const AliasMakers makers(inFolder);
    bool hasRemoved = false;
    for (const FolderEntry& entry : inEntries) {
        const ParsedName parsed = ParseName(entry.name);
        std::optional<FileId> removable;
        if (parsed.kind == NameKind::kAliasMark && inIsDoomed(parsed.client)) {
            RemoveAlias(inFolder, entry, makers, inIsDoomed);
            hasRemoved = true;
        } else if (parsed.kind == NameKind::kSegment && inIsDoomed(parsed.client)) {
            removable = inFolder.Identify(entry.name);
        } else if (parsed.kind == NameKind::kPublication) {
            removable = FindRemovable(inFolder, entry, makers, inIncludingOwnerless, inIsDoomed);
        }
        if (!removable) continue;
        Discard(inFolder, entry.name, *removable);
        hasRemoved = true;
    }
    return hasRemoved;
}

// What is called so and is no file of the service's can be locked by nobody.
Descriptor OpenSweepFile(const Folder& inFolder) {
    if (Descriptor file = inFolder.CreateFile(kSweepName)) return file;
    const std::optional<FileId> found = inFolder.Identify(kSweepName);
    Descriptor file = inFolder.OpenFile(kSweepName, Access::kReadWrite);
    if (!found || (file ? Examine(file).has_value() : IsOwnTrouble(errno))) return file;
    inFolder.RemoveIf(kSweepName, *found);
    return inFolder.CreateFile(kSweepName);
}

// Empty when another process keeps at it.
Descriptor TakeSweepLock(const Folder& inFolder) {
    const auto end = std::chrono::steady_clock::now() + kSweepPatience;
    Descriptor file = OpenSweepFile(inFolder);
    while (file && !TryLock(file)) {
        if (std::chrono::steady_clock::now() > end) return {};
        std::this_thread::sleep_for(kSweepRetryInterval);
    }
    return file;
}

}  // namespace

std::unique_ptr<Liveness> Liveness::Begin(const Folder& inFolder) {
    for (int attempt = 0; attempt < kBeginAttempts; ++attempt) {
        const ClientId id = ClientId::Generate();
        Descriptor file = inFolder.CreateFile(ClientName(id));
        if (!file) return nullptr;
        if (!TryLock(file)) continue;
        // Before it was locked, the file may have been taken for a dead client's.
        const std::optional<FileFacts> facts = Examine(file);
        if (facts && inFolder.Identify(ClientName(id)) == facts->id) {
            return std::make_unique<Liveness>(id, std::move(file));
        }
    }
    return nullptr;
}

bool Liveness::IsVisible() const {
    const std::optional<FileFacts> facts = Examine(file_);
    return !facts || facts->nameCount > 0;
}

AliasMakers::AliasMakers(const Folder& inFolder) {
    for (const FolderEntry& entry : inFolder.List()) {
        const ParsedName parsed = ParseName(entry.name);
        if (parsed.kind != NameKind::kAliasMark) continue;
        marks_.emplace(parsed.guid, Mark{parsed.client, entry.inode});
    }
}

std::vector<ClientId> AliasMakers::Find(const Guid& inGuid, ino_t inFile) const {
    std::vector<ClientId> makers;
    const auto [first, last] = marks_.equal_range(inGuid);
    for (auto each = first; each != last; ++each) {
        if (each->second.file == inFile) makers.push_back(each->second.maker);
    }
    return makers;
}

void RemoveEverythingOf(const Folder& inFolder, const ClientId& inClient) {
    const Decision isThisOne = [&](const ClientId& inId) { return inId == inClient; };
    for (int pass = 0; pass < kMaxSweepPasses; ++pass) {
        if (!RemoveFiles(inFolder, inFolder.List(), false, isThisOne)) break;
    }
    inFolder.Remove(ClientName(inClient));
}

void RemoveLeftovers(const Folder& inFolder, const ClientId& inOwnClient) {
    const Descriptor lock = TakeSweepLock(inFolder);
    if (!lock) return;
    // A client found dead stays dead: its identity is never used again.
    std::map<ClientId, bool> isDead{{inOwnClient, false}};
    const Decision isDoomed = [&](const ClientId& inId) {
        const auto [known, isNew] = isDead.try_emplace(inId, false);
        if (isNew) known->second = !IsRunning(inFolder, inId);
        return known->second;
    };
    std::vector<FolderEntry> entries = inFolder.List();
    for (int pass = 0; pass < kMaxSweepPasses; ++pass) {
        if (!RemoveFiles(inFolder, entries, true, isDoomed)) break;
        entries = inFolder.List();
    }
    for (const FolderEntry& entry : entries) {
        const ParsedName parsed = ParseName(entry.name);
        if (parsed.kind == NameKind::kClient && isDoomed(parsed.client)) {
            inFolder.Remove(entry.name);
        }
    }
}

}  // namespace pellux

#include "Client.h"

#include <algorithm>
#include <cerrno>
#include <set>

namespace pellux {

using processcoordination::kNotAvailable;
using processcoordination::kNotInitialized;
using processcoordination::kSuccess;
using processcoordination::kSystemFailure;
using processcoordination::kTimedOut;
using processcoordination::Publication;

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// How long a waiter may miss that its own client was stopped.
constexpr std::chrono::milliseconds kWaitSlice = 500ms;

std::chrono::milliseconds RemainingUntil(Clock::time_point inEnd) {
    return std::chrono::ceil<std::chrono::milliseconds>(inEnd - Clock::now());
}

std::optional<Publication> Describe(const Folder& inFolder, const std::string& inName,
                                    const Guid& inGuid, const AliasMakers& inMakers) {
    const Descriptor file = inFolder.OpenFile(inName, Access::kRead);
    if (!file) return std::nullopt;
    const std::optional<FileFacts> facts = Examine(file);
    const std::optional<Header> header = facts ? ReadHeader(file) : std::nullopt;
    if (!header) return std::nullopt;
    const bool isError = DescribesError(*header);
    if (!isError && !DescribesData(*header, *facts)) return std::nullopt;
    Publication publication;
    publication.guid = inGuid;
    const std::vector<ClientId> makers = inMakers.Find(inGuid, facts->id.inode);
    publication.process = makers.empty() ? header->ownerProcess : makers.front().process;
    publication.size = isError ? 0 : header->size;
    publication.errorCode = isError ? header->errorCode : 0;
    publication.isAlias = !(header->guid == inGuid);
    return publication;
}

}  // namespace

void OwnPublications::Add(Table&& inPublication) {
    const std::lock_guard lock(mutex_);
    table_.merge(inPublication);
}

void OwnPublications::Remove(const Guid& inGuid) {
    const std::lock_guard lock(mutex_);
    table_.erase(inGuid);
}

processcoordination::BinaryReferencePtr OwnPublications::Find(const Guid& inGuid) {
    const std::lock_guard lock(mutex_);
    const auto found = table_.find(inGuid);
    return found != table_.end() ? found->second.lock() : nullptr;
}

std::shared_ptr<Client> Client::Start(std::uint64_t inRetainedBytesLimit) {
    std::unique_ptr<Folder> folder = Folder::Open();
    if (!folder) return nullptr;
    std::unique_ptr<Liveness> liveness = Liveness::Begin(*folder);
    if (!liveness) return nullptr;
    RemoveLeftovers(*folder, liveness->Client());
    return std::make_shared<Client>(std::move(folder), std::move(liveness), inRetainedBytesLimit);
}

Client::Client(std::unique_ptr<Folder> inFolder, std::unique_ptr<Liveness> inLiveness,
               std::uint64_t inRetainedBytesLimit)
    : folder_(std::move(inFolder)),
      liveness_(std::move(inLiveness)),
      publisher_(*folder_, liveness_->Client(), inRetainedBytesLimit),
      reader_(*folder_) {}

void Client::Stop() noexcept {
    isStopped_ = true;
    publisher_.Stop();
    try {
        RemoveEverythingOf(*folder_, liveness_->Client());
    } catch (const std::bad_alloc&) {
        // Those who start later find that nobody holds the client's file, and remove what is left.
    }
}

Status Client::Get(const Guid& inGuid, std::shared_ptr<HeldData>& outData,
                   std::int32_t& outErrorCode) {
    return reader_.Get(PublicationName(inGuid), outData, outErrorCode);
}

Status Client::Wait(const Guid& inGuid, Clock::time_point inEnd, std::shared_ptr<HeldData>& outData,
                    std::int32_t& outErrorCode) {
    const std::string name = PublicationName(inGuid);
    Status status = reader_.Get(name, outData, outErrorCode);
    if (status != kNotAvailable) return status;
    Watcher watcher = watchers_.Begin(*folder_);
    for (;;) {
        // Only now: what came before the watch began is not reported by it.
        status = reader_.Get(name, outData, outErrorCode);
        if (status != kNotAvailable) break;
        if (IsLost()) break;
        const std::chrono::milliseconds remaining = RemainingUntil(inEnd);
        status = isStopped_ ? kNotInitialized : kTimedOut;
        if (isStopped_ || remaining <= 0ms) break;
        watcher.Wait(std::min(remaining, kWaitSlice));
    }
    watchers_.End(std::move(watcher));
    return status;
}

std::vector<Publication> Client::List() const {
    std::vector<Publication> publications;
    const std::vector<FolderEntry> entries = folder_->List();
    const AliasMakers makers(*folder_);
    for (const FolderEntry& entry : entries) {
        const ParsedName parsed = ParseName(entry.name);
        if (parsed.kind != NameKind::kPublication) continue;
        if (const auto publication = Describe(*folder_, entry.name, parsed.guid, makers)) {
            publications.push_back(*publication);
        }
    }
    return publications;
}

std::uint64_t Client::CountBytes() const {
    std::uint64_t bytes = 0;
    std::set<FileId> counted;  // an alias takes no room of its own
    for (const FolderEntry& entry : folder_->List()) {
        const NameKind kind = ParseName(entry.name).kind;
        if (kind != NameKind::kPublication && kind != NameKind::kSegment) continue;
        const Descriptor file = folder_->OpenFile(entry.name, Access::kRead);
        const std::optional<FileFacts> facts = file ? Examine(file) : std::nullopt;
        if (facts && counted.insert(facts->id).second) bytes += facts->occupied;
    }
    return bytes;
}

}  // namespace pellux

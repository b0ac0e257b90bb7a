#include "Reader.h"

#include <cerrno>
#include <cstddef>
#include <utility>

namespace pellux {

using processcoordination::kGenerationFailed;
using processcoordination::kNotAvailable;
using processcoordination::kSuccess;
using processcoordination::kSystemFailure;

namespace {

// Mappings that nobody holds cost address space and page tables; their memory is the publishers'.
constexpr std::uint64_t kMaxKeptBytes = std::uint64_t{4} << 30;
constexpr std::size_t kMaxKeptMappings = 16384;  // of some 65,000 that the system allows
// What was freed is not used again and so comes to the front of the list by itself.
constexpr std::size_t kTrimmedPerCall = 16;
// How often a name may turn out to lead elsewhere before the data counts as gone.
constexpr int kAttempts = 100;

bool IsOwnTrouble(int inError) {
    return inError == EMFILE || inError == ENFILE || inError == ENOMEM || inError == ENOLCK;
}

// Another process writes the mark that this reads.
bool IsFreed(const Memory& inMemory) {
    const std::byte* content = inMemory.Start() + offsetof(Header, content);
    return *reinterpret_cast<const volatile Content*>(content) == Content::kFreed;
}

}  // namespace

// ---- Held data ----------------------------------------------------------------------------------

HeldData::HeldData(const FileId& inFile, Descriptor inHold, std::shared_ptr<const Memory> inMemory,
                   std::uint64_t inSize, std::weak_ptr<MappingCache> inCache)
    : file_(inFile),
      hold_(std::move(inHold)),
      memory_(std::move(inMemory)),
      size_(inSize),
      cache_(std::move(inCache)) {}

HeldData::~HeldData() {
    // In a child, the lock and the cache are the parent's; closing the descriptor takes nothing
    // from it.
    if (process_.IsInherited()) return;
    const bool isNameless = LetGo(std::move(hold_));
    if (!isNameless) return;
    if (const std::shared_ptr<MappingCache> cache = cache_.lock()) cache->Forget(file_);
}

// ---- Mappings -----------------------------------------------------------------------------------

std::shared_ptr<HeldData> MappingCache::FindHeld(const FileId& inFile) {
    const std::lock_guard lock(mutex_);
    const Entry* entry = Find(inFile);
    return entry != nullptr ? entry->held.lock() : nullptr;
}

std::shared_ptr<const Memory> MappingCache::Map(const FileId& inFile,
                                                const Descriptor& inDescriptor,
                                                std::uint64_t inFileSize) {
    {
        const std::lock_guard lock(mutex_);
        const Entry* entry = Find(inFile);
        if (entry != nullptr && entry->memory->Size() == inFileSize) return entry->memory;
    }
    auto memory = std::make_shared<const Memory>(inDescriptor, inFileSize, Access::kRead);
    if (!*memory) return nullptr;
    Entries dropped;  // unmapped when the lock is no longer held
    const std::lock_guard lock(mutex_);
    if (Find(inFile) != nullptr) return memory;  // another thread was faster
    Entries added{{inFile, memory, {}}};
    index_[inFile] = added.begin();  // the last step that can fail
    entries_.splice(entries_.end(), added);
    bytes_ += inFileSize;
    Trim(dropped);
    return memory;
}

void MappingCache::SetHeld(const FileId& inFile, const std::shared_ptr<HeldData>& inHeld) {
    const std::lock_guard lock(mutex_);
    if (Entry* entry = Find(inFile)) entry->held = inHeld;
}

void MappingCache::Forget(const FileId& inFile) {
    Entries dropped;
    const std::lock_guard lock(mutex_);
    const auto found = index_.find(inFile);
    if (found == index_.end() || !found->second->held.expired()) return;
    bytes_ -= found->second->memory->Size();
    dropped.splice(dropped.end(), entries_, found->second);
    index_.erase(found);
}

// With the lock held; makes it the entry used last.
MappingCache::Entry* MappingCache::Find(const FileId& inFile) {
    const auto found = index_.find(inFile);
    if (found == index_.end()) return nullptr;
    entries_.splice(entries_.end(), entries_, found->second);
    return &*found->second;
}

// With the lock held: lets go of what was freed, and of the longest unused beyond the bound.
void MappingCache::Trim(Entries& outDropped) {
    const auto isTooMuch = [this] {
        return bytes_ > kMaxKeptBytes || entries_.size() > kMaxKeptMappings;
    };
    auto next = entries_.begin();
    const std::size_t count = entries_.size() - 1;  // the last is the one just made
    for (std::size_t i = 0; i < count && (i < kTrimmedPerCall || isTooMuch()); ++i) {
        const auto entry = next++;
        if (!entry->held.expired()) {
            entries_.splice(std::prev(entries_.end()), entries_, entry);
        } else if (isTooMuch() || IsFreed(*entry->memory)) {
            bytes_ -= entry->memory->Size();
            index_.erase(entry->file);
            outDropped.splice(outDropped.end(), entries_, entry);
        }
    }
}

// ---- Getting ------------------------------------------------------------------------------------

Status Reader::Get(const std::string& inName, std::shared_ptr<HeldData>& outData,
                   std::int32_t& outErrorCode) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        Descriptor file = folder_.OpenFile(inName, Access::kRead);
        if (!file) return IsOwnTrouble(errno) ? kSystemFailure : kNotAvailable;
        const std::optional<FileFacts> facts = Examine(file);
        if (!facts) return kNotAvailable;
        if (std::shared_ptr<HeldData> held = mappings_->FindHeld(facts->id)) {
            outData = std::move(held);
            return kSuccess;
        }
        if (!Hold(file)) return IsOwnTrouble(errno) ? kSystemFailure : kNotAvailable;
        // The publisher may have taken the segment back before it was held.
        if (folder_.Identify(inName) != facts->id) continue;
        const std::optional<Header> header = ReadHeader(file);
        if (!header) return kNotAvailable;
        if (DescribesError(*header)) {
            outErrorCode = header->errorCode;
            return kGenerationFailed;
        }
        if (!DescribesData(*header, *facts)) return kNotAvailable;
        outData = MakeHeld(std::move(file), *facts, header->size);
        return outData ? kSuccess : kSystemFailure;
    }
    return kNotAvailable;
}

std::shared_ptr<HeldData> Reader::MakeHeld(Descriptor inFile, const FileFacts& inFacts,
                                           std::uint64_t inSize) {
    std::shared_ptr<const Memory> memory = mappings_->Map(inFacts.id, inFile, inFacts.size);
    if (!memory) return nullptr;
    auto held = std::make_shared<HeldData>(inFacts.id, std::move(inFile), std::move(memory), inSize,
                                           mappings_);
    mappings_->SetHeld(inFacts.id, held);
    return held;
}

}  // namespace pellux

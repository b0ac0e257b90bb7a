// The publishing half of a client: its shared memory, what it has published, and what is kept.
//
// A segment goes round: it is being written; published under a Guid; evicted, when the bound asks
// for it and nobody holds it; idle; written again. Fresh shared memory costs several times a copy
// of the same bytes, so a steady stream must find its segments here.
//
// Whatever can fail for want of memory comes before the renaming that shows the data to all: the
// tables take nodes that were made before. So a call that fails has published nothing, and what
// is published is in the tables.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Folder.h"
#include "Handles.h"
#include "Names.h"
#include "Segment.h"
#include "contracts/Pellux.h"

namespace pellux {

using processcoordination::Status;

/// Shared memory of this client, mapped for writing.
struct Segment {
    std::string ownName;  ///< its file's name whenever it is not published
    FileId file;
    Memory memory;

    int countedNames = 0;  ///< of its publications that count against the bound

    std::uint64_t FileSize() const { return memory.Size(); }
    Header& FileHeader() const { return *reinterpret_cast<Header*>(memory.Start()); }
};

/// Shared, since one that is published may be looked at by its writer after a stop.
using Segments = std::list<std::shared_ptr<Segment>>;

/// A segment that is being filled or looked at through a writable reference. Its descriptor holds
/// the file, as a reader's would.
struct WritableSegment {
    Segments segment;  ///< one, or none where there is nothing to give back
    Descriptor hold;
    std::uint64_t size = 0;
    bool isPublished = false;

    Segment& Get() const { return *segment.front(); }
};

/// Any thread may call any function.
class Publisher {
  public:
    Publisher(const Folder& inFolder, const ClientId& inClient, std::uint64_t inRetainedBytesLimit)
        : folder_(inFolder), client_(inClient), retainedBytesLimit_(inRetainedBytesLimit) {}

    Status Allocate(std::uint64_t inSize, WritableSegment& outSegment);

    Status Publish(const Guid& inGuid, WritableSegment& ioSegment);

    /// A further name for a file that this process holds; it stays as long as if its data had been
    /// published by this client.
    Status MakeAlias(const Descriptor& inFile, const Guid& inAlias);

    Status PublishError(const Guid& inGuid, std::int32_t inErrorCode);

    /// Ends the writing. What was never published is kept for reuse.
    void GiveBack(WritableSegment inSegment) noexcept;

    void SetRetainedBytesLimit(std::uint64_t inBytes);

    /// Forgets everything and refuses from now on. The files are the caller's to remove.
    void Stop();

  private:
    struct Publication {
        std::string name;
        std::string aliasMark;  // empty for the first name of a segment
        FileId file;
        std::uint64_t size = 0;
        Segments segment;  // none for an alias of another process's data
    };
    struct PublishedError {
        std::string name;
        FileId file;
    };
    using Age = std::uint64_t;
    using Publications = std::map<Age, Publication>;  // oldest first

    /// Segments that have left the tables; their files go when the lock is no longer held.
    class Discards;

    enum class Eviction { kHeld, kIdle, kRetiring, kGone };

    // With the lock held.
    Segments FindForReuse(std::uint64_t inSize, Discards& outDiscards);
    Segments TakeIdle(std::uint64_t inSize);
    Segments FindOwn(const FileId& inFile) const;
    void Add(Publications&& inPublication);
    void AddIdle(Segments&& inSegment);
    void Count(const Publication& inPublication);
    void StopCounting(const Publication& inPublication);
    void DropIdle(Discards& outDiscards);
    bool RelieveOldest(Age inSpared);
    void ExamineHeld();
    void ExamineRetiring();
    bool WouldExceed(std::uint64_t inMoreBytes) const;
    void KeepWithinBound(Age inSpared, Discards& outDiscards);

    // With or without it.
    Eviction Evict(const Publication& inPublication) const;

    // Without it.
    Segments TakeForReuse(std::uint64_t inSize);
    bool HoldAgain(WritableSegment& ioSegment) const;
    Status Create(WritableSegment& ioSegment);
    int TryCreate(WritableSegment& ioSegment);
    bool BeginWriting(const Segment& inSegment);
    bool DropAllIdle();
    std::string NewName();

    const Folder& folder_;
    const ClientId client_;

    std::atomic<std::uint64_t> nextNumber_{0};

    std::mutex mutex_;
    bool isStopped_ = false;
    std::uint64_t retainedBytesLimit_;
    Age nextAge_ = 1;
    Publications published_;  // thought to be without holders; these count against the bound
    Publications held_;       // had a holder when they were last looked at
    Age lastExamined_ = 0;
    Segments idle_;      // the longest unused first
    Segments retiring_;  // evicted, but a reader had slipped in or there are aliases
    std::list<PublishedError> errors_;
    std::uint64_t publishedBytes_ = 0;
    std::uint64_t idleBytes_ = 0;
    std::uint64_t writtenBytes_ = 0;  // of segments that are being written
};

}  // namespace pellux

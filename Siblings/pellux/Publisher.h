// The publishing half of a client: its shared memory, what it has published, and what is kept.
//
// A segment goes round: it is being written; published under a Guid; evicted, when the bound asks
// for it and nobody holds it; idle; written again. Fresh shared memory costs several times a copy
// of the same bytes, so a steady stream must find its segments here.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

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

    std::uint64_t FileSize() const { return memory.Size(); }
    Header& FileHeader() const { return *reinterpret_cast<Header*>(memory.Start()); }
};

/// A segment that is being filled or looked at through a writable reference. Its descriptor holds
/// the file, as a reader's would.
struct WritableSegment {
    std::shared_ptr<Segment> segment;
    Descriptor hold;
    std::uint64_t size = 0;
    bool isPublished = false;
};

/// Any thread may call any function.
class Publisher {
  public:
    Publisher(const Folder& inFolder, const ClientId& inClient, std::uint64_t inRetainedBytesLimit)
        : folder_(inFolder), client_(inClient), retainedBytesLimit_(inRetainedBytesLimit) {}

    Status Allocate(std::uint64_t inSize, WritableSegment& outSegment);

    Status Publish(const Guid& inGuid, WritableSegment& ioSegment);

    Status PublishError(const Guid& inGuid, std::int32_t inErrorCode);

    /// Ends the writing. What was never published is kept for reuse.
    void GiveBack(WritableSegment inSegment);

    void SetRetainedBytesLimit(std::uint64_t inBytes);

    /// Forgets everything and refuses from now on. The files are the caller's to remove.
    void Stop();

  private:
    struct Publication {
        std::string name;
        std::shared_ptr<Segment> segment;
    };
    struct PublishedError {
        std::string name;
        FileId file;
    };
    using Age = std::uint64_t;
    using Publications = std::map<Age, Publication>;  // oldest first

    /// Segments that have left the tables; their files go when the lock is no longer held.
    class Discards;

    enum class Eviction { kHeld, kIdle, kRetiring, kLost };

    // With the lock held.
    std::shared_ptr<Segment> FindForReuse(std::uint64_t inSize, Discards& outDiscards);
    std::shared_ptr<Segment> TakeIdle(std::uint64_t inSize);
    void AddIdle(std::shared_ptr<Segment> inSegment);
    void DropIdle(Discards& outDiscards);
    bool RelieveOldest(Age inSpared);
    void ExamineHeld();
    void ExamineRetiring();
    bool WouldExceed(std::uint64_t inMoreBytes) const;
    void KeepWithinBound(Age inSpared, Discards& outDiscards);

    // With or without it.
    Eviction Evict(const Publication& inPublication) const;
    bool IsReusable(const Segment& inSegment, const Descriptor& inFile) const;
    void RemoveAliases(const Segment& inSegment) const;

    // Without it.
    std::shared_ptr<Segment> TakeForReuse(std::uint64_t inSize);
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
    std::list<std::shared_ptr<Segment>> idle_;      // the longest unused first
    std::list<std::shared_ptr<Segment>> retiring_;  // evicted, but a reader had slipped in
    std::list<PublishedError> errors_;
    std::uint64_t publishedBytes_ = 0;
    std::uint64_t idleBytes_ = 0;
    std::uint64_t writtenBytes_ = 0;  // of segments that are being written
};

}  // namespace pellux

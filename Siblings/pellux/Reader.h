// The receiving half of a client: finds publications, holds them, and keeps their mappings.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Folder.h"
#include "Handles.h"
#include "Names.h"
#include "ProcessMark.h"
#include "Segment.h"
#include "contracts/Pellux.h"

namespace pellux {

using processcoordination::Status;

class MappingCache;

/// Data that this process holds and reads. Nobody reuses its bytes before it is destroyed, here
/// and in every forked child that has a copy.
class HeldData {
  public:
    HeldData(const FileId& inFile, Descriptor inHold, std::shared_ptr<const Memory> inMemory,
             std::uint64_t inSize, std::weak_ptr<MappingCache> inCache);
    HeldData(const HeldData&) = delete;
    HeldData& operator=(const HeldData&) = delete;
    ~HeldData();

    const std::byte* Bytes() const { return memory_->Start() + HeaderBytes(); }
    std::uint64_t Size() const { return size_; }
    const Descriptor& File() const { return hold_; }

  private:
    ProcessMark process_;
    FileId file_;
    Descriptor hold_;
    std::shared_ptr<const Memory> memory_;
    std::uint64_t size_;
    std::weak_ptr<MappingCache> cache_;
};

/// Mappings by the files they show. Those that nobody holds are kept for the day when their
/// segment comes back with other data, up to a bound. Any thread may call any function.
///
/// A mapping keeps its file's number from being given to another file, so that the number is a safe
/// key.
class MappingCache {
  public:
    /// What this process already holds of the file, or null.
    std::shared_ptr<HeldData> FindHeld(const FileId& inFile);

    /// The mapping of the whole file, kept or new; null when the system refuses.
    std::shared_ptr<const Memory> Map(const FileId& inFile, const Descriptor& inDescriptor,
                                      std::uint64_t inFileSize);

    void SetHeld(const FileId& inFile, const std::shared_ptr<HeldData>& inHeld);

    /// For a file that nobody can come back to.
    void Forget(const FileId& inFile);

  private:
    struct Entry {
        FileId file;
        std::shared_ptr<const Memory> memory;
        std::weak_ptr<HeldData> held;
    };
    using Entries = std::list<Entry>;  // the longest unused first

    Entry* Find(const FileId& inFile);
    void Trim(Entries& outDropped);

    std::mutex mutex_;
    Entries entries_;
    std::map<FileId, Entries::iterator> index_;
    std::uint64_t bytes_ = 0;
};

/// Any thread may call any function.
class Reader {
  public:
    explicit Reader(const Folder& inFolder) : folder_(inFolder) {}

    /// Holds the data under the name. kGenerationFailed gives the maker's error code.
    Status Get(const std::string& inName, std::shared_ptr<HeldData>& outData,
               std::int32_t& outErrorCode);

  private:
    std::shared_ptr<HeldData> MakeHeld(Descriptor inFile, const FileFacts& inFacts,
                                       std::uint64_t inSize);

    const Folder& folder_;
    const std::shared_ptr<MappingCache> mappings_ = std::make_shared<MappingCache>();
};

}  // namespace pellux

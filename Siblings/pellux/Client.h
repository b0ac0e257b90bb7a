// One start of the service in one process: the folder, the proof of life, and the two halves.
#pragma once

#include <atomic>
#include <boost/weak_ptr.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "Folder.h"
#include "Liveness.h"
#include "ProcessMark.h"
#include "Publisher.h"
#include "Reader.h"
#include "Watcher.h"
#include "contracts/Pellux.h"

namespace pellux {

/// What this process published and still has a writable reference to. When there is no descriptor
/// or no memory for another mapping, it can be given back as it stands. Any thread may call any
/// function.
class OwnPublications {
  public:
    using Reference = boost::weak_ptr<processcoordination::BinaryReference>;
    using Table = std::map<Guid, Reference>;

    /// Takes the one element; nothing here can fail.
    void Add(Table&& inPublication);
    void Remove(const Guid& inGuid);
    /// Null when there is none.
    processcoordination::BinaryReferencePtr Find(const Guid& inGuid);

  private:
    std::mutex mutex_;
    Table table_;
};

/// Any thread may call any function. References keep their client, so that they can be let go of
/// long after it was stopped.
class Client {
  public:
    /// Removes what the dead left behind on the way. Null when the folder is not usable.
    static std::shared_ptr<Client> Start(std::uint64_t inRetainedBytesLimit);

    Client(std::unique_ptr<Folder> inFolder, std::unique_ptr<Liveness> inLiveness,
           std::uint64_t inRetainedBytesLimit);

    /// Withdraws everything that was published.
    void Stop() noexcept;

    /// The folder was deleted, or this client's file in it: nothing that it published is safe, and
    /// another client has to take its place.
    bool IsLost() const { return !liveness_->IsVisible(); }

    /// Whether it is the parent's and this a forked child.
    bool IsInherited() const { return process_.IsInherited(); }

    Publisher& GetPublisher() { return publisher_; }
    OwnPublications& GetOwnPublications() { return ownPublications_; }

    Status Get(const Guid& inGuid, std::shared_ptr<HeldData>& outData, std::int32_t& outErrorCode);

    /// kNotAvailable when the client is lost before the end.
    Status Wait(const Guid& inGuid, std::chrono::steady_clock::time_point inEnd,
                std::shared_ptr<HeldData>& outData, std::int32_t& outErrorCode);

    std::vector<processcoordination::Publication> List() const;

    std::uint64_t CountBytes() const;

  private:
    ProcessMark process_;
    std::unique_ptr<Folder> folder_;
    std::unique_ptr<Liveness> liveness_;
    Publisher publisher_;
    Reader reader_;
    WatcherPool watchers_;
    OwnPublications ownPublications_;
    std::atomic<bool> isStopped_{false};
};

}  // namespace pellux

// One start of the service in one process: the folder, the proof of life, and the two halves.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "Folder.h"
#include "Liveness.h"
#include "ProcessMark.h"
#include "Publisher.h"
#include "Reader.h"
#include "Watcher.h"
#include "contracts/Pellux.h"

namespace pellux {

/// Any thread may call any function. References keep their client, so that they can be let go of
/// long after it was stopped.
class Client {
  public:
    /// Removes what the dead left behind on the way. Null when the folder is not usable.
    static std::shared_ptr<Client> Start(std::uint64_t inRetainedBytesLimit);

    Client(std::unique_ptr<Folder> inFolder, std::unique_ptr<Liveness> inLiveness,
           std::uint64_t inRetainedBytesLimit);

    /// Withdraws everything that was published.
    void Stop();

    /// Whether it is the parent's and this a forked child.
    bool IsInherited() const { return process_.IsInherited(); }

    Publisher& GetPublisher() { return publisher_; }

    Status Get(const Guid& inGuid, std::shared_ptr<HeldData>& outData, std::int32_t& outErrorCode);

    Status Wait(const Guid& inGuid, std::chrono::milliseconds inTimeLimit,
                std::shared_ptr<HeldData>& outData, std::int32_t& outErrorCode);

    Status MakeAlias(const HeldData& inData, const Guid& inAlias) const;

    std::vector<processcoordination::Publication> List() const;

    std::uint64_t CountBytes() const;

  private:
    ProcessMark process_;
    std::unique_ptr<Folder> folder_;
    std::unique_ptr<Liveness> liveness_;
    Publisher publisher_;
    Reader reader_;
    WatcherPool watchers_;
    std::atomic<bool> isStopped_{false};
};

}  // namespace pellux

// Who is alive, and what becomes of the things of the dead.
//
// A client holds a lock on a file of its own for as long as it runs. The lock is one that a fork
// does not hand on and that the kernel lets go of when the process ends, whatever the way; so a
// client file that nobody holds belongs to a dead client, and everything that names this client can
// be removed by anyone.
#pragma once

#include <map>
#include <memory>

#include "Folder.h"
#include "Names.h"

namespace pellux {

/// The proof that this client lives, for as long as the object does.
class Liveness {
  public:
    /// Null when the folder refuses.
    static std::unique_ptr<Liveness> Begin(const Folder& inFolder);

    Liveness(const ClientId& inClient, Descriptor inFile)
        : client_(inClient), file_(std::move(inFile)) {}

    const ClientId& Client() const { return client_; }

    /// False when the client's file has been deleted, with the folder or by itself: then nobody
    /// can see any more that this client lives.
    bool IsVisible() const;

  private:
    ClientId client_;
    /// The file must not be opened a second time in this process: the first descriptor of it that
    /// is closed ends the lock.
    Descriptor file_;
};

/// Who made the aliases that stand in the folder, by the Guid of each. An alias that is found in an
/// earlier listing has its maker here.
class AliasMakers {
  public:
    explicit AliasMakers(const Folder& inFolder);

    /// The makers of an alias of that file: none when the Guid is no alias; more than one while
    /// several try to take the Guid.
    std::vector<ClientId> Find(const Guid& inGuid, ino_t inFile) const;

  private:
    struct Mark {
        ClientId maker;
        ino_t file = 0;
    };
    std::multimap<Guid, Mark> marks_;
};

/// Removes everything that a client made, its client file last. Readers keep what they hold.
void RemoveEverythingOf(const Folder& inFolder, const ClientId& inClient);

/// Removes what dead clients left behind, and publications and segments that are nobody's.
/// inOwnClient is alive without being asked. Does nothing while another process has been at it for
/// more than a second; that process finishes it.
void RemoveLeftovers(const Folder& inFolder, const ClientId& inOwnClient);

}  // namespace pellux

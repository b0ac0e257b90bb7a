// Who is alive, and what becomes of the things of the dead.
//
// A client holds a lock on a file of its own for as long as it runs. The lock is one that a fork
// does not hand on and that the kernel lets go of when the process ends, whatever the way; so a
// client file that nobody holds belongs to a dead client, and everything that names this client can
// be removed by anyone.
#pragma once

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

  private:
    ClientId client_;
    /// The file must not be opened a second time in this process: the first descriptor of it that
    /// is closed ends the lock.
    Descriptor file_;
};

/// Removes everything that a client made, its client file last. Readers keep what they hold.
void RemoveEverythingOf(const Folder& inFolder, const ClientId& inClient);

/// Removes what dead clients left behind, and publications and segments that are nobody's.
/// inOwnClient is alive without being asked. Does nothing while another process has been at it for
/// more than a second; that process finishes it.
void RemoveLeftovers(const Folder& inFolder, const ClientId& inOwnClient);

}  // namespace pellux

// The library and its services, started for a scope.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include "Failure.h"

namespace vframe {

/// Frames can be made while it lives.
class LibrarySession {
  public:
    LibrarySession() { VF::Initialize(); }
    ~LibrarySession() { VF::Shutdown(); }
    LibrarySession(const LibrarySession&) = delete;
    LibrarySession& operator=(const LibrarySession&) = delete;
};

/// Frames can be sent to and received from other processes while it lives.
class SharingSession {
  public:
    SharingSession() {
        if (!processcoordination::InitializeClient())
            throw Failure("sharing", "the folder for shared frames cannot be used");
    }
    ~SharingSession() { processcoordination::UninitializeClient(); }
    SharingSession(const SharingSession&) = delete;
    SharingSession& operator=(const SharingSession&) = delete;
};

/// New frames are made in shared memory while it lives.
class PublishableFrames {
  public:
    PublishableFrames() { VF::SetCreatePublishableVideoFrames(true); }
    ~PublishableFrames() { VF::SetCreatePublishableVideoFrames(false); }
    PublishableFrames(const PublishableFrames&) = delete;
    PublishableFrames& operator=(const PublishableFrames&) = delete;
};

}  // namespace vframe

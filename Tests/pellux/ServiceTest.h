// What the tests of the data service share: a private folder, other processes, and data that tells
// whether it is whole.
#pragma once

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdio>

#include "contracts/Pellux.h"
#include "support/SharedFolder.h"

namespace service_test {

using namespace processcoordination;
using namespace std::chrono_literals;
using tulocore::utility::Guid;

inline constexpr std::uint64_t kMiB = 1 << 20;
inline constexpr std::uint64_t kPage = 4096;

inline Guid MakeGuid(std::uint32_t inNumber, std::uint16_t inGroup = 0) {
    Guid guid;
    guid.part1 = inNumber;
    guid.part2 = inGroup;
    return guid;
}

inline std::string FileName(const Guid& inGuid) {
    return inGuid.ToString().substr(1, 36);
}

/// Never 0, which is what fresh memory holds.
inline std::uint64_t Pattern(const Guid& inGuid) {
    return (std::uint64_t{inGuid.part1} << 16 | inGuid.part2) * 0x9E3779B97F4A7C15U | 1;
}

/// Publishes data of inSize bytes, a multiple of 8, that belong to the Guid.
inline std::int32_t Publish(const Guid& inGuid, std::uint64_t inSize) {
    WritableBinaryReferencePtr writable;
    const std::int32_t status = GetWritableBinaryData(inSize, writable);
    if (status != kSuccess) return status;
    std::fill_n(static_cast<std::uint64_t*>(writable->GetData()), inSize / 8, Pattern(inGuid));
    return PutCompletedBinaryData(inGuid, writable);
}

/// Publishes 1 MiB under each of these numbers.
inline bool PublishAll(std::uint32_t inFirst, std::uint32_t inEnd) {
    while (inFirst < inEnd && Publish(MakeGuid(inFirst), kMiB) == kSuccess)
        ++inFirst;
    return inFirst == inEnd;
}

/// The data under the Guid; null when there is none.
inline BinaryReferencePtr Get(const Guid& inGuid) {
    BinaryReferencePtr reference;
    GetBinaryDataIfAvailable(inGuid, reference);
    return reference;
}

/// Whether all of the data is what Publish put under the Guid.
inline bool IsWhole(const BinaryReferencePtr& inReference, const Guid& inGuid,
                    std::uint64_t inSize) {
    if (!inReference || inReference->GetSize() != inSize) return false;
    const auto* const words = static_cast<const std::uint64_t*>(inReference->GetData());
    return std::all_of(words, words + inSize / 8,
                       [&](std::uint64_t inWord) { return inWord == Pattern(inGuid); });
}

/// Ends a child process that fails the check. (clang 14 has no std::source_location.)
inline void Check(bool inHolds, const char* inFile = __builtin_FILE(),
                  int inLine = __builtin_LINE()) {
    if (inHolds) return;
    std::fprintf(stderr, "%s:%d: failed in a child\n", inFile, inLine);
    _exit(1);
}

/// Another process as this one sees it: one that is forked to run inBody, and, in inBody, the
/// process that it was forked from.
class Process {
  public:
    template <class Body>
    explicit Process(const Body& inBody) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        id_ = fork();
        socket_ = ends[id_ == 0 ? 1 : 0];
        close(ends[id_ == 0 ? 0 : 1]);
        if (id_ != 0) return;
        alarm(60);  // nobody waits for it forever
        inBody(*this);
        _exit(0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        if (id_ > 0) Kill();
        close(socket_);
    }

    void Tell() const { send(socket_, ".", 1, MSG_NOSIGNAL); }
    /// Waits until the other side tells; false when it is gone.
    bool Hear() const {
        char word = 0;
        return read(socket_, &word, 1) == 1;
    }
    pid_t Id() const { return id_; }
    void Kill() {
        kill(id_, SIGKILL);
        Join();
    }
    /// Waits for its end; true if all its checks held.
    bool Join() {
        int status = 0;
        waitpid(id_, &status, 0);
        id_ = -1;
        return status == 0;
    }

  private:
    pid_t id_ = -1;
    int socket_ = -1;
};

/// A process that starts a client, runs inBody, and goes on until it is killed or stopped.
class OtherClient : public Process {
  public:
    template <class Body>
    explicit OtherClient(const Body& inBody)
        : Process([&](Process& inParent) {
              Check(InitializeClient());
              inBody();
              inParent.Tell();
              inParent.Hear();
              UninitializeClient();
          }) {
        EXPECT_TRUE(Hear());
    }

    bool Stop() {
        Tell();
        return Join();
    }
};

/// Each test has a folder of its own and a started client.
class ServiceTest : public testing::Test {
  protected:
    ServiceTest() {
        EXPECT_TRUE(InitializeClient());
        SetRetainedBytesLimit(256 * kMiB);
    }
    ~ServiceTest() override { UninitializeClient(); }

    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Lets a client start in another process, which removes what the dead left.
    static void CleanUp() {
        EXPECT_TRUE(OtherClient([] {}).Stop());
    }

  private:
    support::SharedFolder sharedFolder_;

  protected:
    const std::filesystem::path folder_ = sharedFolder_.Path();
};

}  // namespace service_test

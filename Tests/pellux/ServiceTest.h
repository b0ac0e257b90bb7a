// What the tests of the data service share: a private folder, other processes, and data that tells
// whether it is whole.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "contracts/Pellux.h"

namespace service_test {

using namespace processcoordination;
using namespace std::chrono_literals;
using tulocore::utility::Guid;

inline constexpr std::uint64_t kMiB = 1 << 20;
inline constexpr int kPatienceSeconds = 60;

inline Guid MakeGuid(std::uint32_t inNumber, std::uint16_t inGroup = 0) {
    Guid guid;
    guid.part1 = inNumber;
    guid.part2 = inGroup;
    guid.part3 = 0xABCD;
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
    auto* const words = static_cast<std::uint64_t*>(writable->GetData());
    std::fill_n(words, inSize / 8, Pattern(inGuid));
    writable->ReleaseData(words);
    return PutCompletedBinaryData(inGuid, writable);
}

/// Whether all of the data is what Publish put under the Guid.
inline bool IsWhole(const BinaryReferencePtr& inReference, const Guid& inGuid,
                    std::uint64_t inSize) {
    if (!inReference || inReference->GetSize() != inSize) return false;
    const auto* const words = static_cast<const std::uint64_t*>(inReference->GetData());
    const bool isWhole = std::all_of(
        words, words + inSize / 8, [&](std::uint64_t inWord) { return inWord == Pattern(inGuid); });
    inReference->ReleaseData(words);
    return isWhole;
}

inline bool IsAvailable(const Guid& inGuid) {
    BinaryReferencePtr reference;
    return GetBinaryDataIfAvailable(inGuid, reference) == kSuccess;
}

/// One end of a conversation between two processes.
class Line {
  public:
    Line(int inRead, int inWrite) : read_(inRead), write_(inWrite) {}
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    ~Line() {
        close(read_);
        close(write_);
    }

    void Tell(char inWord = '.') const { [[maybe_unused]] auto n = write(write_, &inWord, 1); }

    /// What the other side says next; 0 when it is gone or takes too long.
    char Hear() const {
        pollfd incoming{read_, POLLIN, 0};
        char word = 0;
        if (poll(&incoming, 1, kPatienceSeconds * 1000) != 1) return 0;
        return read(read_, &word, 1) == 1 ? word : '\0';
    }

  private:
    int read_, write_;
};

/// Another process, forked from this one. It runs inBody(Line&) and ends; a failed CHILD_CHECK ends
/// it as well.
class Child {
  public:
    template <class Body>
    explicit Child(const Body& inBody) {
        int down[2], up[2];
        if (pipe(down) != 0 || pipe(up) != 0) std::abort();
        std::fflush(nullptr);
        process_ = fork();
        if (process_ == 0) {
            close(down[1]);
            close(up[0]);
            alarm(kPatienceSeconds);
            Line line(down[0], up[1]);
            inBody(line);
            _exit(0);
        }
        close(down[0]);
        close(up[1]);
        line_ = std::make_unique<Line>(up[0], down[1]);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (process_ > 0) Kill();
    }

    const Line& GetLine() const { return *line_; }
    pid_t Process() const { return process_; }

    void Kill() {
        kill(process_, SIGKILL);
        Join();
    }

    /// Waits for its end; true if all its checks held. Its alarm keeps this short of forever.
    bool Join() {
        int status = 0;
        const pid_t ended = waitpid(process_, &status, 0);
        process_ = -1;
        return ended > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

  private:
    pid_t process_ = -1;
    std::unique_ptr<Line> line_;
};

#define CHILD_CHECK(condition)                                                             \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: in child: %s\n", __FILE__, __LINE__, #condition); \
            _exit(1);                                                                      \
        }                                                                                  \
    } while (false)

/// Gives each test a folder of its own and a started client.
class ServiceTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string place = "/dev/shm/pellux-test-XXXXXX";
        ASSERT_NE(mkdtemp(place.data()), nullptr);
        place_ = place;
        UseFolder(place_ / "service");
        ASSERT_TRUE(InitializeClient());
        SetRetainedBytesLimit(256 * kMiB);
    }

    void TearDown() override {
        UninitializeClient();
        std::filesystem::remove_all(place_);
    }

    void UseFolder(const std::filesystem::path& inFolder) {
        folder_ = inFolder;
        setenv("PELLUX_FOLDER", folder_.c_str(), 1);
    }

    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Starts and stops a client in another process, which removes what the dead left.
    static void StartAnotherClient() {
        EXPECT_TRUE(Child([](Line&) {
                        CHILD_CHECK(InitializeClient());
                        UninitializeClient();
                    }).Join());
    }

    std::filesystem::path place_;
    std::filesystem::path folder_;
};

}  // namespace service_test

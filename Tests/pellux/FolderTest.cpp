// The folder: who may use it, what may lie in it, and what happens when it is full.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <fstream>

#include "ServiceTest.h"

using namespace service_test;

namespace {

class FolderTest : public ServiceTest {};

mode_t ModeOf(const std::filesystem::path& inPath) {
    struct stat status {};
    EXPECT_EQ(lstat(inPath.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST_F(FolderTest, OnlyTheUserMayUseIt) {
    UninitializeClient();
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        UseFolder(place_ / std::to_string(mask));
        const mode_t previous = umask(mask);
        const bool isStarted = InitializeClient();
        EXPECT_EQ(Publish(MakeGuid(1), 64), kSuccess);
        EXPECT_EQ(PutBinaryDataGenerationError(MakeGuid(2), 64), kSuccess);
        umask(previous);
        ASSERT_TRUE(isStarted);
        EXPECT_EQ(ModeOf(folder_), 0700U);
        for (const std::string& name : Files())
            EXPECT_EQ(ModeOf(folder_ / name), 0600U) << name;
        UninitializeClient();
    }
    ASSERT_TRUE(InitializeClient());
}

TEST_F(FolderTest, AFolderOpenToOthersIsRefused) {
    UninitializeClient();
    const std::filesystem::path good = folder_;
    std::filesystem::create_directory(place_ / "open");
    std::filesystem::permissions(place_ / "open", std::filesystem::perms{0750});
    std::filesystem::create_symlink(good, place_ / "link");
    std::ofstream(place_ / "file") << "no folder";
    for (const char* name : {"open", "link", "file", "missing/folder"}) {
        UseFolder(place_ / name);
        EXPECT_FALSE(InitializeClient()) << name;
        EXPECT_EQ(Publish(MakeGuid(1), 64), kNotInitialized) << name;
    }
    if (geteuid() == 0) {
        UseFolder(place_ / "theirs");
        ASSERT_EQ(mkdir(folder_.c_str(), 0700), 0);
        ASSERT_EQ(chown(folder_.c_str(), 12345, 12345), 0);
        EXPECT_FALSE(InitializeClient());
    }
    UseFolder(good);
    ASSERT_TRUE(InitializeClient());
}

TEST_F(FolderTest, DamagedAndForeignFilesHarmNobody) {
    const Guid genuine = MakeGuid(1000);
    ASSERT_EQ(Publish(genuine, kMiB), kSuccess);
    std::string bytes;
    {
        std::ifstream file(folder_ / FileName(genuine), std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
    }
    std::uint32_t count = 0;
    const auto next = [&] { return folder_ / FileName(MakeGuid(++count)); };
    const auto write = [&](const std::string& inBytes, mode_t inMode) {
        const std::filesystem::path path = next();
        std::ofstream(path, std::ios::binary) << inBytes;
        chmod(path.c_str(), inMode);
        return path;
    };
    write("", 0600);
    write("garbage", 0600);
    write(std::string(100000, '\xFF'), 0600);
    write(bytes.substr(0, 20), 0600);
    write(bytes.substr(0, 4096), 0600);      // the header alone
    write(bytes.substr(0, kMiB / 2), 0600);  // too short for what the header says
    write(bytes, 0644);                      // open to others
    truncate(write(bytes.substr(0, 4096), 0600).c_str(), 2 * kMiB);  // a hole for its data
    for (std::size_t field = 8; field < 40; field += 4) {
        std::string damaged = bytes;
        damaged.replace(field, 4, "\xFE\xFF\xFF\xFF", 4);
        if (field == 12 || field == 16 || field == 20 || field == 28) continue;  // no harm in these
        write(damaged, 0600);
    }
    ASSERT_EQ(mkfifo(next().c_str(), 0600), 0);
    std::filesystem::create_symlink(folder_ / FileName(genuine), next());
    std::filesystem::create_directory(next());
    const std::string directory = FileName(MakeGuid(count));
    std::ofstream(folder_ / "segment.1-2.3") << "of nobody";
    std::ofstream(folder_ / "client.1-2") << "of nobody";
    std::ofstream(folder_ / "notes.txt") << "unknown";

    for (std::uint32_t i = 1; i <= count; ++i) {
        BinaryReferencePtr reference;
        EXPECT_EQ(GetBinaryDataIfAvailable(MakeGuid(i), reference), kNotAvailable) << i;
        EXPECT_EQ(Publish(MakeGuid(i), 64), kGuidTaken) << i;
    }
    EXPECT_EQ(ListBinaryData().size(), 1U);
    EXPECT_GT(CountSharedBytes(), kMiB);

    StartAnotherClient();
    const std::vector<std::string> files = Files();
    EXPECT_EQ(std::count(files.begin(), files.end(), directory), 1);
    EXPECT_EQ(std::count(files.begin(), files.end(), "notes.txt"), 1);
    EXPECT_EQ(std::count(files.begin(), files.end(), "client.1-2"), 0);
    EXPECT_EQ(std::count(files.begin(), files.end(), "segment.1-2.3"), 0);
    EXPECT_TRUE(IsAvailable(genuine));
    // The first four do not name an owner. The damaged copies name this client, and go with it.
    for (std::uint32_t i = 1; i <= 4; ++i) {
        EXPECT_EQ(std::count(files.begin(), files.end(), FileName(MakeGuid(i))), 0) << i;
    }
    UninitializeClient();
    EXPECT_EQ(Files(), (std::vector<std::string>{directory, "notes.txt", "sweep"}));
    ASSERT_TRUE(InitializeClient());
}

TEST_F(FolderTest, FilesTakenAwayByOthersAreMissedByNobody) {
    SetRetainedBytesLimit(4 * kMiB);
    for (std::uint32_t i = 0; i < 3; ++i)
        ASSERT_EQ(Publish(MakeGuid(i), kMiB), kSuccess);
    {
        WritableBinaryReferencePtr idle;
        ASSERT_EQ(GetWritableBinaryData(8, idle), kSuccess);
    }
    for (const std::string& name : Files())
        std::filesystem::remove(folder_ / name);
    for (std::uint32_t i = 0; i < 20; ++i) {
        EXPECT_FALSE(IsAvailable(MakeGuid(i)));
        ASSERT_EQ(Publish(MakeGuid(i), i % 2 == 0 ? kMiB : 8), kSuccess);
    }
}

// A stopped process may hold up the others' clean-up, but not the others.
TEST_F(FolderTest, AStuckCleanUpStopsNobody) {
    Child stuck([&](Line& inLine) {
        const int file = open((folder_ / "sweep").c_str(), O_RDWR);
        struct flock lock {};
        lock.l_type = F_WRLCK;
        CHILD_CHECK(fcntl(file, F_SETLK, &lock) == 0);
        inLine.Tell();
        inLine.Hear();
    });
    ASSERT_TRUE(stuck.GetLine().Hear());
    StartAnotherClient();
    stuck.GetLine().Tell();
    EXPECT_TRUE(stuck.Join()) << "it had the lock all the time";
}

TEST_F(FolderTest, RunningClientsSurviveTheStartOfOthers) {
    ASSERT_EQ(Publish(MakeGuid(1), kMiB), kSuccess);
    WritableBinaryReferencePtr writable;
    ASSERT_EQ(GetWritableBinaryData(kMiB, writable), kSuccess);
    ASSERT_EQ(PutBinaryDataGenerationError(MakeGuid(3), -1), kSuccess);
    const std::vector<std::string> before = Files();
    StartAnotherClient();
    EXPECT_EQ(Files(), before);
    EXPECT_EQ(PutCompletedBinaryData(MakeGuid(2), writable), kSuccess);
}

// Growing a file beyond this limit would raise a signal.
TEST_F(FolderTest, AFileSizeLimitGivesNoRoom) {
    Child limited([&](Line&) {
        const rlimit limit{kMiB, kMiB};
        CHILD_CHECK(setrlimit(RLIMIT_FSIZE, &limit) == 0);
        CHILD_CHECK(InitializeClient());
        WritableBinaryReferencePtr writable;
        CHILD_CHECK(GetWritableBinaryData(2 * kMiB, writable) == kNoRoom && !writable);
        CHILD_CHECK(Publish(MakeGuid(1), kMiB / 2) == kSuccess);
    });
    EXPECT_TRUE(limited.Join());
}

// A user who is not root does it in a world of his own.
bool MountSmallMemory(const std::filesystem::path& inFolder) {
    const auto map = [](auto inId) {
        return std::to_string(inId) + ' ' + std::to_string(inId) + " 1";
    };
    const std::string users = map(geteuid()), groups = map(getegid());
    const bool isRoot = geteuid() == 0;
    if (unshare(isRoot ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    if (!isRoot) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << users;
        std::ofstream("/proc/self/gid_map") << groups;
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    return mount("tmpfs", inFolder.c_str(), "tmpfs", 0, "size=8m,mode=0700") == 0;
}

TEST_F(FolderTest, FullSharedMemoryGivesNoRoomAndRecovers) {
    const std::filesystem::path small = place_ / "small";
    std::filesystem::create_directory(small);
    Child publisher([&](Line& inLine) {
        const bool isMounted = MountSmallMemory(small);
        inLine.Tell(isMounted ? 'y' : 'n');
        if (!isMounted) return;
        setenv("PELLUX_FOLDER", small.c_str(), 1);
        CHILD_CHECK(InitializeClient());
        WritableBinaryReferencePtr first, second;
        CHILD_CHECK(GetWritableBinaryData(5 * kMiB, first) == kSuccess);
        CHILD_CHECK(GetWritableBinaryData(5 * kMiB, second) == kNoRoom && !second);
        std::fill_n(static_cast<char*>(first->GetData()), 5 * kMiB, 'x');
        CHILD_CHECK(Publish(MakeGuid(1), 2 * kMiB) == kSuccess);
        first.reset();
        // The idle segment does not fit and has to make room.
        CHILD_CHECK(Publish(MakeGuid(2), 3 * kMiB) == kSuccess);
        CHILD_CHECK(Publish(MakeGuid(3), 3 * kMiB) == kNoRoom);
        std::uint32_t number = 100;
        while (Publish(MakeGuid(number), 64) == kSuccess)
            ++number;
        CHILD_CHECK(Publish(MakeGuid(number), 64) == kNoRoom);
        std::int32_t status = kSuccess;
        for (int i = 0; i < 3 && status == kSuccess; ++i) {
            status = PutBinaryDataGenerationError(MakeGuid(number++), -1);
        }
        CHILD_CHECK(status == kNoRoom);
        CHILD_CHECK(IsAvailable(MakeGuid(1)) && IsAvailable(MakeGuid(2)));
        SetRetainedBytesLimit(4 * kMiB);
        CHILD_CHECK(Publish(MakeGuid(3), 3 * kMiB) == kSuccess);
    });
    if (publisher.GetLine().Hear() != 'y') GTEST_SKIP() << "a small tmpfs cannot be mounted here";
    EXPECT_TRUE(publisher.Join());
}

}  // namespace

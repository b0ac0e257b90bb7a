// The folder: who may use it, what may lie in it, and what happens when it is full.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include "ServiceTest.h"

using namespace service_test;
namespace fs = std::filesystem;

namespace {

class FolderTest : public ServiceTest {
  protected:
    /// Starts the client anew in another folder.
    static bool StartIn(const fs::path& inFolder) {
        UninitializeClient();
        setenv("PELLUX_FOLDER", inFolder.c_str(), 1);
        return InitializeClient();
    }
};

TEST_F(FolderTest, OnlyTheUserMayUseIt) {
    for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
        const fs::path made = folder_ / std::to_string(mask);
        const mode_t previous = umask(mask);
        EXPECT_TRUE(StartIn(made));
        EXPECT_EQ(Publish(MakeGuid(1), 64), kSuccess);
        EXPECT_EQ(PutBinaryDataGenerationError(MakeGuid(2), 64), kSuccess);
        umask(previous);
        EXPECT_EQ(fs::status(made).permissions(), fs::perms{0700});
        for (const auto& entry : fs::directory_iterator(made))
            EXPECT_EQ(entry.status().permissions(), fs::perms{0600}) << entry;
    }
}

TEST_F(FolderTest, DamagedAndForeignFilesHarmNobody) {
    const Guid genuine = MakeGuid(1000);
    ASSERT_EQ(Publish(genuine, kMiB), kSuccess);
    std::ifstream file(folder_ / FileName(genuine), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    umask(0077);
    std::uint32_t count = 0;
    const auto next = [&] { return folder_ / FileName(MakeGuid(++count)); };
    const auto write = [&](const std::string& inBytes) {
        const fs::path path = next();
        std::ofstream(path, std::ios::binary) << inBytes;
        return path;
    };
    write("");  // these three are nobody's
    write(std::string(100000, '\xFF'));
    write(bytes.substr(0, 20));
    write(bytes.substr(0, kPage));                             // the header alone
    write(bytes.substr(0, kMiB / 2));                          // too short for what it says
    fs::permissions(write(bytes), fs::perms{0644});            // open to others
    fs::resize_file(write(bytes.substr(0, kPage)), 2 * kMiB);  // a hole for its data
    for (const std::size_t field : {8U, 24U, 32U, 36U})        // layout, content, size
        write(std::string(bytes).replace(field, 4, "\xFE\xFF\xFF\xFF"));
    ASSERT_EQ(mkfifo(next().c_str(), 0600), 0);
    fs::create_symlink(folder_ / FileName(genuine), next());
    fs::create_directories(next() / "of" / "nobody");
    for (const char* name :
         {"segment.1-2.3", "client.1-2", "notes.txt", "client.01-2", "segment.1-2.03"})
        std::ofstream(folder_ / name) << "of nobody";

    for (std::uint32_t i = 1; i <= count; ++i) {
        EXPECT_FALSE(Get(MakeGuid(i))) << i;
        EXPECT_EQ(Publish(MakeGuid(i), 64), kGuidTaken) << i;
    }
    EXPECT_EQ(ListBinaryData().size(), 1U);
    EXPECT_GT(CountSharedBytes(), kMiB);

    CleanUp();
    for (const std::string& name :
         {std::string("segment.1-2.3"), std::string("client.1-2"), FileName(MakeGuid(1)),
          FileName(MakeGuid(2)), FileName(MakeGuid(3))})
        EXPECT_FALSE(fs::exists(folder_ / name)) << name;
    EXPECT_TRUE(Get(genuine));
    UninitializeClient();  // the damaged copies name this client, and go with it
    EXPECT_EQ(Files(),
              (std::vector<std::string>{"client.01-2", "notes.txt", "segment.1-2.03", "sweep"}));
}

// A stopped process may hold up the others' clean-up, but not the others.
TEST_F(FolderTest, AStuckCleanUpStopsNobody) {
    const Process stuck([&](Process& inParent) {
        Check(lockf(open((folder_ / "sweep").c_str(), O_RDWR), F_TLOCK, 0) == 0);
        inParent.Tell();
        inParent.Hear();
    });
    ASSERT_TRUE(stuck.Hear());
    std::ofstream(folder_ / "segment.1-2.3") << "of nobody";
    CleanUp();
    EXPECT_TRUE(fs::exists(folder_ / "segment.1-2.3"));
    const std::jthread end([&] {
        std::this_thread::sleep_for(100ms);
        stuck.Tell();
    });
    CleanUp();
    EXPECT_FALSE(fs::exists(folder_ / "segment.1-2.3")) << "it waits a while for its turn";
}

TEST_F(FolderTest, NothingElseCalledSweepStopsTheCleanUp) {
    for (const bool isLink : {false, true}) {
        fs::remove(folder_ / "sweep");
        if (isLink)
            fs::create_symlink("missing/file", folder_ / "sweep");
        else
            fs::create_directory(folder_ / "sweep");
        std::ofstream(folder_ / "segment.1-2.3") << "of nobody";
        CleanUp();
        EXPECT_FALSE(fs::exists(folder_ / "segment.1-2.3"));
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(folder_ / "sweep")));
    }
}

TEST_F(FolderTest, IsMadeAnewWhenItIsDeleted) {
    Process waiter([](Process& inParent) {
        Check(InitializeClient());
        inParent.Tell();
        BinaryReferencePtr reference;
        Check(WaitForBinaryData(MakeGuid(2), 30s, reference) == kSuccess);
    });
    ASSERT_TRUE(waiter.Hear());
    ASSERT_EQ(Publish(MakeGuid(1), 64), kSuccess);
    fs::remove_all(folder_);
    EXPECT_FALSE(Get(MakeGuid(1)));
    EXPECT_EQ(Publish(MakeGuid(1), 64), kSuccess);
    EXPECT_EQ(Publish(MakeGuid(2), 64), kSuccess);
    EXPECT_TRUE(waiter.Join());
}

// A user who is not root does it in a world of his own.
bool MountSmallMemory(const fs::path& inFolder) {
    const uid_t user = geteuid(), group = getegid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    if (user != 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
        std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", inFolder.c_str(), "tmpfs", 0, "size=8m,mode=0700") == 0;
}

TEST_F(FolderTest, FullSharedMemoryGivesNoRoomAndRecovers) {
    const fs::path small = folder_ / "small";
    fs::create_directory(small);
    Process publisher([&](Process& inParent) {
        if (!MountSmallMemory(small)) return;
        inParent.Tell();
        Check(StartIn(small));
        WritableBinaryReferencePtr first, second;
        Check(GetWritableBinaryData(5 * kMiB, first) == kSuccess);
        Check(GetWritableBinaryData(5 * kMiB, second) == kNoRoom && !second);
        std::fill_n(static_cast<char*>(first->GetData()), 5 * kMiB, 'x');
        Check(Publish(MakeGuid(1), 2 * kMiB) == kSuccess);
        first.reset();
        // The idle segment does not fit and has to make room.
        Check(Publish(MakeGuid(2), 3 * kMiB) == kSuccess);
        Check(Publish(MakeGuid(3), 3 * kMiB) == kNoRoom);
        std::uint32_t number = 100;
        while (Publish(MakeGuid(number), 64) == kSuccess)
            ++number;
        Check(Publish(MakeGuid(number), 64) == kNoRoom);
        while (PutBinaryDataGenerationError(MakeGuid(number), -1) == kSuccess)
            ++number;
        Check(PutBinaryDataGenerationError(MakeGuid(number), -1) == kNoRoom);
        Check(Get(MakeGuid(1)) && Get(MakeGuid(2)));
        SetRetainedBytesLimit(4 * kMiB);
        Check(Publish(MakeGuid(3), 3 * kMiB) == kSuccess);
    });
    if (!publisher.Hear()) GTEST_SKIP() << "a small tmpfs cannot be mounted here";
    EXPECT_TRUE(publisher.Join());
}

}  // namespace

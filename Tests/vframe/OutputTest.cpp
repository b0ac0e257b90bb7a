// What is under an output's name, and beside it, whatever happens to the program.

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include "Tool.h"

using namespace vframe_test;

namespace {

/// As on a file system where every file has a name.
void RefuseUnnamedFiles() {
    constexpr std::uint32_t kUnnamed = O_TMPFILE & ~O_DIRECTORY;
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kUnnamed, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(rules), rules};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) _exit(126);
}

class OutputTest : public ToolTest {
  protected:
    OutputTest() { WritePng("in.png", MakeGradient(40, 30)); }

    /// Whether the process has written bytes into a file of the temporary folder.
    static bool IsWriting(pid_t inProcess) {
        std::error_code error;
        const fs::path open = "/proc/" + std::to_string(inProcess) + "/fd";
        for (const auto& entry : fs::directory_iterator(open, error)) {
            const std::string name = fs::read_symlink(entry, error).string();
            if (name.starts_with(fs::current_path().string()) && !name.ends_with(".raw") &&
                fs::file_size(entry, error) > 0 && !error)
                return true;
        }
        return false;
    }
};

TEST_F(OutputTest, IsNotThereUnlessComplete) {
    // Nine thousand black frames that take no room on the disk.
    WriteFile("in.raw", "");
    fs::resize_file("in.raw", std::uintmax_t{1280} * 720 * 4 * 9000);
    WriteFile("old.mkv", "old");
    const std::set<std::string> before = Files();
    const std::tuple<Before, int, std::string, std::string, std::size_t> kCases[] = {
        {nullptr, SIGTERM, "new.mp4", "vframe: interrupted: ended by a signal\n", 0},
        {nullptr, SIGKILL, "old.mkv", "", 0},
        {RefuseUnnamedFiles, SIGTERM, "new.mkv", "vframe: interrupted: ended by a signal\n", 0},
        {RefuseUnnamedFiles, SIGUSR1, "old.mkv", "", 0},
        {RefuseUnnamedFiles, SIGKILL, "new.mkv", "", 1},
    };
    for (const auto& [beforeStart, signal, name, errors, leftOver] : kCases) {
        SCOPED_TRACE(testing::Message() << name << ' ' << signal);
        RunningTool tool(
            "convert in.raw " + name + " --input-format BGRA_4444_8u --input-size 1280x720",
            beforeStart);
        EXPECT_TRUE(Eventually([&] { return IsWriting(tool.Id()); }));
        EXPECT_EQ(tool.End(signal).errors, errors);
        EXPECT_EQ(ReadFile("old.mkv"), "old");
        EXPECT_FALSE(fs::exists("new.mkv"));
        EXPECT_EQ(Files().size(), before.size() + leftOver);
    }
}

TEST_F(OutputTest, TakesThePlaceOfWhatIsThere) {
    for (const Before before : {Before(nullptr), Before(RefuseUnnamedFiles)}) {
        fs::create_symlink("made.png", "link.png");
        const std::string longName = std::string(251, 'n') + ".png";
        for (const std::string& name : {std::string("link.png"), longName, longName})
            ExpectRuns("convert in.png " + name, before);
        fs::permissions("made.png", fs::perms::owner_read);
        ExpectRuns("convert in.png link.png --invert-alpha", before);
        EXPECT_EQ(Files(), (std::set<std::string>{"in.png", "link.png", "made.png", longName}));
        EXPECT_EQ(fs::read_symlink("link.png"), "made.png");
        EXPECT_EQ(fs::status("made.png").permissions(), fs::perms::owner_read);
        EXPECT_EQ(ReadPng("made.png").At(0, 0)[3], 0);
        EXPECT_EQ(Compare(ReadPng(longName), ReadPng("in.png")).largest, 0);
        fs::remove("link.png");
        fs::remove("made.png");
        fs::remove(longName);
    }
}

TEST_F(OutputTest, SaysWhyItIsNotThere) {
    fs::create_symlink("/dev/full", "full.png");
    fs::create_symlink("/dev/full", "full.mkv");
    const std::string guid = " --guid 6A0B4E0C-9A57-4C55-8C2A-51A7A2A1B002";
    const auto limitSize = [] {
        const rlimit limit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    const auto limitFiles = [] {
        const int unused = dup(STDIN_FILENO);  // and one descriptor is needed to start
        close(unused);
        const auto count = static_cast<rlim_t>(unused) + 1;
        const rlimit limit{count, count};
        setrlimit(RLIMIT_NOFILE, &limit);
    };
    const struct {
        std::string arguments, line;
        Before before = nullptr;
    } kCases[] = {
        {"convert in.png full.png", "full.png: cannot be written: No space left on device"},
        {"convert in.png full.mkv", "full.mkv: No space left on device"},
        {"convert in.png out.raw", "out.raw: cannot be written: File too large", limitSize},
        {"convert in.png out.mp4", "out.mp4: File too large", limitSize},
        {"--version >/dev/full", "standard output: No space left on device"},
        {"publish in.png >/dev/full" + guid, "standard output: No space left on device"},
        {"demo . in.png >/dev/full", "standard output: No space left on device"},
        {"publish in.png --hold 0 <&- >&-" + guid, "standard output: Bad file descriptor"},
        {"formats", "pipe: Too many open files", limitFiles},
    };
    const std::set<std::string> before = Files();
    for (const auto& [arguments, line, beforeStart] : kCases) {
        ExpectFails(arguments, 1, "vframe: " + line + "\n", beforeStart);
        EXPECT_EQ(Files(), before);
    }
    RunningTool publisher("publish in.png" + guid);
    ExpectFails("receive out.png >/dev/full" + guid, 1, "standard output: ");
    EXPECT_EQ(Files(), before);
}

}  // namespace

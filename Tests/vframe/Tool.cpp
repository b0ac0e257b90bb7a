#include "Tool.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace vframe_test {
namespace {
namespace fs = std::filesystem;

fs::path MakeFolder() {
    std::string path = (fs::temp_directory_path() / "vframe-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(path.data()), nullptr);
    return path;
}

std::string ReadText(const fs::path& inPath) {
    const std::vector<std::uint8_t> bytes = ReadBytes(inPath);
    return {bytes.begin(), bytes.end()};
}

std::string Joined(const std::vector<std::string>& inArguments) {
    std::string line = "vframe";
    for (const std::string& argument : inArguments)
        line += " " + argument;
    return line;
}

}  // namespace

RunningTool::RunningTool(const std::vector<std::string>& inArguments) : folder_(MakeFolder()) {
    const std::string output = folder_ / "out";
    const std::string errors = folder_ / "errors";
    std::vector<char*> arguments{const_cast<char*>("vframe")};
    for (const std::string& argument : inArguments)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_CREAT | O_WRONLY, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errors.c_str(), O_CREAT | O_WRONLY, 0600);
    EXPECT_EQ(posix_spawn(&id_, VFRAME_PROGRAM, &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
}

RunningTool::~RunningTool() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        Wait();
    }
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void RunningTool::Signal(int inSignal) const {
    kill(id_, inSignal);
}

bool RunningTool::IsRunning() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}

std::string RunningTool::OutputSoFar() const {
    return ReadText(folder_ / "out");
}

Result RunningTool::Wait() {
    int status = 0;
    EXPECT_EQ(waitpid(id_, &status, 0), id_);
    id_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(folder_ / "out"),
            ReadText(folder_ / "errors")};
}

Result RunTool(const std::vector<std::string>& inArguments) {
    return RunningTool(inArguments).Wait();
}

void ExpectRuns(const std::vector<std::string>& inArguments) {
    const Result result = RunTool(inArguments);
    EXPECT_EQ(result.status, 0) << Joined(inArguments);
    EXPECT_EQ(result.errors, "") << Joined(inArguments);
}

void ExpectFails(const std::vector<std::string>& inArguments, int inStatus,
                 const std::string& inPartOfLine) {
    SCOPED_TRACE(Joined(inArguments));
    const Result result = RunTool(inArguments);
    EXPECT_EQ(result.status, inStatus);
    EXPECT_TRUE(result.errors.starts_with("vframe: ")) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_TRUE(result.errors.ends_with('\n')) << result.errors;
    EXPECT_NE(result.errors.find(inPartOfLine), std::string::npos) << result.errors;
}

std::vector<std::uint8_t> ReadBytes(const fs::path& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    EXPECT_TRUE(file) << inPath;
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteBytes(const fs::path& inPath, const std::vector<std::uint8_t>& inBytes) {
    std::ofstream file(inPath, std::ios::binary);
    file.write(reinterpret_cast<const char*>(inBytes.data()),
               static_cast<std::streamsize>(inBytes.size()));
    EXPECT_TRUE(file.flush()) << inPath;
}

ToolTest::ToolTest() : folder_(MakeFolder()) {}

ToolTest::~ToolTest() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::vector<std::string> ToolTest::Files() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace vframe_test

#include "ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Failure.h"

namespace vframe {
namespace {

using Pipe = std::array<int, 2>;  // reading end, writing end

Pipe MakePipe() {
    Pipe ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw Failure("pipe", std::generic_category().message(errno));
    return ends;
}

/// Starts the program with the two ends as its standard input and output.
int Spawn(const std::vector<std::string>& inArguments, int inInput, int inOutput, pid_t& outId) {
    const std::string program = ProgramPath();
    std::vector<char*> arguments{const_cast<char*>(program.c_str())};
    for (const std::string& argument : inArguments)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inInput, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, inOutput, STDOUT_FILENO);
    const int error =
        posix_spawn(&outId, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

}  // namespace

std::string ProgramPath() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

ChildProcess::ChildProcess(const std::vector<std::string>& inArguments) {
    const Pipe toChild = MakePipe();
    const Pipe fromChild = MakePipe();
    const int error = Spawn(inArguments, toChild[0], fromChild[1], id_);
    close(toChild[0]);
    close(fromChild[1]);
    input_.reset(fdopen(toChild[1], "w"));
    output_.reset(fdopen(fromChild[0], "r"));
    if (error != 0) {
        id_ = -1;
        throw Failure(ProgramPath(), std::generic_category().message(error));
    }
}

ChildProcess::~ChildProcess() {
    Dismiss();
}

std::optional<std::string> ChildProcess::ReadLine() {
    std::string line;
    for (int c = std::getc(output_.get()); c != EOF; c = std::getc(output_.get())) {
        if (c == '\n') return line;
        line += static_cast<char>(c);
    }
    return std::nullopt;
}

std::string ChildProcess::Dismiss() {
    input_.reset();
    if (id_ < 0) return "";
    int status = 0;
    while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) != 0) return "exit status " + std::to_string(WEXITSTATUS(status));
    return "";
}

}  // namespace vframe

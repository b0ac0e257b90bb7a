// This program once more, as a process of its own.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vframe {

/// The path of the running program.
std::string ProgramPath();

/// Runs the program with other arguments; its standard output comes here line by line. Its
/// standard input ends when the child process is dismissed, or when this process ends.
class ChildProcess {
  public:
    explicit ChildProcess(const std::vector<std::string>& inArguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Id() const { return id_; }

    /// Its standard output's descriptor, to wait for the first line with others'.
    int Output() const { return fileno(output_.get()); }

    /// The next line without its end; nothing when there are no more.
    std::optional<std::string> ReadLine();

    /// Ends its standard input, waits until it has ended, and says how: "", or "killed by signal
    /// 9", or "exit status 1".
    std::string Dismiss();

  private:
    struct CloseFile {
        void operator()(std::FILE* inFile) const { std::fclose(inFile); }
    };
    using File = std::unique_ptr<std::FILE, CloseFile>;

    pid_t id_ = -1;
    File input_;
    File output_;
};

}  // namespace vframe

// Further processes of the benchmark.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// Bytes of memory that the calling process has mapped and touched, shared ones included.
inline std::size_t ResidentBytes() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

inline std::string MebibyteText(std::size_t inBytes) {
    return std::to_string(inBytes >> 20) + " MiB";
}

/// A process that runs a function, and a pipe in each direction. All are made before the library is
/// started and before there are threads: neither survives a fork. They share a folder of the data
/// service with nobody else.
class Process {
  public:
    /// Reads what it is sent and answers until there is no more to read.
    using Work = std::function<void(int inFrom, int inTo)>;

    explicit Process(const Work& inWork) {
        UsePrivateFolder();
        std::array<int, 2> down{};
        std::array<int, 2> up{};
        if (pipe(down.data()) != 0 || pipe(up.data()) != 0) std::abort();
        to_ = down[1];
        from_ = up[0];
        ParentEnds().insert(ParentEnds().end(), {to_, from_});
        process_ = fork();
        if (process_ < 0) std::abort();
        if (process_ == 0) {
            // One that kept the others' pipes open would keep them waiting.
            std::ranges::for_each(ParentEnds(), close);
            inWork(down[0], up[1]);
            _exit(0);
        }
        close(down[0]);
        close(up[1]);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        close(to_);
        waitpid(process_, nullptr, 0);
        close(from_);
    }

    // Both are false when the process has gone.
    template <class Message>
    bool Send(const Message& inMessage) const {
        return write(to_, &inMessage, sizeof(inMessage)) == sizeof(inMessage);
    }
    template <class Message>
    bool Take(Message& outMessage) const {
        return read(from_, &outMessage, sizeof(outMessage)) == sizeof(outMessage);
    }

  private:
    static std::vector<int>& ParentEnds() {
        static std::vector<int> ends;
        return ends;
    }

    // Removed when the last process, which was made later, has gone.
    static void UsePrivateFolder() {
        struct Folder {
            Folder() {
                if (!mkdtemp(path.data())) std::abort();
                setenv("PELLUX_FOLDER", path.c_str(), 1);
            }
            ~Folder() {
                std::error_code ignored;
                std::filesystem::remove_all(path, ignored);
            }
            std::string path = "/dev/shm/videoframe-bench-XXXXXX";
        };
        static const Folder folder;
    }

    pid_t process_ = -1;
    int to_ = -1;
    int from_ = -1;
};

}  // namespace bench

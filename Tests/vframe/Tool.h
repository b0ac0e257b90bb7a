// The program as a process, a folder that it and the tests work in, and pictures. These are read
// and written with another library than the program's, so that a mistake does not undo itself.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/SharedFolder.h"

namespace vframe_test {

namespace fs = std::filesystem;

inline std::string ReadFile(const fs::path& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    EXPECT_TRUE(file) << inPath;
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const fs::path& inPath, const std::string& inBytes) {
    EXPECT_TRUE((std::ofstream(inPath, std::ios::binary) << inBytes).flush()) << inPath;
}

inline fs::path MakeFolder() {
    std::string path = fs::temp_directory_path() / "vframe-test-XXXXXX";
    EXPECT_NE(mkdtemp(path.data()), nullptr);
    return path;
}

struct Result {
    int status = -1;  ///< exit status; -1 when a signal ended the program
    std::string output;
    std::string errors;
};

/// One run of the program, with arguments as the shell takes them; these may send its output
/// elsewhere. inBefore is done in the process before the program is started there.
class RunningTool {
  public:
    explicit RunningTool(
        const std::string& inArguments, void (*inBefore)() = [] {}) {
        for (const char* const name : {"out", "errors"})
            WriteFile(folder_ / name, "");
        const std::string command = "exec " VFRAME_PROGRAM " " + inArguments;
        id_ = fork();
        if (id_ != 0) return;
        Attach(STDIN_FILENO, "/dev/null", O_RDONLY);
        Attach(STDOUT_FILENO, folder_ / "out", O_WRONLY);
        Attach(STDERR_FILENO, folder_ / "errors", O_WRONLY);
        inBefore();
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    ~RunningTool() {
        if (id_ > 0) End(SIGKILL);
        fs::remove_all(folder_);
    }
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    pid_t Id() const { return id_; }

    /// What it has put on standard output until now.
    std::string OutputSoFar() const { return ReadFile(folder_ / "out"); }
    Result End(int inSignal) {
        kill(id_, inSignal);
        return Wait();
    }
    Result Wait() {
        int status = 0;
        EXPECT_EQ(waitpid(id_, &status, 0), id_);
        id_ = -1;
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, OutputSoFar(),
                ReadFile(folder_ / "errors")};
    }

  private:
    static void Attach(int inStream, const fs::path& inPath, int inMode) {
        const int file = open(inPath.c_str(), inMode);
        dup2(file, inStream);
        close(file);
    }

    const fs::path folder_ = MakeFolder();
    pid_t id_ = -1;
};

/// Expects success without a word on standard error; returns what is on standard output.
inline std::string ExpectRuns(
    const std::string& inArguments, void (*inBefore)() = [] {}) {
    const Result result = RunningTool(inArguments, inBefore).Wait();
    EXPECT_EQ(result.status, 0) << inArguments;
    EXPECT_EQ(result.errors, "") << inArguments;
    return result.output;
}

/// Expects this exit status and exactly one line on standard error, which begins with "vframe: ".
inline void ExpectFails(
    const std::string& inArguments, int inStatus, const std::string& inPartOfLine,
    void (*inBefore)() = [] {}) {
    SCOPED_TRACE(inArguments);
    const Result result = RunningTool(inArguments, inBefore).Wait();
    EXPECT_EQ(result.status, inStatus);
    EXPECT_TRUE(result.errors.starts_with("vframe: ")) << result.errors;
    EXPECT_EQ(result.errors.find('\n') + 1, result.errors.size()) << result.errors;
    EXPECT_NE(result.errors.find(inPartOfLine), std::string::npos) << result.errors;
}

/// Waits until the condition holds, but not for ever.
template <class Condition>
bool Eventually(const Condition& inCondition) {
    for (int i = 0; i < 6000; ++i) {
        if (inCondition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

using Rgba = std::array<std::uint8_t, 4>;

/// A picture, top row first, of straight alpha.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Rgba> pixels;
    bool hasAlpha = false;  ///< whether the file held alpha

    Rgba At(int inX, int inY) const { return pixels[static_cast<std::size_t>(inY * width + inX)]; }
};

inline Picture ReadPng(const std::string& inPath) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, inPath.c_str()), 0) << inPath;
    Picture picture{static_cast<int>(image.width), static_cast<int>(image.height),
                    std::vector<Rgba>(std::size_t{image.width} * image.height),
                    (image.format & PNG_FORMAT_FLAG_ALPHA) != 0};
    image.format = PNG_FORMAT_RGBA;
    EXPECT_NE(png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr), 0);
    return picture;
}

inline void WritePng(const std::string& inPath, const Picture& inPicture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(inPicture.width);
    image.height = static_cast<png_uint_32>(inPicture.height);
    image.format = PNG_FORMAT_RGBA;
    ASSERT_NE(
        png_image_write_to_file(&image, inPath.c_str(), 0, inPicture.pixels.data(), 0, nullptr), 0);
}

/// A picture that is smooth, unlike itself turned or mirrored, and opaque.
inline Picture MakeGradient(int inWidth, int inHeight) {
    Picture picture{inWidth, inHeight, {}};
    for (int y = 0; y < inHeight; ++y) {
        for (int x = 0; x < inWidth; ++x) {
            picture.pixels.push_back({static_cast<std::uint8_t>(20 + 200 * x / inWidth),
                                      static_cast<std::uint8_t>(40 + 180 * y / inHeight),
                                      static_cast<std::uint8_t>(200 - 150 * x / inWidth), 255});
        }
    }
    return picture;
}

/// A picture of one colour.
inline Picture MakeSolid(int inWidth, int inHeight, Rgba inColour) {
    return {inWidth, inHeight,
            std::vector<Rgba>(static_cast<std::size_t>(inWidth * inHeight), inColour)};
}

/// The largest difference of any component; the sizes must be equal.
inline int LargestDifference(const Picture& inLeft, const Picture& inRight) {
    EXPECT_EQ(inLeft.width, inRight.width);
    EXPECT_EQ(inLeft.height, inRight.height);
    int largest = 0;
    for (std::size_t i = 0; i < std::min(inLeft.pixels.size(), inRight.pixels.size()); ++i) {
        for (std::size_t c = 0; c < 4; ++c)
            largest = std::max(largest, std::abs(inLeft.pixels[i][c] - inRight.pixels[i][c]));
    }
    return largest;
}

/// A lossless clip of 16x16 frames, each of one grey.
inline void WriteClip(const std::string& inPath, const std::vector<std::uint8_t>& inGreys) {
    std::string bytes;
    for (const std::uint8_t grey : inGreys)
        bytes += std::string(16 * 16 * 4, static_cast<char>(grey));
    WriteFile("in.raw", bytes);
    ExpectRuns("convert in.raw " + inPath +
               " --opaque --input-format BGRA_4444_8u --input-size 16x16");
}

/// A temporary folder that is the current one, and a private one for what is shared between
/// processes.
class ToolTest : public testing::Test {
  protected:
    ToolTest() { fs::current_path(folder_); }
    ~ToolTest() override {
        fs::current_path("/");
        fs::remove_all(folder_);
    }

    /// Names of everything in the temporary folder.
    static std::set<std::string> Files() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator("."))
            names.insert(entry.path().filename());
        return names;
    }
    static std::string Sample(int inNumber) {
        return SAMPLES_FOLDER "/angle-" + std::to_string(inNumber) + ".png";
    }

  private:
    support::SharedFolder sharedFolder_;
    const fs::path folder_ = MakeFolder();
};

}  // namespace vframe_test

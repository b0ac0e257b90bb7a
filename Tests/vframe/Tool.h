// The program as a process, a folder that it and the tests work in, and pictures. These are read
// and written with another library than the program's, so that a mistake does not undo itself.
#pragma once

#include <fcntl.h>
#include <png.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

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

struct Result {
    int status = -1;  ///< exit status; -1 when a signal ended the program
    std::string output;
    std::string errors;
};

/// Something to do in the process before the program is started there.
using Before = void (*)();

/// One run of the program, with arguments as the shell takes them; these may send its output
/// elsewhere.
class RunningTool {
  public:
    explicit RunningTool(const std::string& inArguments, Before inBefore = nullptr) {
        const std::string command = "exec " VFRAME_PROGRAM " " + inArguments;
        id_ = fork();
        if (id_ != 0) return;
        close(STDIN_FILENO);
        open("/dev/null", O_RDONLY);  // gets the number that is free now
        dup2(output_, STDOUT_FILENO);
        dup2(errors_, STDERR_FILENO);
        if (inBefore) inBefore();
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    ~RunningTool() {
        if (id_ > 0) End(SIGKILL);
        close(output_);
        close(errors_);
    }
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    pid_t Id() const { return id_; }

    /// What it has put on standard output until now.
    std::string OutputSoFar() const { return Read(output_); }
    Result End(int inSignal) {
        kill(id_, inSignal);
        return Wait();
    }
    Result Wait() {
        int status = 0;
        EXPECT_GT(waitpid(std::exchange(id_, -1), &status, 0), 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, OutputSoFar(), Read(errors_)};
    }

  private:
    static std::string Read(int inFile) {
        return ReadFile("/proc/self/fd/" + std::to_string(inFile));
    }

    const int output_ = memfd_create("output", 0), errors_ = memfd_create("errors", 0);
    pid_t id_ = -1;
};

/// Expects success without a word on standard error; returns what is on standard output.
inline std::string ExpectRuns(const std::string& inArguments, Before inBefore = nullptr) {
    const Result result = RunningTool(inArguments, inBefore).Wait();
    EXPECT_EQ(result.status, 0) << inArguments;
    EXPECT_EQ(result.errors, "") << inArguments;
    return result.output;
}

/// Expects this exit status and exactly one line on standard error, which begins with "vframe: ".
inline void ExpectFails(const std::string& inArguments, int inStatus,
                        const std::string& inPartOfLine, Before inBefore = nullptr) {
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
    const auto byte = [](int inValue) { return static_cast<std::uint8_t>(inValue); };
    Picture picture{inWidth, inHeight, {}};
    for (int y = 0; y < inHeight; ++y) {
        for (int x = 0; x < inWidth; ++x) {
            picture.pixels.push_back({byte(20 + 200 * x / inWidth), byte(40 + 180 * y / inHeight),
                                      byte(200 - 150 * x / inWidth), 255});
        }
    }
    return picture;
}

/// A picture of one colour.
inline Picture MakeSolid(int inWidth, int inHeight, Rgba inColour) {
    return {inWidth, inHeight,
            std::vector<Rgba>(static_cast<std::size_t>(inWidth * inHeight), inColour)};
}

/// Of the components of two pictures of the same size.
struct Difference {
    int largest = 0;
    double mean = 0;
};

inline Difference Compare(const Picture& inLeft, const Picture& inRight) {
    EXPECT_EQ(std::pair(inLeft.width, inLeft.height), std::pair(inRight.width, inRight.height));
    Difference difference;
    for (std::size_t i = 0; i < std::min(inLeft.pixels.size(), inRight.pixels.size()); ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
            const int each = std::abs(inLeft.pixels[i][c] - inRight.pixels[i][c]);
            difference.largest = std::max(difference.largest, each);
            difference.mean += each / (4.0 * static_cast<double>(inLeft.pixels.size()));
        }
    }
    return difference;
}

/// A clip of 16x16 frames, each of one grey.
inline void WriteClip(const std::string& inPath, const std::string& inGreys,
                      const std::string& inShape = "") {
    std::string bytes = "YUV4MPEG2 W16 H16 F25:1 Cmono" + inShape + "\n";
    for (const char grey : inGreys)
        bytes += "FRAME\n" + std::string(16 * 16, grey);
    WriteFile(inPath, bytes);
}

/// A temporary folder that is the current one, and a private one for what is shared between
/// processes.
class ToolTest : public testing::Test {
  protected:
    ToolTest() {
        EXPECT_NE(mkdtemp(folder_.data()), nullptr);
        fs::current_path(folder_);
    }
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
    std::string folder_ = fs::temp_directory_path() / "vframe-test-XXXXXX";
};

}  // namespace vframe_test

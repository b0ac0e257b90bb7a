// vframe convert.

#include <csignal>
#include <cstring>
#include <thread>

#include "Png.h"
#include "Tool.h"

namespace vframe_test {
namespace {

using ConvertTest = ToolTest;

TEST_F(ConvertTest, LeavesEveryPixelOfAPictureAsItIs) {
    ExpectRuns({"convert", Sample(1), Path("out.png")});
    const Picture before = ReadPng(Sample(1));
    const Picture after = ReadPng(Path("out.png"));
    EXPECT_EQ(LargestDifference(before, after), 0);
    EXPECT_FALSE(after.hasAlpha);
    EXPECT_EQ(before.width, 960);
}

// Memory rows run from the bottom up, components from blue to alpha.
TEST_F(ConvertTest, WritesFrameMemoryAsItStandsAndReadsItAgain) {
    Picture picture = MakeGradient(5, 3);
    picture.pixels[0] = {1, 2, 3, 4};
    WritePng(Path("in.png"), picture);
    ExpectRuns({"convert", Path("in.png"), Path("frame.raw")});
    const std::vector<std::uint8_t> memory = ReadBytes(Path("frame.raw"));
    ASSERT_EQ(memory.size(), 5u * 3 * 4);
    const auto memoryPixel = [&](int inX, int inRow) {
        const std::uint8_t* const bytes = memory.data() + (inRow * 5 + inX) * 4;
        return Rgba{bytes[2], bytes[1], bytes[0], bytes[3]};
    };
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(memoryPixel(x, 2 - y), picture.At(x, y)) << x << ", " << y;
    }

    ExpectRuns({"convert", Path("frame.raw"), Path("out.png"), "--input-format", "BGRA_4444_8u",
                "--input-size", "5x3"});
    EXPECT_EQ(LargestDifference(ReadPng(Path("out.png")), picture), 0);
    EXPECT_TRUE(ReadPng(Path("out.png")).hasAlpha);
}

struct RoundTrip {
    const char* format;
    const char* size;
    int tolerance;
};

class RoundTripTest : public ToolTest, public testing::WithParamInterface<RoundTrip> {};

// Through frame memory: what is written is read from the picture turned, mirrored or of the wrong
// matrix otherwise.
TEST_P(RoundTripTest, KeepsThePicture) {
    const auto [format, size, tolerance] = GetParam();
    int width = 0;
    int height = 0;
    ASSERT_EQ(std::sscanf(size, "%dx%d", &width, &height), 2);
    const Picture picture = MakeGradient(width, height);
    WritePng(Path("in.png"), picture);
    ExpectRuns({"convert", Path("in.png"), Path("frame.raw"), "--format", format});
    ExpectRuns({"convert", Path("frame.raw"), Path("out.png"), "--input-format", format,
                "--input-size", size});
    EXPECT_LE(LargestDifference(ReadPng(Path("out.png")), picture), tolerance);

    ExpectRuns({"convert", Path("frame.raw"), Path("same.raw"), "--input-format", format,
                "--input-size", size, "--format", format});
    EXPECT_EQ(ReadBytes(Path("same.raw")), ReadBytes(Path("frame.raw")));
}

INSTANTIATE_TEST_SUITE_P(Formats, RoundTripTest,
                         testing::Values(RoundTrip{"ARGB_4444_8u", "61x33", 0},
                                         RoundTrip{"BGRA_4444_15u", "61x33", 0},
                                         RoundTrip{"BGRP_4444_32f_Linear", "61x33", 0},
                                         RoundTrip{"VUYA_4444_32f_709", "61x33", 0},
                                         RoundTrip{"VUYX_4444_8u", "61x33", 2},
                                         RoundTrip{"UYVY_422_8u", "62x33", 5},
                                         RoundTrip{"YUYV_422_8u_709", "62x33", 5},
                                         RoundTrip{"V210_422_10u_709", "62x33", 4}),
                         [](const auto& inInfo) { return std::string(inInfo.param.format); });

TEST_F(ConvertTest, ScalesToTheSizeThatIsGiven) {
    Picture quarters{
        2, 2, false, {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {9, 9, 9, 255}}};
    WritePng(Path("in.png"), quarters);
    ExpectRuns({"convert", Path("in.png"), Path("out.png"), "--size", "7x6", "--quality", "0"});
    const Picture scaled = ReadPng(Path("out.png"));
    ASSERT_EQ(scaled.width, 7);
    ASSERT_EQ(scaled.height, 6);
    EXPECT_EQ(scaled.At(0, 0), quarters.At(0, 0));
    EXPECT_EQ(scaled.At(6, 2), quarters.At(1, 0));
    EXPECT_EQ(scaled.At(0, 3), quarters.At(0, 1));
    EXPECT_EQ(scaled.At(6, 5), quarters.At(1, 1));

    ExpectRuns({"convert", Sample(1), Path("fast.png"), "--size", "333x201", "--quality", "0"});
    ExpectRuns({"convert", Sample(1), Path("good.png"), "--size", "333x201", "--quality", "5"});
    EXPECT_GT(LargestDifference(ReadPng(Path("fast.png")), ReadPng(Path("good.png"))), 30);
}

TEST_F(ConvertTest, ReadsGreyPicturesInTheirFullRange) {
    WriteGreyPng(Path("in.png"), std::vector<std::uint8_t>{0, 1, 15, 128, 254, 255});
    ExpectRuns({"convert", Path("in.png"), Path("out.png")});
    const Picture picture = ReadPng(Path("out.png"));
    const std::vector<Rgba> expected{{0, 0, 0, 255},       {1, 1, 1, 255},
                                     {15, 15, 15, 255},    {128, 128, 128, 255},
                                     {254, 254, 254, 255}, {255, 255, 255, 255}};
    EXPECT_EQ(picture.pixels, expected);
}

TEST_F(ConvertTest, KeepsTheDepthOfDeepPictures) {
    const std::vector<std::uint16_t> values{0, 1, 300, 32768, 65534, 65535};
    WriteGreyPng(Path("in.png"), values);
    ExpectRuns({"convert", Path("in.png"), Path("frame.raw"), "--format", "BGRA_4444_32f"});
    const std::vector<std::uint8_t> memory = ReadBytes(Path("frame.raw"));
    ASSERT_EQ(memory.size(), values.size() * 16);
    for (std::size_t i = 0; i < values.size(); ++i) {
        float green = 0;
        std::memcpy(&green, memory.data() + i * 16 + 4, sizeof green);
        EXPECT_NEAR(green * 65535, values[i], 0.6) << i;
    }
}

/// Frames of one size, one after the other in a raw file, which hold different samples.
void WriteFrames(const ToolTest&, const std::string& inPath, const std::string& inScratch,
                 const std::vector<std::string>& inPictures) {
    std::vector<std::uint8_t> frames;
    for (const std::string& picture : inPictures) {
        ExpectRuns({"convert", picture, inScratch, "--size", "160x90"});
        const std::vector<std::uint8_t> frame = ReadBytes(inScratch);
        frames.insert(frames.end(), frame.begin(), frame.end());
    }
    WriteBytes(inPath, frames);
}

TEST_F(ConvertTest, KeepsEveryFrameOfALosslessClip) {
    WriteFrames(*this, Path("in.raw"), Path("one.raw"),
                {Sample(1), Sample(2), Sample(3), Sample(4), Sample(2)});
    ExpectRuns({"convert", Path("in.raw"), Path("clip.mkv"), "--input-format", "BGRA_4444_8u",
                "--input-size", "160x90"});
    ExpectRuns({"convert", Path("clip.mkv"), Path("out.raw")});
    EXPECT_EQ(ReadBytes(Path("out.raw")), ReadBytes(Path("in.raw")));

    ExpectRuns({"convert", Path("clip.mkv"), Path("first.png")});
    ExpectRuns({"convert", Sample(1), Path("expected.png"), "--size", "160x90"});
    EXPECT_EQ(LargestDifference(ReadPng(Path("first.png")), ReadPng(Path("expected.png"))), 0);
}

TEST_F(ConvertTest, KeepsCountOrderAndColoursOfClipsForPlayers) {
    WriteFrames(*this, Path("in.raw"), Path("one.raw"),
                {Sample(4), Sample(3), Sample(2), Sample(1), Sample(1), Sample(4), Sample(3)});
    for (const std::string ending : {"mp4", "mov", "avi", "webm"}) {
        SCOPED_TRACE(ending);
        const std::string clip = Path("clip." + ending);
        ExpectRuns({"convert", Path("in.raw"), clip, "--input-format", "BGRA_4444_8u",
                    "--input-size", "160x90"});
        ExpectRuns({"convert", clip, Path("out.raw")});
        const std::vector<std::uint8_t> before = ReadBytes(Path("in.raw"));
        const std::vector<std::uint8_t> after = ReadBytes(Path("out.raw"));
        ASSERT_EQ(after.size(), before.size());
        double sum = 0;
        for (std::size_t i = 0; i < before.size(); ++i)
            sum += std::abs(before[i] - after[i]);
        // Another frame in the place of one, or the wrong range or matrix, gives 8 and more.
        EXPECT_LT(sum / static_cast<double>(before.size()), 3);
    }
}

TEST_F(ConvertTest, LeavesNothingBehindWhenItIsEnded) {
    // Nine thousand black frames that take no room on the disk.
    WriteBytes(Path("in.raw"), {});
    std::filesystem::resize_file(Path("in.raw"), std::uintmax_t{1280} * 720 * 4 * 9000);
    RunningTool tool({"convert", Path("in.raw"), Path("out.mkv"), "--input-format", "BGRA_4444_8u",
                      "--input-size", "1280x720"});
    while (Files().size() < 2 && tool.IsRunning())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    tool.Signal(SIGTERM);
    const Result result = tool.Wait();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "vframe: interrupted: ended by a signal\n");
    EXPECT_EQ(Files(), std::vector<std::string>{"in.raw"});
}

}  // namespace
}  // namespace vframe_test

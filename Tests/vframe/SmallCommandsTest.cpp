// vframe formats, info, quantise and cut.

#include <regex>

#include "Tool.h"
#include "VideoFrame/VideoFrame.h"

using namespace vframe_test;

namespace {

using SmallCommandsTest = ToolTest;

TEST_F(SmallCommandsTest, ListsEveryFormatOnce) {
    const std::string output = "\n" + ExpectRuns("formats");
    const auto formats = tulomediatypes::NamedPixelFormats();
    for (const auto& named : formats)
        EXPECT_NE(output.find("\n" + std::string(named.name) + " "), output.npos) << named.name;
    const auto lines = static_cast<std::size_t>(std::count(output.begin(), output.end(), '\n'));
    EXPECT_EQ(lines, formats.size() + 2) << "the heading, and the line before it";
    // It holds alpha, has rows, and is unknown to the renderer.
    EXPECT_NE(output.find("16            8  yes    yes   -      -"), output.npos);
}

TEST_F(SmallCommandsTest, InfoShowsTheFrame) {
    const std::string spaced = ExpectRuns("info " + Sample(1) + " --format V210_422_10u");
    const std::string output = std::regex_replace(spaced, std::regex(" +"), " ");
    for (const std::string words : {"bounds 960x540 at (0, 0)", "format V210_422_10u",
                                    "has alpha no", "field type 0, one progressive picture",
                                    "data size 1,382,400 bytes", "row bytes 2,560 bytes"})
        EXPECT_NE(output.find(words), output.npos) << words << " in:\n" << output;
}

// Bitmaps are read by another program.
Picture ReadBmp(const std::string& inPath) {
    EXPECT_EQ(std::system(("convert " + inPath + " PNG32:read.png").c_str()), 0);
    return ReadPng("read.png");
}

TEST_F(SmallCommandsTest, QuantisesPicturesAndNumbersThoseOfAClip) {
    WritePng("odd.png", MakeGradient(13, 7));
    const std::tuple<std::string, std::string, std::size_t, double> kCases[] = {
        {Sample(1), "", 256, 2.5},
        {Sample(1), " --colours 16", 16, 6},
        {"odd.png", " --colours 200", 200, 4}};
    for (const auto& [input, option, most, difference] : kCases) {
        SCOPED_TRACE(option);
        ExpectRuns("quantise " + input + " out.bmp" + option);
        const Picture reduced = ReadBmp("out.bmp");
        EXPECT_LE(std::set<Rgba>(reduced.pixels.begin(), reduced.pixels.end()).size(), most);
        EXPECT_LT(Compare(ReadPng(input), reduced).mean, difference);
    }
    WriteClip("clip.y4m", "\x32\x3C");
    ExpectRuns("quantise clip.y4m clip.bmp");
    EXPECT_TRUE(fs::exists("clip-0001.bmp") && fs::exists("clip-0002.bmp"));
}

TEST_F(SmallCommandsTest, CutsShapes) {
    WritePng("red.png", MakeSolid(5, 5, {255, 0, 0, 255}));
    WritePng("blue.png", MakeSolid(40, 30, {0, 0, 255, 255}));
    const std::pair<std::string, bool (*)(int x, int y)> kCases[] = {
        {"--polygon '-5,-5 40.3,-5 -5,40.3'", [](int x, int y) { return x + y < 35; }},
        {"--bezier '0,0 0,0 40,0 40,0 40,0 40,10 40,10 40,10 0,10 0,10'",
         [](int x, int y) { return x >= 0 && y < 10; }},
    };
    for (const auto& [shape, isRed] : kCases) {
        SCOPED_TRACE(shape);
        ExpectRuns("cut red.png blue.png out.png " + shape);
        const Picture out = ReadPng("out.png");
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x)
                ASSERT_EQ(out.At(x, y)[0], isRed(x, y) ? 255 : 0) << x << ", " << y;
        }
    }
}

}  // namespace

// vframe quantise and vframe cut.

#include <cmath>
#include <cstdlib>

#include "Tool.h"

namespace vframe_test {
namespace {

using RasterCommandsTest = ToolTest;

/// Peak signal to noise of the colours, in decibels.
double Likeness(const Picture& inLeft, const Picture& inRight) {
    double error = 0;
    for (std::size_t i = 0; i < inLeft.pixels.size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            error += std::pow(inLeft.pixels[i][c] - inRight.pixels[i][c], 2);
    }
    error /= 3.0 * static_cast<double>(inLeft.pixels.size());
    return 10 * std::log10(255 * 255 / std::max(error, 1e-9));
}

// Bitmaps are read by another program.
Picture ReadBmp(const std::string& inPath) {
    EXPECT_EQ(std::system(("convert " + inPath + " PNG32:read.png").c_str()), 0);
    return ReadPng("read.png");
}

TEST_F(RasterCommandsTest, QuantisesPictures) {
    const Picture original = ReadPng(Sample(1));
    const struct {
        const char* option;
        std::size_t most;
        double likeness;
    } kCases[] = {{"", 256, 33},
                  {"--colours 236", 236, 33},
                  {"--colours 16", 16, 24},
                  {"--colours 2", 2, 10}};
    for (const auto& [option, most, likeness] : kCases) {
        SCOPED_TRACE(option);
        ExpectRuns("quantise " + Sample(1) + " out.bmp " + option);
        const Picture reduced = ReadBmp("out.bmp");
        EXPECT_LE(std::set<Rgba>(reduced.pixels.begin(), reduced.pixels.end()).size(), most);
        EXPECT_GT(Likeness(original, reduced), likeness);
    }
    WritePng("odd.png", MakeGradient(13, 7));
    ExpectRuns("quantise odd.png odd.bmp --colours 200");
    EXPECT_GT(Likeness(ReadPng("odd.png"), ReadBmp("odd.bmp")), 30);
}

TEST_F(RasterCommandsTest, NumbersThePicturesOfAClip) {
    WritePng("one.png", MakeGradient(20, 10));
    ASSERT_EQ(std::system("convert one.png one.png one.png clip.gif"), 0);
    ExpectRuns("quantise clip.gif out.bmp");
    EXPECT_TRUE(Files().contains("out-0001.bmp"));
    EXPECT_TRUE(Files().contains("out-0003.bmp"));
    EXPECT_FALSE(Files().contains("out.bmp"));
}

TEST_F(RasterCommandsTest, CutsShapes) {
    WritePng("red.png", MakeSolid(5, 5, {255, 0, 0, 255}));
    WritePng("blue.png", MakeSolid(40, 30, {0, 0, 255, 255}));
    const struct {
        const char* shape;
        bool (*isRed)(int x, int y);
    } kCases[] = {
        {"--polygon '10,5 20,5 20,25 10,25'",
         [](int x, int y) { return x >= 10 && x < 20 && y >= 5 && y < 25; }},
        {"--polygon '-5,-5 40.3,-5 -5,40.3'", [](int x, int y) { return x + y < 35; }},
        {"--bezier '0,0 0,0 40,0 40,0 40,0 40,10 40,10 40,10 0,10 0,10'",
         [](int x, int y) { return x >= 0 && y < 10; }},
    };
    for (const auto& [shape, isRed] : kCases) {
        SCOPED_TRACE(shape);
        ExpectRuns(std::string("cut red.png blue.png out.png ") + shape);
        const Picture out = ReadPng("out.png");
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x)
                ASSERT_EQ(out.At(x, y)[0], isRed(x, y) ? 255 : 0) << x << ", " << y;
        }
    }
}

}  // namespace
}  // namespace vframe_test

// vframe multicam.

#include "Tool.h"

namespace vframe_test {
namespace {

const struct {
    char letter;
    Rgba colour;
} kColours[] = {{'.', {0, 0, 0, 255}},       {'r', {255, 0, 0, 255}}, {'y', {255, 255, 0, 255}},
                {'P', {200, 100, 120, 255}}, {'G', {0, 128, 0, 255}}, {'B', {0, 0, 200, 255}},
                {'W', {255, 255, 255, 255}}};

Rgba Colour(char inLetter) {
    return std::ranges::find(kColours, inLetter, [](const auto& c) { return c.letter; })->colour;
}

/// A letter for the colour of every tenth pixel; red and yellow are those of outlines.
std::string ToLetters(const Picture& inPicture) {
    std::string letters;
    for (int y = 2; y < inPicture.height; y += 10) {
        letters += "\n";
        for (int x = 2; x < inPicture.width; x += 10) {
            const auto* const found = std::ranges::find(kColours, inPicture.At(x, y),
                                                        [](const auto& c) { return c.colour; });
            letters += found == std::end(kColours) ? '?' : found->letter;
        }
    }
    return letters;
}

class MulticamTest : public ToolTest {
  protected:
    MulticamTest() {
        WritePng("pink.png", MakeSolid(40, 20, Colour('P')));
        WritePng("green.png", MakeSolid(20, 40, Colour('G')));
        WritePng("blue.png", MakeSolid(30, 20, Colour('B')));
        WritePng("white.png", MakeSolid(10, 10, Colour('W')));
    }
};

TEST_F(MulticamTest, FitsAnglesIntoCellsAndOutlinesOne) {
    const std::string all = "pink.png green.png blue.png white.png out.png --size 80x60 ";
    const struct {
        std::string arguments, letters;
    } kCases[] = {
        {all, R"(
yyyy.GG.
yPPP.GG.
yPPP.GG.
BBBB.WWW
BBBB.WWW
BBBB.WWW)"},
        {all + "--selected 2 --side-by-side --red", R"(
..rr.GGG
PPrG.GGG
..rG.GGG
.....GGG
BBWW.GGG
..WW.GGG)"},
        {"pink.png white.png out.png --selected 0", R"(
PP.W
....)"},
    };
    for (const auto& [arguments, letters] : kCases) {
        SCOPED_TRACE(arguments);
        ExpectRuns("multicam " + arguments);
        EXPECT_EQ(ToLetters(ReadPng("out.png")), letters);
        const std::string bytes = ReadFile("out.png");
        ExpectRuns("multicam --all-processors " + arguments);
        EXPECT_TRUE(ReadFile("out.png") == bytes);
    }
}

TEST_F(MulticamTest, RunsClipsBesideEachOtherUntilTheLongestEnds) {
    WriteClip("short.y4m", "\x32\x32\x32");
    WriteClip("long.y4m", std::string(5, '\x5A'));
    ExpectRuns("multicam white.png short.y4m long.y4m out.raw --selected 0 --size 32x32");
    const std::string frames = ReadFile("out.raw");
    constexpr std::size_t kFrameBytes = 32 * 32 * 4;
    ASSERT_EQ(frames.size(), 5 * kFrameBytes);
    for (std::size_t frame = 0; frame < 5; ++frame) {
        const auto blueAt = [&](std::size_t x, std::size_t y) {
            return static_cast<std::uint8_t>(frames[frame * kFrameBytes + ((31 - y) * 32 + x) * 4]);
        };
        EXPECT_EQ(blueAt(8, 8), 255) << frame;
        EXPECT_EQ(blueAt(24, 8), frame < 3 ? 50 : 0) << frame;
        EXPECT_EQ(blueAt(8, 24), 90) << frame;
        EXPECT_EQ(blueAt(24, 24), 0) << frame;
    }
    ExpectRuns("multicam short.y4m white.png first.png --selected 0 --size 32x32");
    EXPECT_EQ(ReadPng("first.png").At(8, 8), (Rgba{50, 50, 50, 255}));
}

}  // namespace
}  // namespace vframe_test

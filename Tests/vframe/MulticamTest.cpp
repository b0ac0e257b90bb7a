// vframe multicam.

#include "Tool.h"

using namespace vframe_test;

namespace {

class MulticamTest : public ToolTest {
  protected:
    MulticamTest() {
        Write("pink.png", 40, 20, 'P');
        Write("green.png", 20, 40, 'G');
        Write("blue.png", 30, 20, 'B');
        Write("white.png", 10, 10, 'W');
    }

    /// Its grey is a letter.
    static void Write(const std::string& inPath, int inWidth, int inHeight, std::uint8_t inGrey) {
        WritePng(inPath, MakeSolid(inWidth, inHeight, {inGrey, inGrey, inGrey, 255}));
    }
};

/// The grey of every tenth pixel; red and yellow are the colours of outlines.
std::string ToLetters(const Picture& inPicture) {
    std::string letters;
    for (int y = 2; y < inPicture.height; y += 10) {
        letters += "\n";
        for (int x = 2; x < inPicture.width; x += 10) {
            const Rgba pixel = inPicture.At(x, y);
            const char outline = pixel[1] == 255 ? 'y' : 'r';
            const char letter = pixel[0] == 0 ? '.' : static_cast<char>(pixel[0]);
            letters += pixel[0] == 255 ? outline : letter;
        }
    }
    return letters;
}

TEST_F(MulticamTest, FitsAnglesIntoCellsAndOutlinesOne) {
    const std::string all = "pink.png green.png blue.png white.png out.png --size 80x60 ";
    const std::pair<std::string, std::string> kCases[] = {
        {all, R"(
yyyy.GG.
yPPP.GG.
yPPP.GG.
BBBB.WWW
BBBB.WWW
BBBB.WWW)"},
        {all + "--selected 2 --side-by-side --red --all-processors", R"(
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
    }
}

}  // namespace

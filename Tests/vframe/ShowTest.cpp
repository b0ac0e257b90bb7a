// vframe show: what is in its window, by a client of the same X server.

#include <X11/keysym.h>

#include "Tool.h"
#include "XServer.h"

namespace vframe_test {
namespace {

constexpr Rgba kBlack{0, 0, 0, 255};
constexpr Rgba kRed{250, 10, 20, 255};
constexpr Rgba kGreen{30, 240, 40, 255};
constexpr Rgba kBlue{50, 60, 230, 255};
constexpr Rgba kGrey{90, 100, 110, 255};

Rgba QuarterColour(bool inIsLeft, bool inIsUpper) {
    if (inIsUpper) return inIsLeft ? kRed : kGreen;
    return inIsLeft ? kBlue : kGrey;
}

/// A colour in each quarter.
Picture MakeQuarters(int inWidth, int inHeight) {
    Picture picture{inWidth, inHeight, {}};
    for (int y = 0; y < inHeight; ++y) {
        for (int x = 0; x < inWidth; ++x)
            picture.pixels.push_back(QuarterColour(x < inWidth / 2, y < inHeight / 2));
    }
    return picture;
}

bool IsSame(const Picture& inLeft, const Picture& inRight) {
    return inLeft.width == inRight.width && inLeft.pixels == inRight.pixels;
}

void ExpectSoon(const ShownWindow& inWindow, const Picture& inExpected) {
    EXPECT_TRUE(Eventually([&] { return IsSame(inWindow.Look(), inExpected); }));
}

class ShowTest : public ToolTest {
  protected:
    static void SetUpTestSuite() { server_ = std::make_unique<XServer>(); }
    static void TearDownTestSuite() { server_.reset(); }

  private:
    static std::unique_ptr<XServer> server_;
};
std::unique_ptr<XServer> ShowTest::server_;

void ExpectEnds(RunningTool& inTool, int inStatus, const std::string& inErrors) {
    const Result result = inTool.Wait();
    EXPECT_EQ(result.status, inStatus);
    EXPECT_EQ(result.errors, inErrors);
}

TEST_F(ShowTest, ShowsEveryPixelAsItIsAndAgainWhenItWasCovered) {
    Picture picture = MakeQuarters(161, 91);
    picture.pixels.front() = {1, 2, 3, 255};
    picture.pixels.back() = {4, 5, 6, 255};
    WritePng("in.png", picture);
    RunningTool tool("show in.png");
    ShownWindow window;
    ExpectSoon(window, picture);
    EXPECT_EQ(window.Title(), "in.png, frame 1, 161x91");
    window.Spoil();
    ExpectSoon(window, picture);
    window.Press(XK_Escape);
    ExpectEnds(tool, 0, "");
}

/// The size of a window, and the picture in it.
struct Fit {
    int width, height;
    int left, top, right, bottom;
};

/// Whether it shows the quarters there and black around them. Does not look where quarters meet,
/// which scaling may blur.
bool HasQuarters(const Picture& inShown, const Fit& inFit) {
    constexpr int kBlurred = 6;
    if (inShown.width != inFit.width || inShown.height != inFit.height) return false;
    const int middle = (inFit.left + inFit.right) / 2, centre = (inFit.top + inFit.bottom) / 2;
    for (int y = 0; y < inFit.height; ++y) {
        for (int x = 0; x < inFit.width; ++x) {
            const bool isInside =
                x >= inFit.left && x < inFit.right && y >= inFit.top && y < inFit.bottom;
            const bool isBlurred =
                std::abs(x - middle) < kBlurred || std::abs(y - centre) < kBlurred;
            if (isInside && isBlurred) continue;
            const Rgba colour = isInside ? QuarterColour(x < middle, y < centre) : kBlack;
            if (inShown.At(x, y) != colour) return false;
        }
    }
    return true;
}

// Large pictures are scaled in another way than small ones.
TEST_F(ShowTest, FitsThePictureBetweenBars) {
    const Fit kFits[] = {{400, 100, 100, 0, 300, 100},
                         {200, 300, 0, 100, 200, 200},
                         {500, 200, 50, 0, 450, 200},
                         {100, 80, 0, 15, 100, 65}};
    for (const int pictureHeight : {100, 500}) {
        WritePng("in.png", MakeQuarters(2 * pictureHeight, pictureHeight));
        RunningTool tool("show in.png");
        ShownWindow window;
        for (const Fit& fit : kFits) {
            SCOPED_TRACE(testing::Message()
                         << pictureHeight << " " << fit.width << "x" << fit.height);
            window.Resize(fit.width, fit.height);
            EXPECT_TRUE(Eventually([&] { return HasQuarters(window.Look(), fit); }));
        }
        window.AskToClose();
        ExpectEnds(tool, 0, "");
    }
}

TEST_F(ShowTest, ShowsPixelsInTheirShapeAndOnBlackInASizeThatGoesOntoTheScreen) {
    WritePng("large.png", MakeSolid(2560, 1000, kGreen));
    WritePng("clear.png", MakeSolid(20, 20, {200, 100, 50, 0x33}));
    WriteFile("wide.y4m", "YUV4MPEG2 W16 H16 F25:1 A5:2 Cmono\nFRAME\n" + std::string(256, '\x14'));
    const std::pair<std::string, Picture> kCases[] = {
        {"large.png", MakeSolid(1280, 500, kGreen)},
        {"clear.png", MakeSolid(20, 20, {40, 20, 10, 255})},
        {"wide.y4m", MakeSolid(40, 16, {20, 20, 20, 255})}};
    for (const auto& [name, shown] : kCases) {
        SCOPED_TRACE(name);
        RunningTool tool("show " + name);
        ShownWindow window;
        ExpectSoon(window, shown);
        window.Press(XK_q);
        ExpectEnds(tool, 0, "");
    }
}

// Without memory every frame but the last has to be read again.
TEST_F(ShowTest, StepsThroughAClipBothWays) {
    const std::vector<std::uint8_t> greys{10, 40, 70, 100, 130, 160};
    WriteClip("clip.mkv", greys);
    const struct {
        KeySym key;
        std::size_t frame;
    } kSteps[] = {{XK_Left, 0},  {XK_Right, 1}, {XK_Down, 2},  {XK_Left, 1}, {XK_space, 2},
                  {XK_Home, 0},  {XK_End, 5},   {XK_Right, 5}, {XK_Up, 4},   {XK_Left, 3},
                  {XK_Right, 4}, {XK_Home, 0},  {XK_Right, 1}, {XK_End, 5}};
    for (const std::string options : {"", " --memory 0"}) {
        RunningTool tool("show clip.mkv" + options);
        ShownWindow window;
        for (const auto& [key, frame] : kSteps) {
            SCOPED_TRACE(options + " " + XKeysymToString(key) + " " + std::to_string(frame));
            window.Press(key);
            const std::uint8_t grey = greys[frame];
            ExpectSoon(window, MakeSolid(16, 16, {grey, grey, grey, 255}));
            EXPECT_EQ(window.Title(), "clip.mkv, frame " + std::to_string(frame + 1) + ", 16x16");
        }
        window.Press(XK_Escape);
        ExpectEnds(tool, 0, "");
    }
}

TEST_F(ShowTest, StepsSeveralInputsTogetherInAGrid) {
    WriteClip("short.mkv", {50, 60});
    WriteClip("long.mkv", {150, 160, 170});
    WritePng("still.png", MakeSolid(16, 16, kRed));
    RunningTool tool("show short.mkv still.png long.mkv");
    ShownWindow window;
    const auto expectCells = [&](std::uint8_t inShort, std::uint8_t inLong) {
        EXPECT_TRUE(Eventually([&] {
            const Picture shown = window.Look();
            return shown.pixels.size() == 256 && shown.At(4, 4)[0] == inShort &&
                   shown.At(12, 4) == kRed && shown.At(4, 12)[0] == inLong &&
                   shown.At(12, 12) == kBlack;
        }));
    };
    expectCells(50, 150);
    window.Press(XK_End);
    expectCells(0, 170);
    window.Press(XK_Left);
    expectCells(60, 160);
    EXPECT_EQ(window.Title(), "short.mkv, still.png, long.mkv, frame 2, 16x16");
    window.Press(XK_Escape);
    ExpectEnds(tool, 0, "");
}

TEST_F(ShowTest, ShowsWhatCanBeReadOfABrokenClipAndSaysSoInTheEnd) {
    std::string bytes = "YUV4MPEG2 W16 H16 F25:1 Cmono\n";
    for (const char grey : {'\x14', '\x28', '\x3C'})
        bytes += "FRAME\n" + std::string(16 * 16, grey);
    WriteFile("broken.y4m", bytes + std::string(9999, '?'));
    RunningTool tool("show broken.y4m");
    ShownWindow window;
    window.Press(XK_End);
    ExpectSoon(window, MakeSolid(16, 16, {60, 60, 60, 255}));
    EXPECT_EQ(window.Title(), "broken.y4m, frame 3, 16x16");
    window.Press(XK_Home);
    ExpectSoon(window, MakeSolid(16, 16, {20, 20, 20, 255}));
    window.Press(XK_Escape);
    ExpectEnds(tool, 1, "vframe: broken.y4m: Invalid data found when processing input\n");
}

TEST_F(ShowTest, EndsWhenItIsAskedTo) {
    WritePng("in.png", MakeSolid(20, 20, kBlue));
    for (const int signal : {SIGINT, SIGTERM}) {
        RunningTool tool("show in.png");
        ExpectSoon(ShownWindow(), MakeSolid(20, 20, kBlue));
        const Result result = tool.End(signal);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
    }
}

// Each with a server of its own, or none.
TEST(ShowWithoutDisplayTest, FailsWithOneLine) {
    const std::string show = "show " SAMPLES_FOLDER "/angle-1.png";
    unsetenv("DISPLAY");
    ExpectFails(show, 1, "vframe: display: there is none");
    setenv("DISPLAY", ":98765", 1);
    ExpectFails(show, 1, "vframe: display: ':98765' cannot be reached");
    const XServer fewColours("640x480x8");
    ExpectFails(show, 1, "vframe: display: its colours are not 24 bits");
}

TEST(ShowWithoutDisplayTest, EndsWithItsServer) {
    XServer server;
    RunningTool tool("show " SAMPLES_FOLDER "/angle-1.png");
    { const ShownWindow window; }
    server.End();
    ExpectEnds(tool, 1, "vframe: display: the connection was lost\n");
}

}  // namespace
}  // namespace vframe_test

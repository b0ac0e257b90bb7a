// vframe show: what is in its window, by a client of the same X server.

// Before Xlib, which makes macros of common words.
#include <cstdio>

#include "Tool.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

using namespace vframe_test;

namespace {

// ---------------------------------------------------------------------------------------------
// The server

/// Runs as long as the object lives. The programs started meanwhile have DISPLAY set to it.
class XServer {
  public:
    explicit XServer(const std::string& inScreen = "1280x800x24")
        : output_(popen(
              ("echo $$; exec setpriv --pdeathsig TERM Xvfb -noreset -nolisten tcp -displayfd 3 "
               "3>&1 >/dev/null 2>&1 -screen 0 " +
               inScreen)
                  .c_str(),
              "r")) {
        int number = -1;
        // The server says which number it has found, when it is ready.
        EXPECT_EQ(std::fscanf(output_, "%d %d", &id_, &number), 2) << "Xvfb does not start";
        setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
    }
    ~XServer() { End(); }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    void End() {
        if (id_ <= 0) return;
        kill(std::exchange(id_, 0), SIGTERM);
        pclose(output_);
    }

  private:
    FILE* output_;
    pid_t id_ = 0;
};

/// The one window of the server that DISPLAY names, once it is there.
class ShownWindow {
  public:
    ShownWindow() {
        EXPECT_TRUE(Eventually([&] { return Find(); }));
    }
    ~ShownWindow() { XCloseDisplay(display_); }
    ShownWindow(const ShownWindow&) = delete;
    ShownWindow& operator=(const ShownWindow&) = delete;

    std::string Title() const {
        XTextProperty text{};
        if (XGetTextProperty(display_, window_, &text, AtomOf("_NET_WM_NAME")) == 0) return "";
        const std::string title(reinterpret_cast<const char*>(text.value), text.nitems);
        XFree(text.value);
        return title;
    }

    /// What can be seen of it now.
    Picture Look() const {
        const XWindowAttributes now = Attributes();
        XImage* const image = XGetImage(display_, window_, 0, 0, static_cast<unsigned>(now.width),
                                        static_cast<unsigned>(now.height), AllPlanes, ZPixmap);
        if (!image) return {};
        Picture picture = MakeSolid(now.width, now.height, {});
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(image->data);
        for (Rgba& pixel : picture.pixels) {
            pixel = {bytes[2], bytes[1], bytes[0], 255};
            bytes += 4;
        }
        XDestroyImage(image);
        return picture;
    }

    /// Paints over its contents; the window is told that it has to be drawn again.
    void Spoil() {
        XFillRectangle(display_, window_, DefaultGC(display_, 0), 0, 0, 32767, 32767);
        XClearArea(display_, window_, 0, 0, 0, 0, True);
        XSync(display_, False);
    }

    void Press(KeySym inKey) {
        XEvent event{};
        event.xkey.type = KeyPress;
        event.xkey.window = window_;
        event.xkey.keycode = XKeysymToKeycode(display_, inKey);
        Send(event, KeyPressMask);
    }

    /// As a window manager does when its close button is pressed.
    void AskToClose() {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = window_;
        event.xclient.message_type = AtomOf("WM_PROTOCOLS");
        event.xclient.format = 32;
        event.xclient.data.l[0] = static_cast<long>(AtomOf("WM_DELETE_WINDOW"));
        Send(event, NoEventMask);
    }

  private:
    /// Without a window manager, windows are children of the root.
    bool Find() {
        Window root = 0, parent = 0, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display_, DefaultRootWindow(display_), &root, &parent, &children, &count);
        if (count > 0) window_ = children[count - 1];
        if (children) XFree(children);
        return window_ != 0 && Attributes().map_state == IsViewable;
    }
    XWindowAttributes Attributes() const {
        XWindowAttributes attributes{};
        XGetWindowAttributes(display_, window_, &attributes);
        return attributes;
    }
    Atom AtomOf(const char* inName) const { return XInternAtom(display_, inName, False); }
    void Send(XEvent& inEvent, long inMask) {
        XSendEvent(display_, window_, False, inMask, &inEvent);
        XSync(display_, False);
    }

    Display* const display_ = XOpenDisplay(nullptr);
    Window window_ = 0;
};

// ---------------------------------------------------------------------------------------------
// The tests

constexpr Rgba kRed{250, 10, 20, 255};

void ExpectSoon(const ShownWindow& inWindow, const Picture& inExpected) {
    EXPECT_TRUE(Eventually([&] {
        const Picture shown = inWindow.Look();
        return shown.width == inExpected.width && shown.pixels == inExpected.pixels;
    }));
}

void ExpectEnds(RunningTool& inTool, int inStatus, const std::string& inErrors) {
    const Result result = inTool.Wait();
    EXPECT_EQ(result.status, inStatus);
    EXPECT_EQ(result.errors, inErrors);
}

class ShowTest : public ToolTest {
  protected:
    XServer server_;
};

TEST_F(ShowTest, ShowsPixelsInTheirShapeOnBlackAndAgainWhenTheyWereCovered) {
    WritePng("plain.png", MakeGradient(161, 91));
    WritePng("large.png", MakeSolid(2560, 1000, kRed));
    WritePng("clear.png", MakeSolid(20, 20, {200, 100, 50, 0x33}));
    WriteClip("wide.y4m", "\x14", " A5:2");
    const std::tuple<std::string, Picture, int> kCases[] = {
        {"plain.png", MakeGradient(161, 91), 0},
        {"large.png", MakeSolid(1280, 500, kRed), 0},
        {"clear.png", MakeSolid(20, 20, {40, 20, 10, 255}), SIGINT},
        {"wide.y4m", MakeSolid(40, 16, {20, 20, 20, 255}), SIGTERM}};
    for (const auto& [name, shown, signal] : kCases) {
        SCOPED_TRACE(name);
        RunningTool tool("show " + name);
        ShownWindow window;
        ExpectSoon(window, shown);
        window.Spoil();
        ExpectSoon(window, shown);
        kill(tool.Id(), signal);
        if (signal == 0) window.Press(XK_q);
        ExpectEnds(tool, 0, "");
    }
}

// Without memory every frame but the last has to be read again.
TEST_F(ShowTest, StepsThroughAClipBothWays) {
    const std::string greys = "\x0A\x28\x46\x64\x82\xA0";
    WriteClip("clip.y4m", greys);
    const std::pair<KeySym, std::size_t> kSteps[] = {
        {XK_Left, 0},  {XK_Right, 1}, {XK_Down, 2},  {XK_Left, 1}, {XK_space, 2},
        {XK_Home, 0},  {XK_End, 5},   {XK_Right, 5}, {XK_Up, 4},   {XK_Left, 3},
        {XK_Right, 4}, {XK_Home, 0},  {XK_Right, 1}, {XK_End, 5}};
    for (const std::string options : {"", " --memory 0"}) {
        RunningTool tool("show clip.y4m" + options);
        ShownWindow window;
        for (const auto& [key, frame] : kSteps) {
            SCOPED_TRACE(options + " " + XKeysymToString(key) + " " + std::to_string(frame));
            window.Press(key);
            const auto grey = static_cast<std::uint8_t>(greys[frame]);
            ExpectSoon(window, MakeSolid(16, 16, {grey, grey, grey, 255}));
            EXPECT_EQ(window.Title(), "clip.y4m, frame " + std::to_string(frame + 1) + ", 16x16");
        }
        window.Press(XK_Escape);
        ExpectEnds(tool, 0, "");
    }
}

TEST_F(ShowTest, ShowsWhatCanBeReadOfABrokenClipAndSaysSoInTheEnd) {
    WriteClip("broken.y4m", "\x14\x28\x3C");
    WriteFile("broken.y4m", ReadFile("broken.y4m") + std::string(9999, '?'));
    RunningTool tool("show broken.y4m");
    ShownWindow window;
    window.Press(XK_End);
    ExpectSoon(window, MakeSolid(16, 16, {60, 60, 60, 255}));
    window.Press(XK_Escape);
    ExpectEnds(tool, 1, "vframe: broken.y4m: Invalid data found when processing input\n");
}

TEST_F(ShowTest, FailsWithOneLineWithoutADisplay) {
    const std::string show = "show " + Sample(1);
    {
        RunningTool tool(show);
        { const ShownWindow window; }
        server_.End();
        ExpectEnds(tool, 1, "vframe: display: the connection was lost\n");
    }
    ExpectFails(show, 1, "vframe: display: '" + std::string(getenv("DISPLAY")));
    unsetenv("DISPLAY");
    ExpectFails(show, 1, "vframe: display: there is none");
    const XServer fewColours("640x480x8");
    ExpectFails(show, 1, "vframe: display: its colours are not 24 bits");
}

}  // namespace

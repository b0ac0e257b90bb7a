// An X server without a screen to look at, and what a test does to a window there: it looks,
// resizes and presses keys.
#pragma once

// Before Xlib, which makes macros of common words.
#include "Tool.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <cstdlib>

namespace vframe_test {

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

    void Resize(unsigned inWidth, unsigned inHeight) {
        XResizeWindow(display_, window_, inWidth, inHeight);
        XSync(display_, False);
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

}  // namespace vframe_test

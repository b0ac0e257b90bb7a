// An X server without a screen to look at, and what a test does to a window there: it looks,
// resizes and presses keys.
#pragma once

// Before Xlib, which makes macros of common words.
#include "Tool.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace vframe_test {

/// Runs as long as the object lives. It and the programs started meanwhile have DISPLAY set to it.
class XServer {
  public:
    explicit XServer(const std::string& inScreen = "1280x800x24")
        : output_(popen(("echo $$; exec setpriv --pdeathsig TERM Xvfb -nolisten tcp -displayfd 3 "
                         "3>&1 >/dev/null 2>&1 -screen 0 " +
                         inScreen)
                            .c_str(),
                        "r")) {
        int number = -1;
        // The server says which number it has found, when it is ready.
        EXPECT_EQ(std::fscanf(output_, "%d %d", &id_, &number), 2) << "Xvfb does not start";
        setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
    }
    ~XServer() {
        End();
        unsetenv("DISPLAY");
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    void End() {
        if (id_ <= 0) return;
        kill(id_, SIGTERM);
        pclose(output_);
        id_ = 0;
    }

  private:
    FILE* output_;
    pid_t id_ = 0;
};

/// The one window of the server that DISPLAY names, once it is there.
class ShownWindow {
  public:
    ShownWindow() : display_(XOpenDisplay(nullptr)) {
        EXPECT_TRUE(display_);
        EXPECT_TRUE(Eventually([&] { return Find(); }));
    }

    std::string Title() const {
        XTextProperty text{};
        const Atom name = XInternAtom(display_.get(), "_NET_WM_NAME", False);
        if (XGetTextProperty(display_.get(), window_, &text, name) == 0) return "";
        const std::string title(reinterpret_cast<const char*>(text.value), text.nitems);
        XFree(text.value);
        return title;
    }

    /// What can be seen of it now.
    Picture Look() const {
        const XWindowAttributes attributes = Attributes();
        Picture picture{attributes.width, attributes.height, {}};
        XImage* const image =
            XGetImage(display_.get(), window_, 0, 0, static_cast<unsigned>(picture.width),
                      static_cast<unsigned>(picture.height), AllPlanes, ZPixmap);
        if (!image) return {};
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const unsigned long pixel = XGetPixel(image, x, y);
                picture.pixels.push_back({static_cast<std::uint8_t>(pixel >> 16 & 255),
                                          static_cast<std::uint8_t>(pixel >> 8 & 255),
                                          static_cast<std::uint8_t>(pixel & 255), 255});
            }
        }
        XDestroyImage(image);
        return picture;
    }

    void Resize(int inWidth, int inHeight) {
        XResizeWindow(display_.get(), window_, static_cast<unsigned>(inWidth),
                      static_cast<unsigned>(inHeight));
        XSync(display_.get(), False);
    }

    /// Paints over its contents; the window is told that it has to be drawn again.
    void Spoil() {
        XFillRectangle(display_.get(), window_,
                       DefaultGC(display_.get(), DefaultScreen(display_.get())), 0, 0, 32767,
                       32767);
        XClearArea(display_.get(), window_, 0, 0, 0, 0, True);
        XSync(display_.get(), False);
    }

    void Press(KeySym inKey) {
        XEvent event{};
        event.xkey.type = KeyPress;
        event.xkey.display = display_.get();
        event.xkey.window = window_;
        event.xkey.root = DefaultRootWindow(display_.get());
        event.xkey.same_screen = True;
        event.xkey.keycode = XKeysymToKeycode(display_.get(), inKey);
        Send(event, KeyPressMask);
    }

    /// As a window manager does when its close button is pressed.
    void AskToClose() {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = window_;
        event.xclient.message_type = XInternAtom(display_.get(), "WM_PROTOCOLS", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] =
            static_cast<long>(XInternAtom(display_.get(), "WM_DELETE_WINDOW", False));
        Send(event, NoEventMask);
    }

  private:
    struct Close {
        void operator()(Display* inDisplay) const { XCloseDisplay(inDisplay); }
    };

    /// Without a window manager, windows are children of the root.
    bool Find() {
        Window root = 0, parent = 0, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display_.get(), DefaultRootWindow(display_.get()), &root, &parent, &children,
                   &count);
        if (count > 0) window_ = children[count - 1];
        if (children) XFree(children);
        return window_ != 0 && Attributes().map_state == IsViewable;
    }
    XWindowAttributes Attributes() const {
        XWindowAttributes attributes{};
        XGetWindowAttributes(display_.get(), window_, &attributes);
        return attributes;
    }
    void Send(XEvent& inEvent, long inMask) {
        XSendEvent(display_.get(), window_, False, inMask, &inEvent);
        XSync(display_.get(), False);
    }

    std::unique_ptr<Display, Close> display_;
    Window window_ = 0;
};

}  // namespace vframe_test

#include "Window.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>

#include "Canvas.h"
#include "Failure.h"
#include "Interrupt.h"

namespace vframe {
namespace {

constexpr struct {
    KeySym key;
    Wish wish;
} kKeys[] = {
    {XK_Escape, Wish::kClose}, {XK_q, Wish::kClose},    {XK_Right, Wish::kNext},
    {XK_Down, Wish::kNext},    {XK_space, Wish::kNext}, {XK_Left, Wish::kPrevious},
    {XK_Up, Wish::kPrevious},  {XK_Home, Wish::kFirst}, {XK_End, Wish::kLast},
};

// What Xlib's handlers were told; they can neither raise nor return anything.
bool isConnectionLost = false;
std::string protocolError;

int OnProtocolError(Display* inDisplay, XErrorEvent* inError) {
    std::array<char, 128> text{};
    XGetErrorText(inDisplay, inError->error_code, text.data(), static_cast<int>(text.size()));
    protocolError = text.data();
    return 0;
}

int OnLostConnection(Display*) {
    isConnectionLost = true;
    return 0;
}

/// In the place of Xlib's, which ends the process.
void OnExit(Display*, void*) {}

void TakeErrors(Display* inDisplay) {
    XSetErrorHandler(OnProtocolError);
    XSetIOErrorHandler(OnLostConnection);
    XSetIOErrorExitHandler(inDisplay, OnExit, nullptr);
}

Display* OpenDisplay() {
    if (Display* const display = XOpenDisplay(nullptr)) return display;
    const char* const name = std::getenv("DISPLAY");
    if (!name || !*name) throw Failure("display", "there is none; DISPLAY is not set");
    throw Failure("display", "'" + std::string(name) + "' cannot be reached");
}

[[noreturn]] void RefuseVisual() {
    throw Failure("display", "its colours are not 24 bits of red, green and blue");
}

std::optional<Wish> WishOfKey(XKeyEvent& inEvent) {
    const KeySym key = XLookupKeysym(&inEvent, 0);
    const auto* const found = std::ranges::find(kKeys, key, [](const auto& k) { return k.key; });
    if (found == std::end(kKeys)) return std::nullopt;
    return found->wish;
}

}  // namespace

void Window::Close::operator()(_XDisplay* inDisplay) const {
    XCloseDisplay(inDisplay);
}

Window::Window(Size inShape, const std::string& inTitle) : display_(OpenDisplay()) {
    TakeErrors(display_.get());
    CheckVisual();
    const int screen = DefaultScreen(display_.get());
    const Size room{DisplayWidth(display_.get(), screen), DisplayHeight(display_.get(), screen)};
    const bool isTooLarge = inShape.width > room.width || inShape.height > room.height;
    size_ = isTooLarge ? Fitted(inShape, room) : inShape;
    Create(inTitle);
}

Window::~Window() = default;

void Window::CheckVisual() const {
    const int screen = DefaultScreen(display_.get());
    const int depth = DefaultDepth(display_.get(), screen);
    const Visual& visual = *DefaultVisual(display_.get(), screen);
    const bool isTrueColour = visual.c_class == TrueColor && visual.red_mask == 0xFF0000 &&
                              visual.green_mask == 0xFF00 && visual.blue_mask == 0xFF;
    if (!isTrueColour || (depth != 24 && depth != 32)) RefuseVisual();
}

void Window::Create(const std::string& inTitle) {
    Display* const display = display_.get();
    // Without a background the server paints nothing before the picture comes, so nothing flickers.
    XSetWindowAttributes attributes{};
    attributes.background_pixmap = None;
    attributes.event_mask = ExposureMask | KeyPressMask | StructureNotifyMask;
    window_ =
        XCreateWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(size_.width),
                      static_cast<unsigned>(size_.height), 0, CopyFromParent, InputOutput, nullptr,
                      CWBackPixmap | CWEventMask, &attributes);
    std::string name = "vframe";
    XClassHint classHint{name.data(), name.data()};
    XSetClassHint(display, window_, &classHint);
    deleteMessage_ = XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSetWMProtocols(display, window_, &deleteMessage_, 1);
    SetTitle(inTitle);
    XMapWindow(display, window_);
    CheckErrors();
}

void Window::SetTitle(const std::string& inTitle) {
    Display* const display = display_.get();
    XStoreName(display, window_, inTitle.c_str());
    // The name above is Latin-1 to window managers, this one is what it is.
    XChangeProperty(display, window_, XInternAtom(display, "_NET_WM_NAME", False),
                    XInternAtom(display, "UTF8_STRING", False), 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(inTitle.data()),
                    static_cast<int>(inTitle.size()));
}

void Window::Put(void* inBits, Size inSize) {
    Display* const display = display_.get();
    const int screen = DefaultScreen(display);
    const auto width = static_cast<unsigned>(inSize.width);
    const auto height = static_cast<unsigned>(inSize.height);
    XImage* const image =
        XCreateImage(display, DefaultVisual(display, screen),
                     static_cast<unsigned>(DefaultDepth(display, screen)), ZPixmap, 0,
                     static_cast<char*>(inBits), width, height, 32, 0);
    if (!image) throw std::bad_alloc();
    const bool fits = image->bits_per_pixel == 32;
    image->byte_order = LSBFirst;
    if (fits)
        XPutImage(display, window_, DefaultGC(display, screen), image, 0, 0, 0, 0, width, height);
    image->data = nullptr;  // the caller's
    XDestroyImage(image);
    if (!fits) RefuseVisual();
    CheckErrors();
}

void Window::Wait() {
    if (XPending(display_.get()) == 0) WaitForInput(ConnectionNumber(display_.get()));
}

std::optional<Wish> Window::NextWish() {
    while (XPending(display_.get()) > 0) {
        XEvent event;
        XNextEvent(display_.get(), &event);
        if (const auto wish = WishOf(event)) return wish;
    }
    CheckErrors();
    return std::nullopt;
}

std::optional<Wish> Window::WishOf(_XEvent& inEvent) {
    switch (inEvent.type) {
        case KeyPress:
            return WishOfKey(inEvent.xkey);
        case Expose:
            return Wish::kRedraw;
        case ConfigureNotify:
            return Resized({inEvent.xconfigure.width, inEvent.xconfigure.height});
        case ClientMessage:
            if (static_cast<Atom>(inEvent.xclient.data.l[0]) != deleteMessage_) return std::nullopt;
            return Wish::kClose;
        case DestroyNotify:
            return Wish::kClose;
        case MappingNotify:
            XRefreshKeyboardMapping(&inEvent.xmapping);
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

std::optional<Wish> Window::Resized(Size inSize) {
    if (inSize == size_) return std::nullopt;
    size_ = inSize;
    return Wish::kRedraw;
}

void Window::CheckErrors() const {
    if (isConnectionLost) throw Failure("display", "the connection was lost");
    if (!protocolError.empty()) throw Failure("display", protocolError);
}

}  // namespace vframe

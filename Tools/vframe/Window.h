// A window of the X Window System that shows a picture and says what its user wishes.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Arguments.h"

struct _XDisplay;
struct _XGC;
union _XEvent;

namespace vframe {

/// What the user, or the system, asked of the window.
enum class Wish { kClose, kRedraw, kNext, kPrevious, kFirst, kLast };

/// One at a time in a process, because Xlib tells of errors by way of the whole process. All
/// functions raise Failure when the display fails.
class Window {
  public:
    /// Comes up in the picture's size, or as much of it as goes onto the screen. Raises Failure
    /// when there is no display or not one of 24-bit colour.
    Window(Size inShape, const std::string& inTitle);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    Size GetSize() const { return size_; }
    void SetTitle(const std::string& inTitle);

    /// Shows a picture of the window's size: 32 bits a pixel (blue, green, red, unused), tight
    /// rows, the top one first.
    void Put(void* inBits, Size inSize);

    /// Sleeps until there may be a wish or the program is asked to end.
    void Wait();

    /// Nothing when there is none for now.
    std::optional<Wish> NextWish();

  private:
    struct Close {
        void operator()(_XDisplay* inDisplay) const;
    };

    void CheckVisual() const;
    void Create(const std::string& inTitle);
    void CheckErrors() const;
    std::optional<Wish> WishOf(_XEvent& inEvent);
    std::optional<Wish> Resized(Size inSize);

    std::unique_ptr<_XDisplay, Close> display_;
    unsigned long window_ = 0;
    unsigned long deleteMessage_ = 0;
    Size size_;
};

}  // namespace vframe

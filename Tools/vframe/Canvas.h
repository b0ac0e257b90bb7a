// Pictures drawn by the library's functions for older code: records, drawn on a device context.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <memory>
#include <type_traits>

#include "Frames.h"

namespace vframe {

struct DisposeRecord {
    void operator()(TPixHand inRecord) const { VF::DisposeTPixFromVideoFrame(inRecord); }
};

/// A record, and with it a hold on its frame.
using RecordOwner = std::unique_ptr<TPix*, DisposeRecord>;

/// A new opaque record that shows the frame, on black where that is translucent.
RecordOwner MakeShownRecord(const VF::VideoFrameRef& inFrame);

/// A bitmap in memory: 32 bits a pixel (blue, green, red, unused), tight rows, the top one first.
class Canvas {
  public:
    explicit Canvas(Size inSize);

    Size GetSize() const { return size_; }
    void* Bits() const { return bits_; }

    /// Paints the whole canvas: the picture in the middle, fitted, with black around it. inShape is
    /// the size of the picture in square pixels.
    void Draw(TPixHand inRecord, Size inShape);

  private:
    struct DeleteContext {
        void operator()(HDC inContext) const { DeleteDC(inContext); }
    };
    struct DeleteBitmap {
        void operator()(HBITMAP inBitmap) const { DeleteObject(inBitmap); }
    };

    Size size_;
    void* bits_ = nullptr;
    // The context goes first: a bitmap that is in one cannot be deleted.
    std::unique_ptr<std::remove_pointer_t<HBITMAP>, DeleteBitmap> bitmap_;
    std::unique_ptr<std::remove_pointer_t<HDC>, DeleteContext> context_;
};

/// The largest size of the same shape that goes into the room; no side is less than 1.
Size Fitted(Size inShape, Size inRoom);

}  // namespace vframe

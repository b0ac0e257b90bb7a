#include "Canvas.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace vframe {
namespace {

RECT CentredIn(Size inRoom, Size inSize) {
    const int left = (inRoom.width - inSize.width) / 2;
    const int top = (inRoom.height - inSize.height) / 2;
    return {left, top, left + inSize.width, top + inSize.height};
}

BITMAPINFO TopDownBitmap(Size inSize) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = inSize.width;
    info.bmiHeader.biHeight = -inSize.height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

}  // namespace

Size Fitted(Size inShape, Size inRoom) {
    const double scale = std::min(static_cast<double>(inRoom.width) / inShape.width,
                                  static_cast<double>(inRoom.height) / inShape.height);
    const auto scaled = [&](int inSide, int inMost) {
        return std::clamp(static_cast<int>(std::lround(inSide * scale)), 1, inMost);
    };
    return {scaled(inShape.width, inRoom.width), scaled(inShape.height, inRoom.height)};
}

RecordOwner MakeShownRecord(const VF::VideoFrameRef& inFrame) {
    // Premultiplied colours are those on black.
    const VF::VideoFrameRef shown =
        MakeFrameOf(ViewFrame(inFrame), {.format = tulomediatypes::kPixelFormat_BGRP_4444_8u});
    RecordOwner record(VF::NewTPixFromVideoFrame(shown));
    if (!record) throw std::bad_alloc();
    tpixFillAlpha(record.get(), 255);
    return record;
}

Canvas::Canvas(Size inSize) : size_(inSize) {
    const BITMAPINFO info = TopDownBitmap(inSize);
    context_.reset(CreateCompatibleDC(nullptr));
    bitmap_.reset(CreateDIBSection(context_.get(), &info, DIB_RGB_COLORS, &bits_, nullptr, 0));
    if (!context_ || !bitmap_ || !SelectObject(context_.get(), bitmap_.get()))
        throw std::bad_alloc();
}

void Canvas::Draw(TPixHand inRecord, Size inShape) {
    const RECT all{0, 0, size_.width, size_.height};
    FillRect(context_.get(), &all, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    RECT source;
    tpixGetBounds(inRecord, &source);
    const RECT target = CentredIn(size_, Fitted(inShape, size_));
    tpixToScreen(inRecord, context_.get(), &source, &target);
}

}  // namespace vframe

// Records on a device context.
#include "VideoFrame/Raster.h"
#include "raster/Rectangles.h"

int ExecDrawDib(const TPix* inRecord, HDC inContext, const tagRECT* inSourceRect,
                const tagRECT* inDestinationRect) {
    using namespace VF;
    const HDRAWDIB draw = DrawDibOpen();
    if (!draw) return 0;
    const tagRECT& bounds = inRecord->bounds;
    const std::int32_t pitch = inRecord->rowbytes / 4;
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    // A picture narrower than its lines is part of a bitmap that is as wide as they are.
    header.biWidth = pitch == WidthOf(bounds) ? bounds.right : pitch;
    header.biHeight = bounds.bottom;
    header.biPlanes = 1;
    header.biBitCount = 32;
    header.biCompression = BI_RGB;
    header.biSizeImage = static_cast<DWORD>(std::int64_t{HeightOf(bounds)} * inRecord->rowbytes);
    DrawDibDraw(draw, inContext, inDestinationRect->left, inDestinationRect->top,
                WidthOf(*inDestinationRect), HeightOf(*inDestinationRect), &header,
                inRecord->pixels, inSourceRect->left, inSourceRect->top, WidthOf(*inSourceRect),
                HeightOf(*inSourceRect), 0);
    return DrawDibClose(draw);
}

namespace VF {
namespace {

tagRECT AtOrigin(const tagRECT& inRect) {
    return {0, 0, WidthOf(inRect), HeightOf(inRect)};
}

}  // namespace
}  // namespace VF

int DoDrawDib(TPixHand inHandle, HDC inContext, const tagRECT* inSourceRect,
              const tagRECT* inDestinationRect) {
    using namespace VF;
    constexpr std::int32_t kMostWidth = 800;
    constexpr std::int32_t kMostHeight = 600;
    const tagRECT source = AtOrigin(*inSourceRect);
    const tagRECT destination = AtOrigin(*inDestinationRect);
    const bool isScaled = source.right != destination.right || source.bottom != destination.bottom;
    const bool isLarge = source.right > kMostWidth || source.bottom > kMostHeight;
    if (!isScaled || !isLarge)
        return ExecDrawDib(*inHandle, inContext, inSourceRect, inDestinationRect);
    const TPixHand scaled = IsEmpty(destination) ? nullptr : tpixNew(&destination);
    if (!scaled) return ExecDrawDib(*inHandle, inContext, inSourceRect, inDestinationRect);
    tpixCopy(inHandle, scaled, &source, &destination, 0);
    ExecDrawDib(*scaled, inContext, &destination, inDestinationRect);
    return tpixDispose(scaled);
}

std::int16_t tpixToScreen(TPixHand inHandle, HDC inContext, const tagRECT* inSourceRect,
                          const tagRECT* inDestinationRect) {
    if (!inContext) return 1;
    const tagRECT source = *inSourceRect;
    const tagRECT destination = *inDestinationRect;
    DoDrawDib(inHandle, inContext, &source, &destination);
    return 0;
}

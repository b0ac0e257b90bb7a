#include "Ffmpeg.h"

#include <new>

namespace vframe {

void PixelConverter::Convert(const AVFrame& inSource, AVColorSpace inMatrix,
                             bool inSourceIsFullRange, AVFrame& outTarget) {
    constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    const auto sourceFormat = static_cast<AVPixelFormat>(inSource.format);
    const auto targetFormat = static_cast<AVPixelFormat>(outTarget.format);
    scaler_.reset(sws_getCachedContext(scaler_.release(), inSource.width, inSource.height,
                                       sourceFormat, outTarget.width, outTarget.height,
                                       targetFormat, kFlags, nullptr, nullptr, nullptr));
    if (!scaler_) throw Failure("pixels", "this pixel format cannot be converted");
    const int* const matrix = sws_getCoefficients(inMatrix);
    // Refused, and of no use, when neither side is Y'CbCr.
    sws_setColorspaceDetails(scaler_.get(), matrix, inSourceIsFullRange ? 1 : 0, matrix, 0, 0,
                             1 << 16, 1 << 16);
    CheckMedia(sws_scale(scaler_.get(), inSource.data, inSource.linesize, 0, inSource.height,
                         outTarget.data, outTarget.linesize),
               "pixels");
}

MediaFrame MakeMediaFrame(AVPixelFormat inFormat, int inWidth, int inHeight) {
    MediaFrame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    frame->format = inFormat;
    frame->width = inWidth;
    frame->height = inHeight;
    CheckMedia(av_frame_get_buffer(frame.get(), 0), "pixels");
    return frame;
}

AVColorSpace UsualMatrix(int inHeight) {
    return inHeight >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

}  // namespace vframe

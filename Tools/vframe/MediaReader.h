// Reads any picture or clip that FFmpeg's libraries can decode.
#pragma once

#include <string>
#include <vector>

#include "Ffmpeg.h"
#include "PictureSource.h"

namespace vframe {

/// Sources of up to 8 bits a component come as BGRA_4444_8u, deeper ones as BGRA_4444_32f.
class MediaReader : public PictureSource {
  public:
    explicit MediaReader(const std::string& inPath);

    std::optional<PictureView> Next() override;
    tulomediatypes::PixelFormat Format() const override;
    std::optional<std::int64_t> Count() const override;
    FrameRate Rate() const override;
    bool IsStill() const override;

  private:
    void OpenFile();
    void OpenDecoder();
    /// The next decoded frame in decoded_; false at the end.
    bool Decode();
    void FeedDecoder();
    /// Turns decoded_ into pixels that the renderer takes.
    PictureView ToPicture();
    void WidenToFloat();

    std::string path_;
    InputContext input_;
    AVStream* stream_ = nullptr;
    CodecContext decoder_;
    MediaPacket packet_;
    MediaFrame decoded_;
    PixelConverter converter_;
    MediaFrame pixels_;              ///< BGRA, or RGBA64 of deeper sources
    std::vector<float> deepPixels_;  ///< BGRA of deeper sources
};

}  // namespace vframe

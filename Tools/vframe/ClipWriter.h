// Writes clips with FFmpeg's libraries, in the form that the name's ending says.
#pragma once

#include <string>

#include "Ffmpeg.h"
#include "Frames.h"
#include "OutputFile.h"
#include "PictureSink.h"

namespace vframe {

/// Frames follow one another at a constant rate; there is no sound.
class ClipWriter : public PictureSink {
  public:
    /// Whether the name's ending is that of a clip.
    static bool Takes(const std::string& inPath);

    ClipWriter(const std::string& inPath, FrameRate inRate);

    void Write(const VF::VideoFrameRef& inFrame) override;
    void Finish() override;

  private:
    /// Once the first frame says what the clip is like.
    void Open(const VF::VideoFrameRef& inFirst);
    void OpenEncoder(const VF::VideoFrameRef& inFirst);
    void OpenContainer();
    /// Sends a picture, or with null the end, through the encoder into the file.
    void Encode(const AVFrame* inPicture);

    OutputFile output_;
    AVRational rate_;
    CodecContext encoder_;
    OutputContext container_;
    MediaPacket packet_;
    PixelConverter converter_;
    Size size_;
    std::int64_t frames_ = 0;
};

}  // namespace vframe

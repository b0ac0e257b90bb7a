// Raw files: frame memory as it stands, one frame after the other.
#pragma once

#include <fstream>
#include <string>

#include "OutputFile.h"
#include "PictureSink.h"
#include "PictureSource.h"

namespace vframe {

/// Whether the name's ending is ".raw".
bool IsRawPath(const std::string& inPath);

class RawReader : public PictureSource {
  public:
    /// Raises Failure for a file that does not hold whole frames.
    RawReader(const std::string& inPath, tulomediatypes::PixelFormat inFormat, Size inSize);

    std::optional<PictureView> Next() override;
    tulomediatypes::PixelFormat Format() const override { return frame_->GetPixelType(); }
    std::optional<std::int64_t> Count() const override { return count_; }

  private:
    std::string path_;
    std::ifstream file_;
    VF::VideoFrameRef frame_;
    std::int64_t count_ = 0;
    std::int64_t next_ = 0;
};

class RawWriter : public PictureSink {
  public:
    explicit RawWriter(const std::string& inPath) : output_(inPath) {}

    void Write(const VF::VideoFrameRef& inFrame) override;
    void Finish() override { output_.Commit(); }

  private:
    OutputFile output_;
};

}  // namespace vframe

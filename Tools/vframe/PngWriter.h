// Writes PNG pictures of 8 bits a component.
#pragma once

#include <string>

#include "Frames.h"
#include "OutputFile.h"
#include "PictureSink.h"

namespace vframe {

/// Alpha is written when any pixel is not opaque.
class PngWriter : public PictureSink {
  public:
    explicit PngWriter(const std::string& inPath) : output_(inPath) {}

    void Write(const VF::VideoFrameRef& inFrame) override;
    void Finish() override { output_.Commit(); }
    bool IsForOnePicture() const override { return true; }

  private:
    OutputFile output_;
};

}  // namespace vframe

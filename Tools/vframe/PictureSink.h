// Where frames go: PNG pictures, clips, and raw frame memory.
#pragma once

#include <VideoFrame/VideoFrame.h>

#include <memory>
#include <string>

#include "PictureSource.h"

namespace vframe {

class PictureSink {
  public:
    virtual ~PictureSink() = default;

    virtual void Write(const VF::VideoFrameRef& inFrame) = 0;

    /// Puts the file under its name; without it nothing stays behind.
    virtual void Finish() = 0;

    /// Whether it takes one frame only.
    virtual bool IsForOnePicture() const { return false; }
};

/// The sink that the name's ending says. Raises UsageFailure for an ending that it does not know.
std::unique_ptr<PictureSink> OpenSink(const std::string& inPath, FrameRate inRate = {});

/// As OpenSink for one frame, which it writes.
void WritePicture(const std::string& inPath, const VF::VideoFrameRef& inFrame);

/// One sentence for help texts: which endings there are.
extern const char* const kOutputHelp;

}  // namespace vframe

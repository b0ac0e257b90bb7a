// Frames of the DV formats, decoded and encoded by FFmpeg's libavcodec.
#pragma once

#include <memory>
#include <optional>

#include "formats/Picture.h"

struct AVFrame;

namespace scanvo {

/// A DV frame as planes. Throws std::bad_alloc when there is no memory for it.
class DvPicture {
  public:
    /// Not initialised, in the planes that frames of the kind are encoded from.
    explicit DvPicture(const Format& inDvFormat);

    Source AsSource() const;
    Destination AsDestination();

  private:
    struct Free {
        void operator()(AVFrame* inFrame) const;
    };

    DvPicture(AVFrame* inFrame, const Format& inDvFormat);
    void DescribePlanes();
    friend std::optional<DvPicture> DecodeDv(const void* inFrame, const Format& inDvFormat);
    friend bool EncodeDv(const DvPicture& inPicture, void* outFrame);
    friend bool TakeSecondField(const DvPicture& inFrom, DvPicture& ioPicture);

    std::unique_ptr<AVFrame, Free> frame_;
    Format format_;
};

/// Nothing when the bytes are not a frame of that format. Throws std::bad_alloc.
std::optional<DvPicture> DecodeDv(const void* inFrame, const Format& inDvFormat);

/// Writes the standard number of bytes. False, with nothing written, when frames cannot be encoded
/// from such planes. Throws std::bad_alloc.
bool EncodeDv(const DvPicture& inPicture, void* outFrame);

/// Takes the rows of field 1 (the odd ones from the top), luma and chroma, from the second picture.
/// False, with nothing done, when the two differ in their planes.
bool TakeSecondField(const DvPicture& inFrom, DvPicture& ioPicture);

}  // namespace scanvo

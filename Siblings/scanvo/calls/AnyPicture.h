// Pictures of every format, opened so that their rows can be read and written.
#pragma once

#include <optional>

#include "contracts/Scanvo.h"
#include "dv/DvCodec.h"
#include "formats/Picture.h"

namespace scanvo {

/// What the arguments of a call say about a picture. Row bytes count only where rows can be
/// addressed.
template <class Void>
struct Described {
    Void* start;
    std::int64_t rowBytes;
    std::int32_t width, height;
    SV_PixelFormat format;
};
using DescribedSource = Described<const void>;
using DescribedDestination = Described<void>;

/// A picture to read, decoded if it was compressed.
class Input {
  public:
    /// kSV_BadData when compressed bytes are no frame. Throws std::bad_alloc.
    std::int32_t Open(const DescribedSource& inPicture);
    const Source& Picture() const { return picture_; }

  private:
    Source picture_;
    std::optional<DvPicture> decoded_;
};

/// A picture to write.
class Output {
  public:
    /// Throws std::bad_alloc.
    std::int32_t Open(const DescribedDestination& inPicture);
    const Destination& Picture() const { return picture_; }

    /// Compresses what was written, if the format asks for it. Throws std::bad_alloc.
    std::int32_t Close();

  private:
    Destination picture_;
    void* compressed_ = nullptr;
    std::optional<DvPicture> toEncode_;
};

/// Says whether such a picture could be opened, short of looking at its bytes.
std::int32_t CheckAnyPicture(const DescribedSource& inPicture);

}  // namespace scanvo

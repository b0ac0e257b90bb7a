#include "operations/FormatRows.h"

#include <algorithm>

#include "operations/Conversion.h"

namespace scanvo {

InputRows::InputRows(const Source& inPicture, const Format& inFormat, Scratch& ioScratch)
    : picture_(inPicture) {
    if (inPicture.format == inFormat) return;
    const std::int64_t bytes = UsedRowBytes(inFormat, inPicture.width);
    converted_ = ioScratch.Bytes(bytes);
    std::fill_n(converted_, bytes, std::byte{0});
    converter_.emplace(inPicture, inFormat, ioScratch);
}

const std::byte* InputRows::At(std::int32_t inRow) const {
    if (!converter_) return RowAt(picture_, inRow);
    converter_->Convert(inRow, converted_);
    return converted_;
}

OutputRows::OutputRows(const Destination& inPicture)
    : picture_(inPicture),
      byteCount_(static_cast<std::size_t>(UsedRowBytes(inPicture.format, inPicture.width))) {}

InputPlanes::InputPlanes(const Source& inPicture, const Format& inFormat) : picture_(inPicture) {
    if (inPicture.format == inFormat) return;
    const auto bytes = PictureBytes(inFormat, inPicture.width, inPicture.height);
    converted_ = std::make_unique_for_overwrite<std::byte[]>(static_cast<std::size_t>(bytes));
    ConvertPicture(inPicture,
                   PlanarPicture(converted_.get(), inPicture.width, inPicture.height, inFormat));
    picture_ = PlanarPicture<const std::byte>(converted_.get(), inPicture.width, inPicture.height,
                                              inFormat);
}

}  // namespace scanvo

#include "operations/FormatRows.h"

#include <algorithm>

namespace scanvo {
namespace {

// That of the longest vectors.
constexpr std::size_t kAlignment = 64;

}  // namespace

std::byte* ScratchBytes(std::int64_t inCount, Scratch& ioScratch) {
    void* const bytes =
        ioScratch.Resource()->allocate(static_cast<std::size_t>(inCount), kAlignment);
    return static_cast<std::byte*>(bytes);
}

InputRows::InputRows(const Source& inPicture, const Format& inFormat, Scratch& ioScratch)
    : picture_(inPicture) {
    if (inPicture.format == inFormat) return;
    const std::int32_t width = inPicture.width;
    const std::int64_t bytes = UsedRowBytes(inFormat, width);
    converted_ = {ScratchBytes(bytes, ioScratch), 0, width, 1, inFormat};
    std::fill_n(converted_.start, bytes, std::byte{0});
    road_ = RowRoad::Find(inPicture.format, inFormat);
    if (road_) {
        road_->Prepare(width, ioScratch);
        return;
    }
    plan_ = PlanConversion(inPicture.format, inFormat, width);
    work_ = MakeWorkRows(*plan_, ioScratch);
    fetched_ = ioScratch.Row(width);
}

const std::byte* InputRows::At(std::int32_t inRow) const {
    if (converted_.start == nullptr) return RowAt(picture_, inRow);
    if (road_) {
        road_->Convert(RowAt(picture_, inRow), converted_.start, picture_.width);
    } else {
        FetchRow(*plan_, picture_, inRow, work_, fetched_);
        FinishRow(*plan_, fetched_, work_, converted_, 0);
    }
    return converted_.start;
}

OutputRows::OutputRows(const Destination& inPicture)
    : picture_(inPicture),
      byteCount_(static_cast<std::size_t>(UsedRowBytes(inPicture.format, inPicture.width))) {}

}  // namespace scanvo

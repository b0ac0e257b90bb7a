#include "operations/RowConverter.h"

namespace scanvo {

RowConverter::RowConverter(const Source& inPicture, const Format& inFormat, Scratch& ioScratch)
    : picture_(inPicture), format_(inFormat) {
    rowRoad_ = RowRoad::Find(inPicture.format, inFormat);
    if (rowRoad_) {
        rowRoad_->Prepare(inPicture.width, ioScratch);
        return;
    }
    halfRowRoad_ = HalfRowRoad::Find(inPicture, inFormat, ioScratch);
    if (halfRowRoad_) return;
    plan_ = PlanConversion(inPicture.format, inFormat, inPicture.width);
    work_ = MakeWorkRows(*plan_, ioScratch);
    fetched_ = ioScratch.Row(inPicture.width);
}

void RowConverter::Convert(std::int32_t inRow, std::byte* outRow) const {
    if (rowRoad_) {
        rowRoad_->Convert(RowAt(picture_, inRow), outRow, picture_.width);
    } else if (halfRowRoad_) {
        halfRowRoad_->ConvertRow(inRow, outRow);
    } else {
        FetchRow(*plan_, picture_, inRow, work_, fetched_);
        FinishRow(*plan_, fetched_, work_, {outRow, 0, picture_.width, 1, format_}, 0);
    }
}

}  // namespace scanvo

#include "rows/RowWriter.h"

namespace scanvo {

RowWriter::RowWriter(const Destination& inPicture, Scratch& ioScratch)
    : picture_(inPicture), access_(AccessTo(inPicture.format)) {
    if (inPicture.format.layout != Layout::Planar) return;
    functions_ = FindHalfRowFunctions(inPicture.format, inPicture.format.matrix);
    if (HasHalfRows(inPicture.format) && functions_.fromFloats != nullptr) {
        half_.emplace(functions_, inPicture, RowOrder::BottomFirst, ioScratch);
    } else {
        planar_.emplace(inPicture, access_.ranges, ioScratch);
    }
}

void RowWriter::Write(const PlanarRow& inRow, std::int32_t inRowNumber) {
    if (half_) {
        functions_.fromFloats(inRow, picture_.width, half_->PlaceFor(inRowNumber));
        half_->Write(inRowNumber);
    } else if (planar_) {
        planar_->Store(inRow, inRowNumber);
    } else {
        access_.Store(inRow, picture_, inRowNumber);
    }
}

}  // namespace scanvo

#include "operations/RowRoad.h"

namespace scanvo {
namespace {

bool IsPremultiplied(const Format& inFormat) {
    return inFormat.alpha == Alpha::Premultiplied;
}

bool AreOfOneKind(const Format& inSource, const Format& inDestination) {
    return inSource.colour == inDestination.colour && inSource.matrix == inDestination.matrix;
}

Format OfComponent(Format inFormat, const Format& inOther) {
    inFormat.component = inOther.component;
    inFormat.unitBytes = inOther.unitBytes;
    return inFormat;
}

// With alpha as the destination has it, as far as pixels of the source have any.
Format InFormOf(Format inSource, const Format& inDestination) {
    if (IsPremultiplied(inSource) != IsPremultiplied(inDestination) && HasAlpha(inSource))
        inSource.alpha = IsPremultiplied(inDestination) ? Alpha::Premultiplied : Alpha::Straight;
    return inSource;
}

}  // namespace

bool BearsEightBits(const Format& inSource, const Format& inDestination) {
    return inSource.layout == Layout::Packed4444 && inSource.component != Component::Float &&
           inDestination.component == Component::Unsigned8 &&
           (inSource.colour == Colour::Rgb || AreOfOneKind(inSource, inDestination));
}

Format InEightBits(Format inFormat) {
    inFormat.component = Component::Unsigned8;
    inFormat.unitBytes = 4;
    return inFormat;
}

bool RowRoad::Add(const Format& inSource, const Format& inTo) {
    const Format from = count_ == 0 ? inSource : steps_[count_ - 1].to;
    if (from == inTo) return true;
    const ConvertRow convert = FastRowBetween(from, inTo);
    if (convert == nullptr || count_ == steps_.size()) return false;
    steps_[count_++] = {convert, inTo};
    return true;
}

std::optional<RowRoad> RowRoad::Through(std::initializer_list<Format> inFormats,
                                        const Format& inSource) {
    RowRoad road;
    for (const Format& format : inFormats) {
        if (!road.Add(inSource, format)) return std::nullopt;
    }
    return road;
}

std::optional<RowRoad> RowRoad::Find(const Format& inSource, const Format& inDestination) {
    RowRoad direct;
    if (direct.Add(inSource, inDestination)) return direct;
    if (inSource.layout != Layout::Packed4444) return std::nullopt;
    // Alpha multiplies, and above all divides, where there are most bits.
    const Format inForm = InFormOf(inSource, inDestination);
    const bool areOfOneKind = AreOfOneKind(inSource, inDestination);
    if (areOfOneKind && inDestination.layout == Layout::Packed4444) {
        if (inSource.unitBytes >= inDestination.unitBytes)
            return Through({inForm, inDestination}, inSource);
        if (inDestination.component != Component::Float) return std::nullopt;
        return Through({OfComponent(inSource, inDestination), inDestination}, inSource);
    }
    if (!BearsEightBits(inSource, inDestination)) return std::nullopt;
    return Through({inForm, InEightBits(inForm), inDestination}, inSource);
}

void RowRoad::Prepare(std::int32_t inWidth, Scratch& ioScratch) {
    for (std::size_t i = 0; i + 1 < count_; ++i)
        steps_[i].row = ioScratch.Bytes(UsedRowBytes(steps_[i].to, inWidth));
}

void RowRoad::Convert(const std::byte* inRow, std::byte* outRow, std::int32_t inWidth) const {
    for (std::size_t i = 0; i < count_; ++i) {
        std::byte* const to = i + 1 < count_ ? steps_[i].row : outRow;
        steps_[i].convert(inRow, to, inWidth);
        inRow = to;
    }
}

}  // namespace scanvo

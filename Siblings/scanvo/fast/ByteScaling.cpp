#include "fast/ByteScaling.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>

#include "fast/ByteKernels.h"
#include "fast/ColourRows.h"
#include "fast/FastRows.h"
#include "fast/WordKernels.h"
#include "rows/KeptTables.h"
#include "rows/Scratch.h"

namespace scanvo {
namespace {

constexpr int kPixelBytes = 4;

// ---- What is to be mixed ------------------------------------------------------------------------

// How the pixels to be mixed come about.
struct Mixture {
    /// Null where they are those of the source.
    ConvertRow convert = nullptr;
    /// The bits of their alpha that say how much they show; 0 where they show wholly or hold their
    /// colour premultiplied.
    std::uint32_t straightAlpha = 0;
    /// Whether colour may be multiplied by that alpha; black is not 0 in Y'CbCr.
    bool premultiplies = false;
    /// Alpha is the first byte.
    bool isReversed = false;
    /// Bits to set in what was mixed.
    std::uint32_t opaque = 0;
};

std::uint32_t AlphaBits(const Format& inFormat) {
    return inFormat.isReversed ? 0x000000FFu : 0xFF000000u;
}

bool IsFourBytes(const Format& inFormat) {
    return inFormat.layout == Layout::Packed4444 && inFormat.component == Component::Unsigned8;
}

// Components that hold more than bytes are better rounded last.
bool HoldsBytes(const Format& inFormat) {
    return inFormat.component == Component::Unsigned8 ||
           inFormat.component == Component::Unsigned10;
}

// The destination's format, except that pixels keep what they show until they are mixed.
Format MixedFormat(const Format& inSource, Format inDestination) {
    if (HasAlpha(inSource) && !HasAlpha(inDestination)) inDestination.alpha = inSource.alpha;
    return inDestination;
}

std::optional<Mixture> MixtureBetween(const Format& inSource, const Format& inDestination,
                                      std::int32_t inQuality) {
    if (!IsFourBytes(inDestination) || !HoldsBytes(inSource)) return std::nullopt;
    // Half chroma has nearest samples of its own.
    if (inQuality <= 1 && !IsFourBytes(inSource)) return std::nullopt;
    const Format mixed = MixedFormat(inSource, inDestination);
    // Colour premultiplied by an alpha that gets lost has to be divided by it.
    const bool losesAlpha = mixed.alpha != inDestination.alpha;
    if (losesAlpha && mixed.alpha == Alpha::Premultiplied) return std::nullopt;
    Mixture mixture;
    if (inSource != mixed) {
        mixture.convert = FastRowBetween(inSource, mixed);
        if (mixture.convert == nullptr) return std::nullopt;
    }
    if (mixed.alpha == Alpha::Straight && inQuality >= 2 && HasAlpha(inSource)) {
        mixture.straightAlpha = AlphaBits(mixed);
        mixture.premultiplies = mixed.colour == Colour::Rgb;
        mixture.isReversed = mixed.isReversed;
    }
    if (!HasAlpha(inDestination)) mixture.opaque = AlphaBits(mixed);
    return mixture;
}

// ---- Rows ---------------------------------------------------------------------------------------

struct Job {
    const Source& source;
    const Destination& destination;
    const Mixture& mixture;
    const ByteKernels& kernels;
};

template <class Number>
Number* MakeRow(std::int64_t inCount, Scratch& ioScratch) {
    return reinterpret_cast<Number*>(ioScratch.Bytes(inCount * std::int64_t{sizeof(Number)}));
}

// Source rows as pixels to be mixed, as many at a time as are filtered together.
class PixelRows {
  public:
    PixelRows(const Job& inJob, Scratch& ioScratch) : job_(inJob) {
        if (inJob.mixture.convert == nullptr) return;
        for (std::byte*& row : converted_) {
            row = ioScratch.Bytes(std::int64_t{kPixelBytes} * inJob.source.width);
        }
    }

    /// Of rows asked for one after the other, the last kFilteredTogether are there.
    const std::byte* Get(std::int32_t inRow) const {
        const std::byte* const row = RowAt(job_.source, inRow);
        if (job_.mixture.convert == nullptr) return row;
        std::byte* const converted =
            converted_[static_cast<std::size_t>(inRow) % converted_.size()];
        job_.mixture.convert(row, converted, job_.source.width);
        return converted;
    }

  private:
    Job job_;
    std::array<std::byte*, kFilteredTogether> converted_{};
};

// ---- The ways -----------------------------------------------------------------------------

bool TakeNearest(const Job& inJob, const Axis& inAlong, const Axis& inDown) {
    Scratch scratch;
    const PixelRows rows(inJob, scratch);
    const auto along = KeptWeights(inAlong);
    const auto down = KeptWeights(inDown);
    std::int32_t taken = -1;
    const std::byte* pixels = nullptr;
    for (std::int32_t row = 0; row < inJob.destination.height; ++row) {
        const std::int32_t place = down->first[static_cast<std::size_t>(row)];
        if (place != taken) pixels = rows.Get(place);
        taken = place;
        inJob.kernels.takePixels(pixels, along->first.data(), inJob.mixture.opaque,
                                 RowAt(inJob.destination, row), inJob.destination.width);
    }
    return true;
}

/// Whether each destination pixel is the mean of inFactor whole source pixels.
bool IsShrunkBy(std::int32_t inFactor, const Axis& inAxis) {
    return inAxis.source.pitch == 1 && inAxis.destination.pitch == 1 &&
           inAxis.source.count == inFactor * std::int64_t{inAxis.destination.count};
}

bool Halve(const Job& inJob) {
    constexpr std::int32_t kTriedEvery = 8;
    bool showWholly = true;
    Scratch scratch;
    const PixelRows rows(inJob, scratch);
    for (std::int32_t row = 0; row < inJob.destination.height; ++row) {
        const std::byte* const first = rows.Get(2 * row);
        const std::byte* const second = rows.Get(2 * row + 1);
        std::byte* const result = RowAt(inJob.destination, row);
        const std::int32_t width = inJob.destination.width;
        const Mixture& mixture = inJob.mixture;
        // Rows like those before them need not be halved in vain.
        showWholly = (showWholly || row % kTriedEvery == 0) &&
                     inJob.kernels.halveRows(first, second, mixture.straightAlpha, mixture.opaque,
                                             result, width);
        if (showWholly) continue;
        if (!mixture.premultiplies) return false;
        inJob.kernels.halveStraightRows(first, second, mixture.isReversed, mixture.opaque, result,
                                        width);
    }
    return true;
}

bool Quarter(const Job& inJob) {
    Scratch scratch;
    const PixelRows rows(inJob, scratch);
    for (std::int32_t row = 0; row < inJob.destination.height; ++row) {
        const std::byte* const four[] = {rows.Get(4 * row), rows.Get(4 * row + 1),
                                         rows.Get(4 * row + 2), rows.Get(4 * row + 3)};
        if (!inJob.kernels.quarterRows(four, inJob.mixture.straightAlpha, inJob.mixture.opaque,
                                       RowAt(inJob.destination, row), inJob.destination.width)) {
            return false;
        }
    }
    return true;
}

/// Half the picture of a format that converts faster then; false when it is not one.
bool HalveAndConvert(const Source& inSource, const Destination& outDestination) {
    const HalveRow halve = FindHalvingColourRow(inSource.format, outDestination.format);
    if (halve == nullptr) return false;
    for (std::int32_t row = 0; row < outDestination.height; ++row) {
        halve(RowAt(inSource, 2 * row), RowAt(inSource, 2 * row + 1), RowAt(outDestination, row),
              outDestination.width);
    }
    return true;
}

// Filtered source rows, as many as a destination row is mixed from, and those filtered together
// with the last of them.
class FilteredRows {
  public:
    /// Null weights where colour does not count by its alpha.
    FilteredRows(const Job& inJob, const ByteWeights& inAlong, const WordWeights* inPremultiplied,
                 std::int32_t inTapCount, Scratch& ioScratch)
        : job_(inJob),
          along_(inAlong),
          alongPremultiplied_(inPremultiplied),
          pixels_(inJob, ioScratch),
          isPremultiplied_(static_cast<std::size_t>(inTapCount + kFilteredTogether - 1), false,
                           ioScratch.Resource()),
          ring_(static_cast<std::size_t>(inTapCount + kFilteredTogether - 1), ioScratch.Resource()),
          mixed_(static_cast<std::size_t>(inTapCount), ioScratch.Resource()) {
        const auto samples = static_cast<std::int64_t>(kPixelBytes * inAlong.pixelCount);
        if (inPremultiplied != nullptr) {
            for (std::uint16_t*& row : premultiplied_)
                row = MakeRow<std::uint16_t>(std::int64_t{kPixelBytes} * inJob.source.width,
                                             ioScratch);
        }
        for (std::int16_t*& row : ring_) {
            row = MakeRow<std::int16_t>(samples, ioScratch);
        }
    }

    /// The rows from inFirst on, which must not decrease; nothing when pixels do not show wholly
    /// and cannot be made to count by how much they do.
    const std::int16_t* const* Get(std::int32_t inFirst) {
        const auto tapCount = static_cast<std::int32_t>(mixed_.size());
        next_ = std::max(next_, inFirst);
        for (; next_ < inFirst + tapCount; next_ += kFilteredTogether) {
            if (!FilterFrom(next_)) return nullptr;
        }
        for (std::int32_t tap = 0; tap < tapCount; ++tap) {
            mixed_[static_cast<std::size_t>(tap)] = SlotOf(inFirst + tap);
        }
        return mixed_.data();
    }

    /// Whether one of the rows from inFirst on was premultiplied; what shows wholly is either.
    bool ArePremultiplied(std::int32_t inFirst) const {
        for (std::size_t tap = 0; tap < mixed_.size(); ++tap) {
            const std::size_t row = static_cast<std::size_t>(inFirst) + tap;
            if (isPremultiplied_[row % ring_.size()]) return true;
        }
        return false;
    }

  private:
    std::int16_t* SlotOf(std::int32_t inRow) const {
        return ring_[static_cast<std::size_t>(inRow) % ring_.size()];
    }

    bool FilterFrom(std::int32_t inFirst) {
        std::array<const std::byte*, kFilteredTogether> pixels;
        std::array<std::int16_t*, kFilteredTogether> filtered;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const std::int32_t row = inFirst + static_cast<std::int32_t>(i);
            // Below the last row, that is filtered once more.
            const bool isThere = row < job_.source.height;
            pixels[i] = isThere ? pixels_.Get(row) : pixels[i - 1];
            filtered[i] = isThere ? SlotOf(row) : filtered[i - 1];
        }
        // Rows like those before them need not be filtered in vain.
        const bool showWholly =
            showWholly_ &&
            along_.filter(pixels.data(), along_, job_.mixture.straightAlpha, filtered.data());
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            isPremultiplied_[(static_cast<std::size_t>(inFirst) + i) % ring_.size()] = !showWholly;
        }
        return showWholly || FilterPremultiplied(pixels, filtered);
    }

    bool FilterPremultiplied(const std::array<const std::byte*, kFilteredTogether>& inPixels,
                             const std::array<std::int16_t*, kFilteredTogether>& outFiltered) {
        if (alongPremultiplied_ == nullptr) return false;
        showWholly_ = true;
        for (std::size_t i = 0; i < inPixels.size(); ++i) {
            const bool showsWholly = job_.kernels.premultiplyRow(
                inPixels[i], job_.source.width, job_.mixture.isReversed, premultiplied_[i]);
            showWholly_ = showWholly_ && showsWholly;
        }
        alongPremultiplied_->filter(premultiplied_.data(), *alongPremultiplied_,
                                    outFiltered.data());
        return true;
    }

    Job job_;
    const ByteWeights& along_;
    const WordWeights* alongPremultiplied_;
    PixelRows pixels_;
    std::array<std::uint16_t*, kFilteredTogether> premultiplied_{};
    /// By place in the ring.
    std::pmr::vector<bool> isPremultiplied_;
    std::pmr::vector<std::int16_t*> ring_;
    std::pmr::vector<const std::int16_t*> mixed_;
    std::int32_t next_ = 0;
    /// Whether the last rows that were looked at show wholly.
    bool showWholly_ = true;
};

bool Filter(const Job& inJob, const Axis& inAlong, const Axis& inDown) {
    const auto along = KeptTable(inJob.kernels.makeWeights, inAlong);
    const auto down = KeptWeights(inDown);
    if (along->filter == nullptr || down->tapCount > kMostMixedRows) return false;
    Scratch scratch;
    std::shared_ptr<const WordWeights> premultiplied;
    if (const WordKernels* const words = FindWordKernels();
        words != nullptr && inJob.mixture.premultiplies) {
        premultiplied = KeptTable(words->makeQuadWeights, inAlong);
        if (premultiplied->filter == nullptr) premultiplied.reset();
    }
    FilteredRows rows(inJob, *along, premultiplied.get(), down->tapCount, scratch);
    std::array<std::int16_t, kMostMixedRows> weights;
    for (std::int32_t row = 0; row < inJob.destination.height; ++row) {
        const std::int32_t first = down->first[static_cast<std::size_t>(row)];
        const auto mixed = rows.Get(first);
        if (mixed == nullptr) return false;
        RoundWeights(down->WeightsOf(row), down->tapCount, kMixBits, weights.data());
        std::byte* const result = RowAt(inJob.destination, row);
        const std::int32_t width = inJob.destination.width;
        if (rows.ArePremultiplied(first)) {
            inJob.kernels.mixIntoStraightRow(mixed, weights.data(), down->tapCount,
                                             inJob.mixture.isReversed, inJob.mixture.opaque, result,
                                             width);
        } else {
            inJob.kernels.mixRows(mixed, weights.data(), down->tapCount, inJob.mixture.opaque,
                                  result, width);
        }
    }
    return true;
}

}  // namespace

bool ScaleBytes(const Source& inSource, const Destination& outDestination, const Axis& inDown) {
    const std::int32_t quality = inDown.quality;
    const auto mixture = MixtureBetween(inSource.format, outDestination.format, quality);
    const ByteKernels* const kernels = FindByteKernels();
    if (!mixture || kernels == nullptr) return false;
    const Job job{inSource, outDestination, *mixture, *kernels};
    const Axis along{{inSource.width, 1, 0},
                     {outDestination.width, 1, 0},
                     static_cast<double>(inSource.width) / outDestination.width,
                     quality};
    if (quality <= 1) return TakeNearest(job, along, inDown);
    const auto isShrunkBy = [&](std::int32_t inFactor) {
        return quality == 2 && IsShrunkBy(inFactor, along) && IsShrunkBy(inFactor, inDown);
    };
    if (isShrunkBy(2) && (HalveAndConvert(inSource, outDestination) || Halve(job))) return true;
    if (isShrunkBy(4) && Quarter(job)) return true;
    return Filter(job, along, inDown);
}

}  // namespace scanvo

// Every pair of formats against a conversion in double precision, written from the definitions: a
// picture is read as planes of samples, spread to full chroma unless both formats have it on the
// same grid, given its colour, halved again where the destination has half, and written as codes.

#include "Area.h"

namespace scanvo_test {
namespace {

// ---- Samples ------------------------------------------------------------------------------------

struct Plane {
    std::int32_t width = 0, height = 0;
    std::vector<double> samples;

    Plane() = default;
    Plane(std::int32_t inWidth, std::int32_t inHeight)
        : width(inWidth), height(inHeight), samples(static_cast<std::size_t>(inWidth * inHeight)) {}

    double& At(std::int32_t inX, std::int32_t inY) {
        const std::int32_t x = std::clamp(inX, 0, width - 1), y = std::clamp(inY, 0, height - 1);
        return samples[static_cast<std::size_t>(y * width + x)];
    }
};

/// Red, green, blue or Y', Cb, Cr, and alpha; row 0 is the top.
using Planes = std::array<Plane, 4>;

bool IsPlanar(FormatCode inFormat) {
    return inFormat.bits >> 24 >= 9;
}

bool HasFields(FormatCode inFormat) {
    return inFormat.bits >> 24 == 9;
}

bool HasHalfChroma(FormatCode inFormat) {
    return inFormat.Is422() || IsPlanar(inFormat);
}

struct Range {
    double offset, scale, most;
};

Range RangeOf(FormatCode inFormat, std::size_t inPlane) {
    if (inFormat.IsFloat()) return {0, 1, HUGE_VAL};
    if (inFormat.Is15Bit()) return {0, 32768, 32768};
    const double step = inFormat.IsV210() ? 4 : 1;
    if (!inFormat.IsYCbCr() || inPlane == 3) return {0, 255, 255};
    return {step * (inPlane == 0 ? 16 : 128), step * (inPlane == 0 ? 219 : 224), 256 * step - 1};
}

// ---- Pictures -----------------------------------------------------------------------------------

struct Picture {
    Picture(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight)
        : format(inFormat), width(inWidth), height(inHeight) {
        rowBytes = IsPlanar(format) ? 0 : format.RowLength(width);
        const std::int64_t bytes =
            IsPlanar(format) ? SV_PixelFormatSize(format, width, height) : rowBytes * height;
        memory.assign(static_cast<std::size_t>(bytes), std::byte{0xEE});
    }

    auto Memory() { return std::tuple(memory.data(), rowBytes, format); }

    /// Calls inVisit(plane, x, y, code) for each code in memory, those of chroma on their own grid.
    void ForEachCode(
        const std::function<void(std::size_t, std::int32_t, std::int32_t, double)>& inVisit) const {
        const std::int32_t halfWidth = (width + 1) / 2, halfHeight = (height + 1) / 2;
        const auto byteAt = [this](std::int32_t index) {
            return std::to_integer<int>(memory[static_cast<std::size_t>(index)]);
        };
        for (std::int32_t i = 0; i < width * height; ++i) {
            const std::int32_t x = i % width, y = i / width;
            if (IsPlanar(format)) {
                inVisit(0, x, y, byteAt(i));
                continue;
            }
            const Codes codes = StoredCodes(format, memory.data() + rowBytes * (height - 1 - y),
                                            static_cast<std::size_t>(x));
            inVisit(0, x, y, codes[0]);
            if (!format.Is422()) inVisit(3, x, y, codes[3]);
            for (const std::size_t plane : {1u, 2u}) {
                if (!format.Is422()) inVisit(plane, x, y, codes[plane]);
                if (format.Is422() && x % 2 == 0) inVisit(plane, x / 2, y, codes[plane]);
            }
        }
        for (std::int32_t i = 0; IsPlanar(format) && i < halfWidth * halfHeight; ++i) {
            const std::int32_t cr = width * height, cb = cr + halfWidth * halfHeight;
            inVisit(1, i % halfWidth, i / halfWidth, byteAt(cb + i));
            inVisit(2, i % halfWidth, i / halfWidth, byteAt(cr + i));
        }
    }

    Planes Samples() const {
        Planes planes;
        planes.fill(Plane(width, height));
        if (HasHalfChroma(format)) {
            const std::int32_t rows = IsPlanar(format) ? (height + 1) / 2 : height;
            planes[1] = planes[2] = Plane((width + 1) / 2, rows);
        }
        std::fill(planes[3].samples.begin(), planes[3].samples.end(), 1.0);
        ForEachCode([&](std::size_t plane, std::int32_t x, std::int32_t y, double code) {
            const Range range = RangeOf(format, plane);
            const bool isRead = plane != 3 || format.HoldsAlpha();
            if (isRead) planes[plane].At(x, y) = (code - range.offset) / range.scale;
        });
        return planes;
    }

    FormatCode format;
    std::int32_t width, height;
    std::int64_t rowBytes;
    std::vector<std::byte> memory;
};

// ---- Chroma -------------------------------------------------------------------------------------

/// A row of chroma rows of one field, or of all, and where they lie among the rows of the picture.
struct ChromaRows {
    std::int32_t first, step, count;
    double firstPlace, pitch;

    std::int32_t At(std::int32_t inIndex) const {
        return first + step * std::clamp(inIndex, 0, count - 1);
    }
};

ChromaRows RowsFor(FormatCode inFormat, std::int32_t inChromaHeight, std::int32_t inRow) {
    if (!IsPlanar(inFormat)) return {0, 1, inChromaHeight, 0, 1};
    if (!HasFields(inFormat) || inChromaHeight < 2) return {0, 1, inChromaHeight, 0.5, 2};
    const std::int32_t field = inRow % 2;
    return {field, 2, (inChromaHeight - field + 1) / 2, 0.5 + 2 * field, 4};
}

Plane SpreadRows(Plane inChroma, FormatCode inFormat, std::int32_t inHeight) {
    Plane spread(inChroma.width, inHeight);
    for (std::int32_t y = 0; y < inHeight; ++y) {
        const ChromaRows rows = RowsFor(inFormat, inChroma.height, y);
        const double place = std::clamp((y - rows.firstPlace) / rows.pitch, 0.0, rows.count - 1.0);
        const auto above = static_cast<std::int32_t>(place);
        for (std::int32_t x = 0; x < spread.width; ++x) {
            const double upper = inChroma.At(x, rows.At(above));
            const double lower = inChroma.At(x, rows.At(above + 1));
            spread.At(x, y) = upper + (place - above) * (lower - upper);
        }
    }
    return spread;
}

Plane SpreadColumns(Plane inChroma, std::int32_t inWidth) {
    Plane spread(inWidth, inChroma.height);
    for (std::int32_t i = 0; i < inWidth * spread.height; ++i) {
        const std::int32_t x = i % inWidth, y = i / inWidth;
        spread.At(x, y) = (inChroma.At(x / 2, y) + inChroma.At(x / 2 + x % 2, y)) / 2;
    }
    return spread;
}

// Each row counts by a triangle that reaches to the next chroma rows; those at the ends of a field
// count for all beyond them.
Plane HalvedRows(Plane inFull, FormatCode inFormat) {
    if (!IsPlanar(inFormat)) return inFull;
    Plane half(inFull.width, (inFull.height + 1) / 2);
    const std::int32_t fields = HasFields(inFormat) && half.height > 1 ? 2 : 1;
    for (std::int32_t row = 0; row < half.height; ++row) {
        const std::int32_t field = row % fields;
        const ChromaRows rows = RowsFor(inFormat, half.height, field);
        const double place = rows.firstPlace + rows.pitch * (row / fields);
        const std::int32_t last = (inFull.height - 1 - field) / fields;
        for (std::int32_t x = 0; x < half.width; ++x) {
            double sum = 0, weights = 0;
            for (std::int32_t i = -8; i < inFull.height + 8; ++i) {
                const double distance = field + fields * i - place;
                const double weight = std::max(0.0, 1 - std::abs(distance) / rows.pitch);
                sum += weight * inFull.At(x, field + fields * std::clamp(i, 0, last));
                weights += weight;
            }
            half.At(x, row) = sum / weights;
        }
    }
    return half;
}

Plane HalvedColumns(Plane inFull) {
    Plane half((inFull.width + 1) / 2, inFull.height);
    for (std::int32_t i = 0; i < half.width * half.height; ++i) {
        const std::int32_t x = i % half.width * 2, y = i / half.width;
        half.At(x / 2, y) = inFull.At(x - 1, y) / 4 + inFull.At(x, y) / 2 + inFull.At(x + 1, y) / 4;
    }
    return half;
}

// ---- Colour -------------------------------------------------------------------------------------

using Sample = std::array<double, 3>;

std::pair<double, double> LumaOf(FormatCode inFormat) {
    return inFormat.IsBt709() ? std::pair(0.2126, 0.0722) : std::pair(0.299, 0.114);
}

Sample ToRgb(FormatCode inFormat, const Sample& inSample) {
    if (!inFormat.IsYCbCr()) return inSample;
    const auto [kr, kb] = LumaOf(inFormat);
    const double red = inSample[0] + 2 * (1 - kr) * inSample[2];
    const double blue = inSample[0] + 2 * (1 - kb) * inSample[1];
    return {red, (inSample[0] - kr * red - kb * blue) / (1 - kr - kb), blue};
}

Sample FromRgb(FormatCode inFormat, const Sample& inRgb) {
    if (!inFormat.IsYCbCr()) return inRgb;
    const auto [kr, kb] = LumaOf(inFormat);
    const double luma = kr * inRgb[0] + (1 - kr - kb) * inRgb[1] + kb * inRgb[2];
    return {luma, (inRgb[2] - luma) / (2 * (1 - kb)), (inRgb[0] - luma) / (2 * (1 - kr))};
}

double Linear(double inEncoded) {
    const double size = std::abs(inEncoded);
    const double linear = size <= 0.04045 ? size / 12.92 : std::pow((size + 0.055) / 1.055, 2.4);
    return std::copysign(linear, inEncoded);
}

double Encoded(double inLinear) {
    const double size = std::abs(inLinear);
    const double encoded =
        size <= 0.0031308 ? size * 12.92 : 1.055 * std::pow(size, 1 / 2.4) - 0.055;
    return std::copysign(encoded, inLinear);
}

Sample InColour(FormatCode inFrom, FormatCode inTo, Sample inSample, double inAlpha) {
    const bool curves = inFrom.IsLinear() != inTo.IsLinear();
    const bool staysPremultiplied = inFrom.IsPremultiplied() && inTo.IsPremultiplied() && !curves;
    for (double& value : inSample) {
        if (inFrom.IsPremultiplied() && !staysPremultiplied)
            value = inAlpha > 0 ? value / inAlpha : 0;
        if (curves && inFrom.IsLinear()) value = Encoded(value);
    }
    inSample = FromRgb(inTo, ToRgb(inFrom, inSample));
    for (double& value : inSample) {
        if (curves && inTo.IsLinear()) value = Linear(value);
        if (inTo.IsPremultiplied() && !staysPremultiplied) value *= inAlpha;
    }
    return inSample;
}

// ---- Conversion ---------------------------------------------------------------------------------

// In Y'CbCr, chroma becomes chroma alone, so it stays on what grids the two formats share.
void ConvertOnGrid(FormatCode inFrom, FormatCode inTo, Planes& ioPlanes) {
    const Planes& chroma = ioPlanes;
    Plane& luma = ioPlanes[0];
    const auto spread = [&](std::size_t plane) {
        return SpreadColumns(SpreadRows(chroma[plane], inFrom, luma.height), luma.width);
    };
    const Plane cb = spread(1), cr = spread(2);
    for (std::size_t i = 0; i < luma.samples.size(); ++i) {
        const Sample pixel = {luma.samples[i], cb.samples[i], cr.samples[i]};
        luma.samples[i] = InColour(inFrom, inTo, pixel, 1)[0];
    }
    for (std::size_t i = 0; i < ioPlanes[1].samples.size(); ++i) {
        const Sample pixel = {0, ioPlanes[1].samples[i], ioPlanes[2].samples[i]};
        const Sample colour = InColour(inFrom, inTo, pixel, 1);
        ioPlanes[1].samples[i] = colour[1];
        ioPlanes[2].samples[i] = colour[2];
    }
    if (inFrom.bits >> 24 == inTo.bits >> 24) return;
    for (const std::size_t plane : {1u, 2u})
        ioPlanes[plane] = HalvedRows(SpreadRows(ioPlanes[plane], inFrom, luma.height), inTo);
}

Planes Exact(const Picture& inPicture, FormatCode inTo) {
    const FormatCode from = inPicture.format;
    Planes planes = inPicture.Samples();
    if (HasHalfChroma(from) && HasHalfChroma(inTo)) {
        ConvertOnGrid(from, inTo, planes);
        return planes;
    }
    for (const std::size_t plane : {1u, 2u}) {
        if (!HasHalfChroma(from)) continue;
        planes[plane] =
            SpreadColumns(SpreadRows(planes[plane], from, inPicture.height), inPicture.width);
    }
    for (std::size_t i = 0; i < planes[0].samples.size(); ++i) {
        const Sample pixel = {planes[0].samples[i], planes[1].samples[i], planes[2].samples[i]};
        const Sample colour = InColour(from, inTo, pixel, planes[3].samples[i]);
        for (const std::size_t plane : {0u, 1u, 2u})
            planes[plane].samples[i] = colour[plane];
        if (!from.HoldsAlpha() || !inTo.HoldsAlpha()) planes[3].samples[i] = 1;
    }
    for (const std::size_t plane : {1u, 2u}) {
        if (HasHalfChroma(inTo)) planes[plane] = HalvedRows(HalvedColumns(planes[plane]), inTo);
    }
    return planes;
}

double Tolerance(FormatCode inFrom, FormatCode inTo) {
    if (!inTo.IsFloat()) return 1.001;
    return inFrom.IsLinear() != inTo.IsLinear() ? 1e-4 : 1e-5;
}

/// Makes of codes of straight colour what they are premultiplied.
template <class Code>
void Premultiply(Picture& ioPicture) {
    const std::size_t alphaPlace = ioPicture.format.IsReversed() ? 0 : 3;
    for (std::size_t pixel = 0; pixel < ioPicture.memory.size(); pixel += 4 * sizeof(Code)) {
        Code codes[4];
        std::memcpy(codes, &ioPicture.memory[pixel], sizeof codes);
        double alpha = codes[alphaPlace] / RangeOf(ioPicture.format, 3).scale;
        // Nothing, but not so little that dividing by it magnifies rounding.
        if (alpha < 0.1) codes[alphaPlace] = static_cast<Code>(alpha = 0);
        for (std::size_t place = 0; place < 4; ++place) {
            const std::size_t plane = place == 2 ? 0 : 1;
            const double black = RangeOf(ioPicture.format, plane).offset;
            if (place != alphaPlace)
                codes[place] = static_cast<Code>(black + (codes[place] - black) * alpha);
        }
        std::memcpy(&ioPicture.memory[pixel], codes, sizeof codes);
    }
}

/// Any codes, or those that the standards give to colours.
Picture RandomPicture(FormatCode inFormat, std::int32_t inWidth, std::int32_t inHeight,
                      bool inIsNominal) {
    Picture picture(inFormat, inWidth, inHeight);
    std::mt19937 random(inFormat.bits + static_cast<std::uint32_t>(inWidth));
    const std::size_t size = inFormat.IsFloat() ? 4 : inFormat.Is15Bit() ? 2 : 1;
    for (std::size_t i = 0; i + size <= picture.memory.size(); i += size) {
        const auto bits = static_cast<std::uint32_t>(random());
        const auto share = static_cast<float>(bits % 4096) / 4096;
        const auto code = static_cast<std::uint16_t>(bits % 32769);
        // A little more than white and less than black, and so of chroma.
        const std::size_t place = i / size % 4;
        const bool isChroma = inFormat.IsYCbCr() && place < 2;
        const bool isAlpha = place == (inFormat.IsReversed() ? 0 : 3);
        const float value = isAlpha ? share : 1.1f * share - (isChroma ? 0.55f : 0.05f);
        if (inFormat.IsFloat()) std::memcpy(&picture.memory[i], &value, size);
        if (inFormat.Is15Bit()) std::memcpy(&picture.memory[i], &code, size);
        if (size == 1)
            picture.memory[i] = static_cast<std::byte>(inIsNominal ? 16 + bits % 225 : bits);
    }
    if (inFormat.IsPremultiplied() && size == 1) Premultiply<std::uint8_t>(picture);
    if (inFormat.IsPremultiplied() && size == 2) Premultiply<std::uint16_t>(picture);
    if (inFormat.IsPremultiplied() && size == 4) Premultiply<float>(picture);
    for (std::size_t i = 0; inIsNominal && inFormat.IsV210() && i < picture.memory.size(); i += 4) {
        const auto code = [&] { return static_cast<std::uint32_t>(64 + random() % 897); };
        const std::uint32_t word = code() | code() << 10 | code() << 20;
        std::memcpy(&picture.memory[i], &word, 4);
    }
    return picture;
}

void ExpectExact(FormatCode inFrom, FormatCode inTo, std::int32_t inWidth, std::int32_t inHeight) {
    // Another matrix takes chroma beyond its nominal range to where it is clamped before it is
    // spread; so does dividing by alpha.
    const bool isNominal = inFrom.IsYCbCr() && inTo.IsYCbCr() &&
                           (inFrom.IsBt709() != inTo.IsBt709() || inFrom.IsPremultiplied());
    Picture source = RandomPicture(inFrom, inWidth, inHeight, isNominal);
    Picture result(inTo, inWidth, inHeight);
    ASSERT_EQ(Call(SV_Convert, source.Memory(), result.Memory(), inWidth, inHeight, 4), 0);
    Planes exact = Exact(source, inTo);
    const double tolerance = Tolerance(inFrom, inTo);
    double worst = 0;
    result.ForEachCode([&](std::size_t plane, std::int32_t x, std::int32_t y, double code) {
        const Range range = RangeOf(inTo, plane);
        const double sample = exact[plane].At(x, y);
        const double expected = range.offset + range.scale * sample;
        const double least = inTo.IsFloat() ? -HUGE_VAL : 0;
        const double error = std::abs(code - std::clamp(expected, least, range.most));
        worst = std::max(worst, error / std::max(1.0, std::abs(sample)));
    });
    EXPECT_LE(worst, tolerance) << std::hex << "0x" << inFrom.bits << " to 0x" << inTo.bits
                                << std::dec << ", " << inWidth << " by " << inHeight;
}

TEST(Pairs, AreWithinAStepOfTheExactConversion) {
    std::vector<FormatCode> formats(std::begin(kPackedFormats), std::end(kPackedFormats));
    for (const std::uint32_t planar : {0x09000031u, 0x0A000031u, 0x09000231u, 0x0A000231u})
        formats.emplace_back(planar);
    ForEachTarget([&] {
        for (const FormatCode from : formats) {
            for (const FormatCode to : formats) {
                if (from.bits == to.bits) continue;
                for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {70, 6}, {139, 2}})
                    ExpectExact(from, to, width, height);
            }
        }
    });
}

}  // namespace
}  // namespace scanvo_test

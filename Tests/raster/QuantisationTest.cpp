#include "VideoFrame/Quantisation.h"

#include <algorithm>
#include <list>

#include "Pictures.h"

namespace raster_test {
namespace {

using Counts = std::vector<std::uint32_t>;
constexpr std::size_t kCells = 32768;

// ---------------------------------------------------------------------------------------------
// The rules once more, one cell at a time

struct NaiveBox {
    int min[3] = {0, 0, 0};
    int max[3] = {31, 31, 31};
    std::int32_t priority = 9'999'999;
    std::int32_t count = 0;
};

class NaiveQuantiser {
  public:
    NaiveQuantiser(Counts inCounts, std::size_t inBoxes) : counts_(std::move(inCounts)) {
        boxes_.push_back({});
        while (boxes_.size() < inBoxes && boxes_.front().priority != 0)
            Split();
        // By count; ties go in front, but never of the first.
        std::list<NaiveBox> sorted;
        for (const NaiveBox& box : boxes_) {
            if (sorted.empty() || box.count > sorted.front().count) {
                sorted.push_front(box);
                continue;
            }
            sorted.insert(
                std::find_if(std::next(sorted.begin()), sorted.end(),
                             [&](const NaiveBox& other) { return other.count <= box.count; }),
                box);
        }
        boxes_ = sorted;
    }

    const std::list<NaiveBox>& Boxes() const { return boxes_; }

    /// Calls inVisit(cell, place on each axis) for the cells of a box.
    template <class Visit>
    static void ForCells(const NaiveBox& inBox, const Visit& inVisit) {
        for (std::size_t cell = 0; cell < kCells; ++cell) {
            const int place[3] = {static_cast<int>(cell >> 10), static_cast<int>(cell >> 5 & 31),
                                  static_cast<int>(cell & 31)};
            bool isIn = true;
            for (int axis = 0; axis < 3; ++axis)
                isIn &= place[axis] >= inBox.min[axis] && place[axis] <= inBox.max[axis];
            if (isIn) inVisit(cell, place);
        }
    }

    std::uint32_t ColourOf(const NaiveBox& inBox) const {
        std::uint32_t colour = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto [total, sum, squares] = Sums(Marginals(inBox)[axis]);
            if (total != 0) colour |= ((sum + total / 2) * 255 / total / 32 & 255) << (8 * axis);
        }
        return colour;
    }

  private:
    /// Of every axis, what each place on it counts.
    using Axes = std::array<std::array<std::uint32_t, 32>, 3>;

    Axes Marginals(const NaiveBox& inBox) const {
        Axes axes{};
        ForCells(inBox, [&](std::size_t cell, const int* place) {
            for (std::size_t axis = 0; axis < 3; ++axis)
                axes[axis][static_cast<std::size_t>(place[axis])] += counts_[cell];
        });
        return axes;
    }

    /// Of the counts, of the places, of their squares.
    static std::array<std::uint32_t, 3> Sums(const Axes::value_type& inCounts) {
        std::array<std::uint32_t, 3> sums{};
        for (std::uint32_t i = 0; i < 32; ++i) {
            sums[0] += inCounts[i];
            sums[1] += inCounts[i] * i;
            sums[2] += inCounts[i] * i * i;
        }
        return sums;
    }

    void Measure(NaiveBox& ioBox) const {
        ioBox.priority = 0;
        for (const auto& counts : Marginals(ioBox)) {
            const auto [total, s1, s2] = Sums(counts);
            ioBox.count = static_cast<std::int32_t>(total);
            if (total == 0) continue;
            ioBox.priority +=
                static_cast<std::int32_t>(s2 - (s1 / total) * s1 - ((s1 % total) * s1) / total);
        }
    }

    void Split() {
        NaiveBox lower = boxes_.front();
        boxes_.pop_front();
        const Axes axes = Marginals(lower);
        double best = 0;
        std::size_t bestAxis = 0;
        int bestPlace = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto [total, sum, squares] = Sums(axes[axis]);
            double below = 0, sumBelow = 0;
            for (int i = 0; i < 32; ++i) {
                const double count = axes[axis][static_cast<std::size_t>(i)];
                below += count;
                sumBelow += i * count;
                if (below == 0 || below == total) continue;
                const double delta = double(sum) / total - sumBelow / below;
                const double score = (below / (total - below)) * delta * delta;
                if (score <= best) continue;
                best = score;
                bestAxis = axis;
                bestPlace = i;
            }
        }
        NaiveBox upper = lower;
        lower.max[bestAxis] = bestPlace;
        upper.min[bestAxis] = bestPlace + 1;
        for (NaiveBox box : {lower, upper}) {
            Measure(box);
            boxes_.insert(
                std::find_if(boxes_.begin(), boxes_.end(),
                             [&](const NaiveBox& other) { return other.priority <= box.priority; }),
                box);
        }
    }

    Counts counts_;
    std::list<NaiveBox> boxes_;
};

// ---------------------------------------------------------------------------------------------
// Palettes

class Quantisation : public testing::Test {
  protected:
    ~Quantisation() override { EXPECT_EQ(win32::CountObjects(), objects_); }

    Counts RandomCounts(std::size_t inCells, std::uint32_t inMost) {
        Counts counts(kCells);
        for (std::size_t i = 0; i < inCells; ++i)
            counts[random_() % kCells] = static_cast<std::uint32_t>(1 + random_() % inMost);
        return counts;
    }

    std::mt19937 random_{21};

  private:
    const std::int64_t objects_ = win32::CountObjects();
};

std::vector<std::uint32_t> ColoursOf(HPALETTE inPalette) {
    std::vector<PALETTEENTRY> entries(GetPaletteEntries(inPalette, 0, 0, nullptr));
    GetPaletteEntries(inPalette, 0, static_cast<UINT>(entries.size()), entries.data());
    std::vector<std::uint32_t> colours;
    for (const PALETTEENTRY& entry : entries)
        colours.push_back(RGB(entry.peRed, entry.peGreen, entry.peBlue));
    DeleteObject(inPalette);
    return colours;
}

TEST_F(Quantisation, CutsAsTheRulesSay) {
    for (const auto& [cells, most, colours] : {std::tuple{40UL, 3U, 6},
                                               {300UL, 60000U, 16},
                                               {5UL, 2U, 12},
                                               {1UL, 9U, 4},
                                               {8000UL, 4U, 30},
                                               {0UL, 1U, 8},
                                               {60UL, 1U, 236}}) {
        SCOPED_TRACE(cells);
        Counts counts = RandomCounts(cells, most);
        const NaiveQuantiser naive(counts, static_cast<std::size_t>(colours));
        std::vector<std::uint32_t> expected;
        Bytes lookup(kCells);
        for (const NaiveBox& box : naive.Boxes()) {
            NaiveQuantiser::ForCells(box, [&](std::size_t cell, const int*) {
                lookup[cell] = static_cast<std::uint8_t>(expected.size());
            });
            expected.push_back(naive.ColourOf(box));
        }
        for (const bool usesCurrent : {false, true}) {
            Bytes actual(kCells, 0xEE);
            const HPALETTE palette = (usesCurrent ? HistogramPalette : HistogramToPalette)(
                counts.data(), actual.data(), colours);
            EXPECT_EQ(ColoursOf(palette), expected);
            EXPECT_EQ(actual, lookup);
        }
    }
}

TEST_F(Quantisation, OneColourAndSystemColours) {
    constexpr std::uint32_t kTwice = RGB(251, 3, 3);  // half a pixel more in each component
    Counts counts(kCells);
    counts[31 << 10] = 1;
    EXPECT_EQ(ColoursOf(HistogramToPalette(counts.data(), nullptr, 2)),
              (std::vector<std::uint32_t>{247, 0}));
    counts[31 << 10] = 2;
    EXPECT_EQ(ColoursOf(HistogramToPalette(counts.data(), nullptr, 9)),
              (std::vector<std::uint32_t>{kTwice, 0}));

    Bytes lookup(kCells);
    const HPALETTE palette = HistogramToPalette(counts.data(), lookup.data(), 256);
    Bytes nearest(kCells);
    MakePalLookup(nearest.data(), palette);
    EXPECT_EQ(nearest[31 << 10], 10);  // nearer than the red of the system
    EXPECT_EQ(nearest[0], 0);
    const std::vector<std::uint32_t> colours = ColoursOf(palette);
    ASSERT_EQ(colours.size(), 256U);
    EXPECT_EQ(colours[1], RGB(128, 0, 0));
    EXPECT_EQ(colours[9], RGB(166, 202, 240));
    EXPECT_EQ(colours[10], kTwice);
    EXPECT_EQ(colours[12], 0U);
    EXPECT_EQ(colours[246], RGB(255, 251, 240));
    EXPECT_EQ(colours[255], RGB(255, 255, 255));
    EXPECT_EQ(lookup[31 << 10], 10);

    // Scaled down in place; single pixels are lost.
    counts.assign(kCells, 0);
    counts[5] = 70000;
    counts[9] = 1;
    UseHistogram(nullptr);
    DeleteObject(HistogramToPalette(counts.data(), nullptr, 4));
    IncHistogram(9);
    EXPECT_EQ(counts[5], 35000U);
    EXPECT_EQ(counts[9], 0U);
    // Only one of the two makes its histogram the current one.
    DeleteObject(HistogramPalette(counts.data(), nullptr, 4));
    IncHistogram(9);
    EXPECT_EQ(counts[9], 1U);
    UseHistogram(nullptr);
}

TEST_F(Quantisation, NoPalette) {
    Counts counts(kCells, 1);
    for (const int colours : {1, 0, -5})
        EXPECT_EQ(HistogramPalette(counts.data(), nullptr, colours), nullptr);
    EXPECT_EQ(HistogramToPalette(nullptr, nullptr, 16), nullptr);
    for (const int allocations : {0, 1}) {
        win32::FailAllocationsAfter(allocations);
        EXPECT_EQ(HistogramToPalette(counts.data(), nullptr, 16), nullptr);
        win32::FailAllocationsAfter(-1);
    }
    win32::FailAllocationsAfter(0);
    EXPECT_EQ(InitHistogram(nullptr), nullptr);
    win32::FailAllocationsAfter(-1);
    EXPECT_EQ(AddAxisVariance(7, counts.data(), 0, 31, 0), 0U);
}

// ---------------------------------------------------------------------------------------------
// Pictures

/// A packed DIB of noise, with its colour table behind the header, and its pixels' cells.
struct Dib {
    Dib(std::uint16_t inBits, std::int32_t inWidth, std::int32_t inHeight, std::mt19937& ioRandom)
        : stride((static_cast<std::size_t>(inBits * inWidth) + 31) / 32 * 4) {
        const std::size_t colours = inBits < 9 ? std::size_t{1} << inBits : 0;
        bytes.resize(40 + 4 * colours + stride * static_cast<std::size_t>(inHeight));
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(ioRandom() >> 8);
        BITMAPINFOHEADER header{};
        header.biSize = 40;
        header.biWidth = inWidth;
        header.biHeight = inHeight;
        header.biBitCount = inBits;
        std::memcpy(bytes.data(), &header, 40);
        bits = 40 + 4 * colours;
    }

    BITMAPINFOHEADER* Header() { return reinterpret_cast<BITMAPINFOHEADER*>(bytes.data()); }

    std::size_t CellAt(std::int32_t inX, std::int32_t inY) {
        const std::uint16_t depth = Header()->biBitCount;
        const std::size_t bit = static_cast<std::size_t>(inX) * depth;
        const std::uint8_t* place = &bytes[bits + static_cast<std::size_t>(inY) * stride + bit / 8];
        if (depth == 16) return (place[0] | place[1] << 8) & 0x7FFF;
        if (depth < 9) {
            const std::size_t index = (*place >> (8 - depth - bit % 8)) & ((1U << depth) - 1);
            place = &bytes[40 + 4 * index];
        }
        return static_cast<std::size_t>(place[2] >> 3 << 10 | place[1] >> 3 << 5 | place[0] >> 3);
    }

    std::size_t stride;
    std::size_t bits = 0;
    Bytes bytes;
};

TEST_F(Quantisation, CountsAndReducesEveryDepth) {
    Bytes lookup(kCells);
    for (std::uint8_t& byte : lookup)
        byte = static_cast<std::uint8_t>(random_() >> 8);
    for (const std::uint16_t depth : std::initializer_list<std::uint16_t>{1, 4, 8, 16, 24, 32}) {
        for (const auto& [width, height] : {std::pair{1, 1}, {9, 4}, {33, 3}, {64, 2}}) {
            SCOPED_TRACE(std::to_string(depth) + " bits, " + std::to_string(width));
            Dib dib(depth, width, height, random_);
            // At few bits every pixel of a line's last byte counts, at 4 bits it is also written.
            const std::int32_t together = depth < 8 ? 8 / depth : 1;
            const std::int32_t counted = (width + together - 1) / together * together;
            const std::int32_t written = depth == 4 ? counted : width;
            const std::size_t outStride = (static_cast<std::size_t>(width) + 3) / 4 * 4;
            Counts expected(kCells);
            Bytes reduced(outStride * static_cast<std::size_t>(height), 0xEE);
            for (std::int32_t y = 0; y < height; ++y) {
                for (std::int32_t x = 0; x < counted; ++x) {
                    ++expected[dib.CellAt(x, y)];
                    if (x >= written) continue;
                    reduced[static_cast<std::size_t>(y) * outStride + static_cast<std::size_t>(x)] =
                        lookup[dib.CellAt(x, y)];
                }
            }
            Counts counts(kCells);
            EXPECT_EQ(DibHistogram(dib.Header(), nullptr, 0, 0, -1, 9999, counts.data()), 1);
            EXPECT_EQ(counts, expected);
            Bytes actual(reduced.size(), 0xEE);
            ReducePixels(dib.Header(), nullptr, dib.Header(), actual.data(), nullptr,
                         lookup.data());
            EXPECT_EQ(actual, reduced);
            if (depth != 32) continue;
            counts.assign(kCells, 0);
            const auto stride = static_cast<std::uint16_t>(dib.stride);
            EXPECT_EQ(Histogram32Hist(&dib.bytes[dib.bits], width, height,
                                      static_cast<std::int16_t>(stride), counts.data()),
                      height);
            EXPECT_EQ(counts, expected);
            for (const std::uint16_t given : {std::uint16_t{0}, stride}) {
                actual.assign(reduced.size(), 0xEE);
                ReducePixelsHist(dib.Header(), nullptr, dib.Header(), actual.data(), nullptr,
                                 lookup.data(), given, 0);
                EXPECT_EQ(actual, reduced);
            }
        }
    }
}

// A line of 16,400 pixels of 32 bits is longer than a 16-bit stride can say.
TEST_F(Quantisation, CountsPartsAndLongLines) {
    Dib dib(24, 10, 6, random_);
    Counts counts(kCells);
    Counts expected(kCells);
    for (std::int32_t i = 0; i < 4 * 2; ++i)
        ++expected[dib.CellAt(3 + i % 4, 2 + i / 4)];
    DibHistogram(dib.Header(), nullptr, 3, 2, 4, 2, counts.data());
    EXPECT_EQ(counts, expected);

    constexpr std::int32_t kLong = 16400;
    std::vector<std::uint32_t> lines(2 * kLong, 0x00F80000);
    std::fill_n(lines.begin(), kLong, 0x000000F8);
    counts.assign(kCells, 0);
    Histogram32(lines.data(), kLong, 2, static_cast<std::uint16_t>(4 * kLong), counts.data());
    EXPECT_EQ(counts[31 << 10], 16400U);
    EXPECT_EQ(counts[31], 16400U);
}

TEST_F(Quantisation, HistogramsAndBadInput) {
    std::uint32_t* const histogram = InitHistogram(nullptr);
    ASSERT_NE(histogram, nullptr);
    EXPECT_EQ(InitHistogram(histogram), histogram);
    UseHistogram(histogram);
    histogram[7] = 0xFFFFFFFF;
    IncHistogram(7);
    IncHistogram(1 << 10 | 2 << 5 | 3);
    IncHistogram(40000);
    EXPECT_EQ(histogram[7], 0xFFFFFFFF);
    EXPECT_EQ(GetHistogram(1, 2, 3), 1U);
    EXPECT_EQ(GetHistogram(200, 2, 3), 0U);
    UseHistogram(nullptr);
    FreeHistogram(histogram);
    FreeHistogram(nullptr);
    IncHistogram(7);

    Dib dib(16, 4, 4, random_);
    Counts counts(kCells);
    EXPECT_EQ(DibHistogram(nullptr, nullptr, 0, 0, 1, 1, counts.data()), 0);
    EXPECT_EQ(DibHistogram(dib.Header(), nullptr, 0, 0, 1, 1, nullptr), 0);
    dib.Header()->biBitCount = 15;
    EXPECT_EQ(DibHistogram(dib.Header(), nullptr, 0, 0, 1, 1, counts.data()), 1);
    Bytes out(16, 9);
    ReducePixels(dib.Header(), nullptr, dib.Header(), out.data(), nullptr, out.data());
    ReducePixels(nullptr, nullptr, dib.Header(), out.data(), nullptr, out.data());
    Histogram32(nullptr, 4, 4, 16, counts.data());
    Histogram8(out.data(), 4, 4, 4, counts.data(), nullptr);
    EXPECT_EQ(out, Bytes(16, 9));
    EXPECT_EQ(counts, Counts(kCells));
}

}  // namespace
}  // namespace raster_test

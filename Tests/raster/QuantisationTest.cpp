#include <list>

#include "VideoFrame/Quantisation.h"

#include "Pictures.h"

namespace raster_test {
namespace {

using Counts = std::vector<std::uint32_t>;
constexpr std::size_t kCells = 32768;

// ---------------------------------------------------------------------------------------------
// The rules once more, one cell at a time

struct NaiveBox {
    std::vector<std::size_t> cells;
    std::int32_t priority = 9'999'999, count = 0;
};

std::uint32_t PlaceOn(std::size_t inAxis, std::size_t inCell) {
    return static_cast<std::uint32_t>(inCell >> (10 - 5 * inAxis) & 31);
}

class NaiveQuantiser {
  public:
    NaiveQuantiser(const Counts& inCounts, std::size_t inBoxes) : counts_(inCounts), boxes_(1) {
        for (std::size_t cell = 0; cell < kCells; ++cell)
            boxes_.front().cells.push_back(cell);
        while (boxes_.size() < inBoxes && boxes_.front().priority != 0)
            Split();
        // By count; ties go in front, but never of the first.
        std::list<NaiveBox> sorted;
        for (const NaiveBox& box : boxes_) {
            const bool isFirst = sorted.empty() || box.count > sorted.front().count;
            Insert(sorted, isFirst ? sorted.begin() : ++sorted.begin(), box, &NaiveBox::count);
        }
        boxes_ = sorted;
    }

    const std::list<NaiveBox>& Boxes() const { return boxes_; }

    std::uint32_t ColourOf(const NaiveBox& inBox) const {
        std::uint32_t colour = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const Sums all = SumsOf(inBox, axis, 31);
            if (all.pixels == 0) return 0;
            colour |= ((all.places + all.pixels / 2) * 255 / all.pixels / 32 & 255) << (8 * axis);
        }
        return colour;
    }

  private:
    /// Of pixels, of their places on an axis, of the squares of these.
    struct Sums {
        std::uint32_t pixels = 0, places = 0, squares = 0;
    };

    Sums SumsOf(const NaiveBox& inBox, std::size_t inAxis, std::uint32_t inLastPlace) const {
        Sums sums;
        for (const std::size_t cell : inBox.cells) {
            const std::uint32_t place = PlaceOn(inAxis, cell);
            if (place > inLastPlace) continue;
            sums.pixels += counts_[cell];
            sums.places += counts_[cell] * place;
            sums.squares += counts_[cell] * place * place;
        }
        return sums;
    }

    void Split() {
        const NaiveBox box = boxes_.front();
        boxes_.pop_front();
        double best = 0;
        std::size_t bestAxis = 0;
        std::uint32_t bestPlace = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const Sums all = SumsOf(box, axis, 31);
            for (std::uint32_t place = 0; place < 32; ++place) {
                const Sums below = SumsOf(box, axis, place);
                if (below.pixels == 0 || below.pixels == all.pixels) continue;
                const double pixels = below.pixels;
                const double delta = double(all.places) / all.pixels - below.places / pixels;
                const double score = pixels / (all.pixels - pixels) * delta * delta;
                if (score <= best) continue;
                best = score;
                bestAxis = axis;
                bestPlace = place;
            }
        }
        NaiveBox halves[2];
        for (const std::size_t cell : box.cells)
            halves[PlaceOn(bestAxis, cell) > bestPlace].cells.push_back(cell);
        for (NaiveBox& half : halves) {
            half.priority = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto [pixels, places, squares] = SumsOf(half, axis, 31);
                half.count = static_cast<std::int32_t>(pixels);
                if (pixels == 0) continue;
                half.priority += static_cast<std::int32_t>(squares - places / pixels * places -
                                                           places % pixels * places / pixels);
            }
            Insert(boxes_, boxes_.begin(), half, &NaiveBox::priority);
        }
    }

    /// In front of the first box, from there on, that has no more of it.
    static void Insert(std::list<NaiveBox>& ioBoxes, std::list<NaiveBox>::iterator inFrom,
                       const NaiveBox& inBox, std::int32_t NaiveBox::*inBy) {
        const auto hasNoMore = [&](const NaiveBox& other) { return other.*inBy <= inBox.*inBy; };
        ioBoxes.insert(std::find_if(inFrom, ioBoxes.end(), hasNoMore), inBox);
    }

    const Counts& counts_;
    std::list<NaiveBox> boxes_;
};

// ---------------------------------------------------------------------------------------------
// Palettes

class Quantisation : public testing::Test {
  protected:
    ~Quantisation() override { EXPECT_EQ(win32::CountObjects(), objects_); }

    const std::int64_t objects_ = win32::CountObjects();
    std::mt19937 random_{21};
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
    for (const auto& [cells, most, colours] : {std::tuple{40, 3U, 6},
                                               {300, 60000U, 16},
                                               {5, 2U, 12},
                                               {1, 9U, 4},
                                               {8000, 4U, 30},
                                               {0, 1U, 8},
                                               {60, 1U, 236}}) {
        SCOPED_TRACE(cells);
        Counts counts(kCells);
        for (int i = 0; i < cells; ++i)
            counts[random_() % kCells] = static_cast<std::uint32_t>(1 + random_() % most);
        const NaiveQuantiser naive(counts, static_cast<std::size_t>(colours));
        std::vector<std::uint32_t> expected;
        Bytes lookup(kCells), actual(kCells);
        for (const NaiveBox& box : naive.Boxes()) {
            for (const std::size_t cell : box.cells)
                lookup[cell] = static_cast<std::uint8_t>(expected.size());
            expected.push_back(naive.ColourOf(box));
        }
        EXPECT_EQ(ColoursOf(HistogramPalette(counts.data(), actual.data(), colours)), expected);
        EXPECT_EQ(actual, lookup);
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

// ---------------------------------------------------------------------------------------------
// Pictures

/// A packed DIB of noise, its colour table too, and its pixels' cells.
struct Dib {
    Dib(std::uint16_t inBits, std::int32_t inWidth, std::int32_t inHeight, std::mt19937& ioRandom)
        : stride((static_cast<std::size_t>(inBits * inWidth) + 31) / 32 * 4),
          bits(inBits < 9 ? 40 + (std::size_t{4} << inBits) : 40),
          bytes(bits + stride * static_cast<std::size_t>(inHeight)) {
        FillWithNoise(bytes, ioRandom);
        *Header() = {40, inWidth, inHeight, 1, inBits, BI_RGB, 0, 0, 0, 0, 0};
    }

    BITMAPINFOHEADER* Header() { return reinterpret_cast<BITMAPINFOHEADER*>(bytes.data()); }

    std::size_t CellAt(std::size_t inX, std::size_t inY) {
        const std::uint16_t depth = Header()->biBitCount;
        const std::size_t bit = inX * depth;
        const std::uint8_t* place = &bytes[bits + inY * stride + bit / 8];
        if (depth == 16) return (place[0] | place[1] << 8) & 0x7FFF;
        if (depth < 9) {
            const std::size_t index = (*place >> (8 - depth - bit % 8)) & ((1U << depth) - 1);
            place = &bytes[40 + 4 * index];
        }
        return static_cast<std::size_t>(place[2] >> 3 << 10 | place[1] >> 3 << 5 | place[0] >> 3);
    }

    std::size_t stride;
    std::size_t bits;
    Bytes bytes;
};

TEST_F(Quantisation, CountsAndReducesEveryDepth) {
    Bytes lookup(kCells);
    FillWithNoise(lookup, random_);
    for (const std::uint16_t depth : std::initializer_list<std::uint16_t>{1, 4, 8, 16, 24, 32}) {
        for (const auto& [width, height] : {std::pair{1UL, 1UL}, {9, 4}, {33, 3}, {64, 2}}) {
            SCOPED_TRACE(std::to_string(depth) + " bits, " + std::to_string(width));
            const auto w = static_cast<std::int32_t>(width), h = static_cast<std::int32_t>(height);
            Dib dib(depth, w, h, random_);
            // At few bits every pixel of a line's last byte counts, at 4 bits it is also written.
            const std::size_t together = depth < 8 ? 8U / depth : 1;
            const std::size_t counted = (width + together - 1) / together * together;
            const std::size_t written = depth == 4 ? counted : width;
            const std::size_t outStride = (width + 3) / 4 * 4;
            Counts expected(kCells), counts(kCells);
            Bytes reduced(outStride * height, 0xEE), actual = reduced;
            for (std::size_t i = 0; i < counted * height; ++i) {
                const std::size_t x = i % counted, y = i / counted;
                ++expected[dib.CellAt(x, y)];
                if (x < written) reduced[y * outStride + x] = lookup[dib.CellAt(x, y)];
            }
            EXPECT_EQ(DibHistogram(dib.Header(), nullptr, 0, 0, -1, 9999, counts.data()), 1);
            EXPECT_EQ(counts, expected);
            ReducePixels(dib.Header(), nullptr, dib.Header(), actual.data(), nullptr,
                         lookup.data());
            EXPECT_EQ(actual, reduced);
            if (depth != 32) continue;
            counts.assign(kCells, 0);
            const auto stride = static_cast<std::int16_t>(dib.stride);
            EXPECT_EQ(Histogram32Hist(&dib.bytes[dib.bits], w, h, stride, counts.data()), h);
            EXPECT_EQ(counts, expected);
            for (const int given : {0, int{stride}}) {
                actual.assign(reduced.size(), 0xEE);
                ReducePixelsHist(dib.Header(), nullptr, dib.Header(), actual.data(), nullptr,
                                 lookup.data(), static_cast<std::uint16_t>(given), 0);
                EXPECT_EQ(actual, reduced);
            }
        }
    }
}

// A line of 16,400 pixels of 32 bits is longer than a 16-bit stride can say.
TEST_F(Quantisation, CountsPartsAndLongLines) {
    Dib dib(24, 10, 6, random_);
    Counts counts(kCells), expected(kCells);
    for (std::size_t i = 0; i < 4 * 2; ++i)
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
    dib.Header()->biBitCount = 15;
    EXPECT_EQ(DibHistogram(dib.Header(), nullptr, 0, 0, 1, 1, counts.data()), 1);
}

}  // namespace
}  // namespace raster_test

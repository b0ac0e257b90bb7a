// Cutting a histogram into boxes.
#include "raster/Boxes.h"

#include <array>
#include <cstddef>

#include "raster/Histogram.h"

namespace VF {
namespace {

constexpr std::int32_t kUncut = 9'999'999;  // priority of the box with all cells
constexpr std::size_t kAxes = 3;

struct Boxes {
    HLOCAL block = nullptr;
    QuantisationBox* list = nullptr;
    QuantisationBox* free = nullptr;
};

Boxes gBoxes;

struct Range {
    std::int32_t QuantisationBox::*min;
    std::int32_t QuantisationBox::*max;
};

constexpr Range kRanges[kAxes] = {
    {&QuantisationBox::redMin, &QuantisationBox::redMax},
    {&QuantisationBox::greenMin, &QuantisationBox::greenMax},
    {&QuantisationBox::blueMin, &QuantisationBox::blueMax},
};

/// Calls inVisit(cell, red, green, blue) for each cell of a box.
template <class Visit>
void ForEveryCell(const QuantisationBox& inBox, const Visit& inVisit) {
    for (std::int32_t red = inBox.redMin; red <= inBox.redMax; ++red) {
        for (std::int32_t green = inBox.greenMin; green <= inBox.greenMax; ++green) {
            for (std::int32_t blue = inBox.blueMin; blue <= inBox.blueMax; ++blue)
                inVisit(static_cast<std::size_t>(red << 10 | green << 5 | blue), red, green, blue);
        }
    }
}

/// Pixels of a box by their place on each axis.
struct Marginals {
    Marginals(const QuantisationBox& inBox, const std::uint32_t* inHistogram) {
        ForEveryCell(
            inBox, [&](std::size_t cell, std::int32_t red, std::int32_t green, std::int32_t blue) {
                const std::uint32_t count = inHistogram[cell];
                counts[0][static_cast<std::size_t>(red)] += count;
                counts[1][static_cast<std::size_t>(green)] += count;
                counts[2][static_cast<std::size_t>(blue)] += count;
                total += count;
            });
    }

    std::array<std::array<std::uint32_t, kCellsOfAxis>, kAxes> counts{};
    std::uint32_t total = 0;
};

/// The best cut of one axis; replaces the one before when it is strictly better.
void FindBestCut(const Marginals& inMarginals, const QuantisationBox& inBox, std::size_t inAxis,
                 double& ioBestScore, QuantisationSplit& ioSplit) {
    const auto& counts = inMarginals.counts[inAxis];
    const std::int32_t first = inBox.*kRanges[inAxis].min;
    const std::int32_t last = inBox.*kRanges[inAxis].max;
    const double total = inMarginals.total;
    double sum = 0;
    for (std::int32_t i = first; i <= last; ++i)
        sum += static_cast<double>(i) * counts[static_cast<std::size_t>(i)];
    const double mean = sum / total;
    double countBelow = 0;
    double sumBelow = 0;
    for (std::int32_t i = first; i <= last; ++i) {
        const double count = counts[static_cast<std::size_t>(i)];
        countBelow += count;
        if (countBelow == 0) continue;
        if (countBelow == total) return;
        sumBelow += i * count;
        const double difference = mean - sumBelow / countBelow;
        const double score = countBelow / (total - countBelow) * difference * difference;
        if (score > ioBestScore) {
            ioBestScore = score;
            ioSplit.coordinate = i;
            ioSplit.axis = static_cast<std::int32_t>(inAxis);
        }
    }
}

/// Puts a box behind inAfter.
void InsertBehind(QuantisationBox& ioAfter, QuantisationBox& ioBox) {
    ioBox.next = ioAfter.next;
    ioAfter.next = &ioBox;
}

/// Puts a box in front of the first box behind inFrom whose priority is not higher.
void InsertByPriority(QuantisationBox& inFrom, QuantisationBox& ioBox) {
    QuantisationBox* before = &inFrom;
    while (before->next && before->next->priority > ioBox.priority)
        before = before->next;
    InsertBehind(*before, ioBox);
}

}  // namespace

QuantisationBox* BoxList() {
    return gBoxes.list;
}

QuantisationBox* FreeBoxes() {
    return gBoxes.free;
}

}  // namespace VF

using namespace VF;

int InitBoxes(std::int32_t inCount) {
    if (inCount < 2) return 0;
    const auto count = static_cast<std::size_t>(inCount);
    gBoxes.block = LocalAlloc(LMEM_MOVEABLE | LMEM_ZEROINIT, count * sizeof(QuantisationBox));
    auto* const boxes = static_cast<QuantisationBox*>(LocalLock(gBoxes.block));
    if (!boxes) return 0;
    boxes[0].redMax = boxes[0].greenMax = boxes[0].blueMax = kCellsOfAxis - 1;
    boxes[0].priority = kUncut;
    for (std::size_t i = 1; i + 1 < count; ++i)
        boxes[i].next = &boxes[i + 1];
    gBoxes.list = boxes;
    gBoxes.free = boxes + 1;
    return 1;
}

void DeleteBoxes() {
    LocalUnlock(gBoxes.block);
    LocalFree(gBoxes.block);
    gBoxes.block = nullptr;
    gBoxes.list = gBoxes.free = nullptr;
}

void SortBoxes() {
    QuantisationBox* head = gBoxes.list;
    if (!head) return;
    QuantisationBox* next = head->next;
    head->next = nullptr;
    while (QuantisationBox* const box = next) {
        next = box->next;
        if (box->count > head->count) {
            box->next = head;
            head = box;
            continue;
        }
        QuantisationBox* before = head;
        while (before->next && before->next->count > box->count)
            before = before->next;
        InsertBehind(*before, *box);
    }
    gBoxes.list = head;
}

// ---------------------------------------------------------------------------------------------
// Measuring

std::uint32_t AddAxisVariance(std::int32_t, const std::uint32_t* inCounts, std::int32_t inMin,
                              std::int32_t inMax, std::uint32_t inTotal) {
    if (inTotal == 0) return 0;
    std::uint32_t sum = 0;
    std::uint32_t squares = 0;
    for (std::int32_t i = inMin; i <= inMax; ++i) {
        const auto place = static_cast<std::uint32_t>(i);
        sum += inCounts[i] * place;
        squares += inCounts[i] * place * place;
    }
    return squares - sum / inTotal * sum - sum % inTotal * sum / inTotal;
}

void ShrinkBox(QuantisationBox* ioBox) {
    ShrinkBoxHist(ioBox, CurrentHistogram());
}

void ShrinkBoxHist(QuantisationBox* ioBox, const std::uint32_t* inHistogram) {
    const Marginals marginals(*ioBox, inHistogram);
    std::uint32_t priority = 0;
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        priority += AddAxisVariance(0, marginals.counts[axis].data(), ioBox->*kRanges[axis].min,
                                    ioBox->*kRanges[axis].max, marginals.total);
    }
    ioBox->count = static_cast<std::int32_t>(marginals.total);
    ioBox->priority = static_cast<std::int32_t>(priority);
}

void FindSplitAxis(QuantisationSplit* outSplit, const QuantisationBox* inBox) {
    FindSplitAxisHist(outSplit, inBox, CurrentHistogram());
}

void FindSplitAxisHist(QuantisationSplit* outSplit, const QuantisationBox* inBox,
                       const std::uint32_t* inHistogram) {
    const Marginals marginals(*inBox, inHistogram);
    double bestScore = 0;
    outSplit->coordinate = 0;
    outSplit->axis = 0;
    for (std::size_t axis = 0; axis < kAxes; ++axis)
        FindBestCut(marginals, *inBox, axis, bestScore, *outSplit);
}

// ---------------------------------------------------------------------------------------------
// Cutting

int SplitBoxAxis(QuantisationBox* ioBox, const QuantisationSplit* inSplit) {
    QuantisationBox* const upper = gBoxes.free;
    if (ioBox->priority == 0 || !upper || inSplit->axis < 0 ||
        static_cast<std::size_t>(inSplit->axis) >= kAxes)
        return 1;
    QuantisationBox* const nextFree = upper->next;
    *upper = *ioBox;
    upper->next = nextFree;
    const Range& range = kRanges[inSplit->axis];
    ioBox->*range.max = inSplit->coordinate;
    upper->*range.min = inSplit->coordinate + 1;
    return 0;
}

void SplitBox(QuantisationBox* ioBox) {
    SplitBoxHist(ioBox, CurrentHistogram());
}

void SplitBoxHist(QuantisationBox* ioBox, const std::uint32_t* inHistogram) {
    QuantisationSplit split{};
    FindSplitAxisHist(&split, ioBox, inHistogram);
    if (SplitBoxAxis(ioBox, &split) != 0) return;
    QuantisationBox* const upper = gBoxes.free;
    ShrinkBoxHist(ioBox, inHistogram);
    ShrinkBoxHist(upper, inHistogram);
    if (ioBox->next && ioBox->next->priority > ioBox->priority) {
        gBoxes.list = ioBox->next;
        InsertByPriority(*gBoxes.list, *ioBox);
    }
    gBoxes.free = upper->next;
    if (upper->priority < gBoxes.list->priority) {
        InsertByPriority(*gBoxes.list, *upper);
    } else {
        upper->next = gBoxes.list;
        gBoxes.list = upper;
    }
}

// ---------------------------------------------------------------------------------------------
// Colours

COLORREF DetermineRepresentative(const QuantisationBox* inBox, std::uint8_t inIndex) {
    return DetermineRepresentativeHist(inBox, inIndex, nullptr, CurrentHistogram());
}

COLORREF DetermineRepresentativeHist(const QuantisationBox* inBox, std::uint8_t inIndex,
                                     std::uint8_t* outLookup, const std::uint32_t* inHistogram) {
    std::array<std::uint32_t, kAxes> sums{};
    std::uint32_t total = 0;
    ForEveryCell(*inBox,
                 [&](std::size_t cell, std::int32_t red, std::int32_t green, std::int32_t blue) {
                     if (outLookup) outLookup[cell] = inIndex;
                     const std::uint32_t count = inHistogram[cell];
                     sums[0] += count * static_cast<std::uint32_t>(red);
                     sums[1] += count * static_cast<std::uint32_t>(green);
                     sums[2] += count * static_cast<std::uint32_t>(blue);
                     total += count;
                 });
    if (total == 0) return 0;
    const auto component = [&](std::uint32_t sum) {
        return static_cast<BYTE>((sum + total / 2) * 255 / total / 32);
    };
    return RGB(component(sums[0]), component(sums[1]), component(sums[2]));
}

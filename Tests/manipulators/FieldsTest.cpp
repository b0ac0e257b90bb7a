#include "Patterns.h"

namespace manipulators_test {
namespace {

// Field 0 of field type 1 is the even display rows, of every other type the odd ones.
bool IsInField(std::uint32_t inFieldType, std::int32_t inField, std::int32_t inY) {
    return (inY % 2 == 0) == ((inFieldType == 1) == (inField == 0));
}

Canvas PatternOfType(std::int32_t inHeight, std::uint32_t inFieldType) {
    const Canvas canvas = PaintPattern(5, inHeight);
    canvas.frame->SetFieldType(inFieldType);
    return canvas;
}

/// A frame's field type and height, and a field.
template <class Test>
void ForEachField(const Test& inTest) {
    for (const std::uint32_t fieldType : {0u, 1u, 2u, 3u}) {
        for (const std::int32_t height : {1, 2, 3, 4, 9, 10}) {
            for (const std::int32_t field : {0, 1}) {
                SCOPED_TRACE(testing::Message() << fieldType << ' ' << height << ' ' << field);
                inTest(fieldType, height, field);
            }
        }
    }
}

TEST(CopyField, CopiesTheRowsOfOneField) {
    ForEachField([](std::uint32_t fieldType, std::int32_t height, std::int32_t field) {
        const Canvas source = PatternOfType(height, fieldType);
        const Canvas destination = PaintPlain(5, height);
        destination.frame->SetFieldType(fieldType);
        const bool isEmpty = height == 1 && !IsInField(fieldType, field, 0);
        EXPECT_EQ(CopyField(source.frame, destination.frame, 7 * field, 4),
                  isEmpty ? VF::kGeneralFailure : 0);
        ExpectPixels(destination, [&](std::int32_t x, std::int32_t y) {
            return IsInField(fieldType, field, y) ? PatternAt(x, y) : Pixel{};
        });
        EXPECT_EQ(destination.frame->GetFieldType(), fieldType);
    });
}

Pixel Mean(const Pixel& inA, const Pixel& inB) {
    Pixel mean;
    std::transform(inA.begin(), inA.end(), inB.begin(), mean.begin(),
                   [](int a, int b) { return static_cast<std::uint8_t>((a + b + 1) / 2); });
    return mean;
}

TEST(Deinterlace, RebuildsTheOtherField) {
    ForEachField([](std::uint32_t fieldType, std::int32_t height, std::int32_t field) {
        const auto expected = [&](std::int32_t x, std::int32_t y) {
            if (IsInField(fieldType, field, y) || height == 1) return PatternAt(x, y);
            const std::int32_t above = y > 0 ? y - 1 : y + 1;
            const std::int32_t below = y + 1 < height ? y + 1 : y - 1;
            return Mean(PatternAt(x, above), PatternAt(x, below));
        };
        const Canvas source = PatternOfType(height, fieldType);
        const bool hasField = height > 1 || IsInField(fieldType, field, 0);
        if (hasField) {
            const Canvas made = PaintPlain(5, height);
            made.frame->SetFieldType(fieldType);
            EXPECT_EQ(InterpFieldToFrame(source.frame, made.frame, field), 0);
            ExpectPixels(made, expected);
        }
        DeinterlaceVideoFrame(source.frame, field);
        ExpectPixels(source, expected);
        EXPECT_EQ(source.frame->GetFieldType(), hasField ? 0 : fieldType);
    });
    const VF::VideoFrameRef planar = MakeFrame(4, 4, kPlanar);
    planar->SetFieldType(1);
    DeinterlaceVideoFrame(planar, 0);
    EXPECT_EQ(planar->GetFieldType(), 1u);
}

// From another picture, then in place.
template <class Call, class Expected>
void ExpectRows(std::int32_t inHeight, const Call& inCall, const Expected& inExpected) {
    const Canvas source = PaintPattern(5, inHeight), destination = PaintPlain(5, inHeight);
    inCall(source.frame, destination.frame);
    ExpectPixels(destination, inExpected);
    inCall(source.frame, source.frame);
    ExpectPixels(source, inExpected);
}

TEST(SwapFields, MovesThePictureDownARow) {
    for (const std::int32_t height : {1, 2, 3, 10}) {
        ExpectRows(height, SwapFields,
                   [](std::int32_t x, std::int32_t y) { return PatternAt(x, std::max(y - 1, 0)); });
    }
}

TEST(VerticalConvolve, MixesEachRowWithItsNeighbours) {
    for (const std::int32_t height : {2, 3, 8}) {
        ExpectRows(height, VerticalConvolve, [height](std::int32_t x, std::int32_t y) {
            const Pixel own = PatternAt(x, y);
            if (y == 0) return Mean(own, PatternAt(x, 1));
            if (y == height - 1) return Mean(own, PatternAt(x, y - 1));
            return Mean(Mean(PatternAt(x, y - 1), PatternAt(x, y + 1)), own);
        });
    }
    const Canvas row = PaintPattern(5, 1);
    VerticalConvolve(PaintPlain(5, 1).frame, row.frame);
    ExpectPixels(row, PatternAt);
}

}  // namespace
}  // namespace manipulators_test

#include <algorithm>
#include <functional>

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

TEST(CopyField, CopiesTheRowsOfOneField) {
    for (const std::uint32_t fieldType : {0u, 1u, 2u}) {
        for (const std::int32_t height : {1, 2, 9, 10}) {
            for (const std::int32_t field : {0, 1, 7}) {
                const Canvas source = PatternOfType(height, fieldType);
                const Canvas destination = PaintPlain(5, height);
                destination.frame->SetFieldType(fieldType);
                const std::int32_t result = CopyField(source.frame, destination.frame, field, 4);
                const bool isEmpty = height == 1 && !IsInField(fieldType, field, 0);
                EXPECT_EQ(result, isEmpty ? VF::kGeneralFailure : 0);
                ExpectPixels(destination, [&](std::int32_t x, std::int32_t y) {
                    return IsInField(fieldType, field, y) ? PatternAt(x, y) : Pixel{};
                });
                EXPECT_EQ(destination.frame->GetFieldType(), fieldType);
            }
        }
    }
}

TEST(CopyField, KeepsItsContracts) {
    const Canvas odd = PatternOfType(9, 1);
    const Canvas other = PatternOfType(9, 2);
    ExpectBroken("theSrcRect.Height() == theDestRect.Height()", kFile, 0,
                 [&] { CopyField(odd.frame, other.frame, 0, 4); });
    ExpectPixels(other, PatternAt);
    odd.frame->SetReadOnly(true);
    // clang-format off
    const std::function<void()> writes[] = {
        [&] { CopyField(nullptr, odd.frame, 0, 4); },
        [&] { InterpFieldToFrame(other.frame, odd.frame, 0); },
        [&] { SwapFields(other.frame, odd.frame); },
        [&] { VerticalConvolve(other.frame, odd.frame); }};
    // clang-format on
    for (const auto& write : writes)
        ExpectBroken("inDestFrame->GetReadOnly() == false", kFile, 0, write);
    ExpectBroken("inVideoFrame->GetReadOnly() == false", kFile, 0,
                 [&] { DeinterlaceVideoFrame(odd.frame, 0); });
    EXPECT_THROW(DeinterlaceVideoFrame(MakeCustomFrame(400), 0), Brix::NullInterfaceException);
    EXPECT_THROW(VerticalConvolve(MakeCustomFrame(400), other.frame), Brix::NullInterfaceException);
}

Pixel Mean(const Pixel& inA, const Pixel& inB) {
    Pixel mean;
    std::transform(inA.begin(), inA.end(), inB.begin(), mean.begin(),
                   [](int a, int b) { return static_cast<std::uint8_t>((a + b + 1) / 2); });
    return mean;
}

TEST(Deinterlace, RebuildsTheOtherField) {
    for (const std::uint32_t fieldType : {1u, 2u, 3u}) {
        for (const std::int32_t height : {1, 2, 3, 4, 9, 10}) {
            for (const std::int32_t field : {0, 1}) {
                const auto expected = [&](std::int32_t x, std::int32_t y) {
                    if (IsInField(fieldType, field, y) || height == 1) return PatternAt(x, y);
                    const std::int32_t above = y > 0 ? y - 1 : y + 1;
                    const std::int32_t below = y + 1 < height ? y + 1 : y - 1;
                    return Mean(PatternAt(x, above), PatternAt(x, below));
                };
                SCOPED_TRACE(testing::Message() << fieldType << ' ' << height << ' ' << field);
                const Canvas canvas = PatternOfType(height, fieldType);
                DeinterlaceVideoFrame(canvas.frame, field);
                ExpectPixels(canvas, expected);
                const bool hasField = height > 1 || IsInField(fieldType, field, 0);
                EXPECT_EQ(canvas.frame->GetFieldType(), hasField ? 0 : fieldType);
                if (!hasField) continue;
                const Canvas made = PaintPlain(5, height);
                made.frame->SetFieldType(fieldType);
                const Canvas source = PatternOfType(height, fieldType);
                EXPECT_EQ(InterpFieldToFrame(source.frame, made.frame, field), 0);
                ExpectPixels(made, expected);
            }
        }
    }
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

TEST(MergePulldown, TakesFieldOneOfTheSecond) {
    const Canvas first = PatternOfType(10, 1);
    constexpr auto kNines = [](std::int32_t, std::int32_t) { return Pixel{9, 9, 9, 9}; };
    const Canvas second = Paint(5, 10, kNines);
    second.frame->SetFieldType(1);
    EXPECT_EQ(MergePulldownFrames(first.frame, second.frame), 0);
    ExpectPixels(first, [](std::int32_t x, std::int32_t y) {
        return y % 2 == 0 ? PatternAt(x, y) : Pixel{9, 9, 9, 9};
    });
    const VF::VideoFrameRef other = MakeFrame(5, 10, tulomediatypes::kPixelFormat_VUYA_4444_8u);
    ExpectBroken("inSourceFrameA->GetPixelType() == inSourceFrameB->GetPixelType()", kFile, 0,
                 [&] { MergePulldownFrames(first.frame, other); });
}

// Whatever the format, a plain picture stays plain, also where the last pixel has half a unit.
TEST(EveryFormat, KeepsPlainPicturesPlain) {
    for (const tulomediatypes::NamedPixelFormat& named : tulomediatypes::NamedPixelFormats()) {
        if (!VF::PixelType2DMemoryAccessCapable(named.format)) continue;
        if (VF::BEToSVPixelFormat(named.format) == 0) continue;
        SCOPED_TRACE(std::string(named.name));
        for (const std::uint32_t width : {48u, 5u}) {
            const VF::VideoFrameRef white = MakeFrame(width, 9, named.format);
            const VF::VideoFrameRef frame = MakeFrame(width, 9, named.format);
            const auto memory = Ask<VF::IVideoFrameMemoryAccess>(white);
            std::memset(memory->GetData(), 0, memory->GetDataSize());
            std::memset(Data(frame), 0, memory->GetDataSize());
            Ask<OV::IVideoFrameClearable>(white)->FillWithOpaqueWhite();
            const Brix::Rect whole = white->GetBounds();
            EXPECT_EQ(CopyRect(white, whole, frame, whole, 4, 3), 0);
            EXPECT_EQ(CopyField(white, frame, 0, 4), 0);
            DeinterlaceVideoFrame(frame, 1);
            SwapFields(frame, frame);
            VerticalConvolve(frame, frame);
            EXPECT_EQ(std::memcmp(Data(frame), Data(white), memory->GetDataSize()), 0);
        }
    }
}

}  // namespace
}  // namespace manipulators_test

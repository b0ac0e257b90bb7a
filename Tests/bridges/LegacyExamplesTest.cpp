// The examples of Docs/legacy.md do what they say.
#include "Records.h"
#include "support/Canvas.h"
#include "support/SharedFolder.h"

void PaintTopLine(const VF::VideoFrameRef& ioFrame, std::uint32_t inColour);
void ClearSecondLines(TPixHand inHandle);
bool PublishRecord(TPixHand inHandle, const tulocore::utility::Guid& inGuid);
void InvertField(const VF::VideoFrameRef& ioFrame, int inField);

namespace bridges_test {
namespace {

using LegacyExamples = BridgeTest;

constexpr Pixel kColour = {1, 2, 3, 4};

Canvas PaintPlain(std::int32_t inHeight) {
    return Paint(3, inHeight, [](int, int) { return kColour; });
}

TEST_F(LegacyExamples, PaintTopLine) {
    const Canvas canvas = PaintPlain(4);
    ::PaintTopLine(canvas.frame, 0x40302010);
    ExpectPixels(canvas, [](int, int inY) {
        return inY == 0 ? Pixel{0x10, 0x20, 0x30, 0x40} : kColour;
    });
}

TEST_F(LegacyExamples, ClearSecondLines) {
    for (const std::int32_t height : {4, 5}) {
        const Canvas canvas = PaintPlain(height);
        const TPixHand handle = VF::NewTPixFromVideoFrame(canvas.frame);
        ::ClearSecondLines(handle);
        tpixDispose(handle);
        ExpectPixels(canvas, [&](int, int inY) {
            const bool isSecondInMemory = (height - 1 - inY) % 2 == 1;
            return isSecondInMemory ? Pixel{1, 2, 3, 0} : kColour;
        });
    }
}

TEST_F(LegacyExamples, PublishRecord) {
    const SharedFolder folder;
    VF::Initialize();
    const TPixHand handle = NewRecord(4, 4);
    const auto guid = tulocore::utility::Guid::Generate();
    EXPECT_TRUE(::PublishRecord(handle, guid));
    processcoordination::BinaryReferencePtr data;
    EXPECT_EQ(processcoordination::GetBinaryDataIfAvailable(guid, data), 0);
    tpixDispose(handle);
    VF::Shutdown();
}

TEST_F(LegacyExamples, InvertField) {
    for (const int field : {0, 1}) {
        const Canvas canvas = PaintPlain(5);
        canvas.frame->SetFieldType(1);
        ::InvertField(canvas.frame, field);
        ExpectPixels(canvas, [&](int, int inY) {
            return inY % 2 == field ? Pixel{254, 253, 252, 4} : kColour;
        });
    }
}

}  // namespace
}  // namespace bridges_test

#include "VideoFrame/VideoFrameSharing.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "pellux/ServiceTest.h"
#include "support/Frames.h"
#include "support/SharedFolder.h"

using namespace tulomediatypes;
using processcoordination::BinaryReferencePtr;
using processcoordination::WritableBinaryReferencePtr;
using tulocore::utility::Guid;

namespace {

constexpr auto kGeneralFailure = static_cast<std::int32_t>(0xA00F0001);
constexpr auto kFrameNotReadable = static_cast<std::int32_t>(0xA0060002);
constexpr auto kTooSmall = static_cast<std::int32_t>(0xA00F0006);

// Fills a frame's tight picture with a pattern that tells every byte of every row.
std::vector<std::byte> FillWithPattern(const VF::VideoFrameRef& inFrame) {
    const auto memory = support::Ask<VF::IVideoFrameMemoryAccess>(inFrame);
    std::vector<std::byte> pattern(memory->GetDataSize());
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        pattern[i] = static_cast<std::byte>(i * 7 + i / 251);
    }
    std::memcpy(memory->GetData(), pattern.data(), pattern.size());
    return pattern;
}

bool Holds(const void* inPixels, const std::vector<std::byte>& inPattern) {
    return std::memcmp(inPixels, inPattern.data(), inPattern.size()) == 0;
}

VF::VideoFrameRef Receive(const Guid& inGuid) {
    BinaryReferencePtr reference;
    processcoordination::GetBinaryDataIfAvailable(inGuid, reference);
    VF::VideoFrameRef frame;
    EXPECT_EQ(VF::WrapVideoFrameAroundBinaryReference(reference, inGuid, frame), 0);
    return frame;
}

class Sharing : public testing::Test {
  protected:
    void SetUp() override { VF::Initialize(); }
    void TearDown() override { VF::Shutdown(); }

  private:
    support::SharedFolder folder_;
};

}  // namespace

TEST_F(Sharing, CopyCarriesPropertiesAndTightPixels) {
    VF::VideoFrameRef frame;
    ASSERT_EQ(VF::CreateDiskAlignedVideoFrame(frame, kPixelFormat_ARGB_4444_8u, 5, 3, {8, 9}, 512,
                                              4096, 32, false, false),
              0);
    frame->SetOrigin(3, 4);
    frame->SetDataRect({1, 1, 4, 2});
    frame->SetContentRect({0, 1, 5, 2});
    frame->SetFieldType(2);
    frame->SetAlphaType(3);
    frame->SetRenderTime(5);
    const std::vector<std::byte> pattern = FillWithPattern(frame);

    unsigned long long size = 0;
    ASSERT_EQ(VF::GetRequiredSharedMemorySizeForVideoFrame(frame, size), 0);
    ASSERT_EQ(size, 128U + 60);
    std::vector<std::byte> buffer(size + 16, std::byte{0xEE});
    ASSERT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(frame, buffer.data(), size), 0);

    const auto& header = *reinterpret_cast<const VF::SharedFrameHeader*>(buffer.data());
    EXPECT_TRUE(header.totalSize == 188 && header.version == 6 && header.rowBytes == 20);
    EXPECT_TRUE(header.originX == 3 && header.originY == 4 && header.pixelOffset == 0);
    EXPECT_TRUE(header.dataRectWidth == 3 && header.contentRectHeight == 1);
    EXPECT_TRUE(header.fieldType == 2 && header.alphaType == 1 && header.renderTime == 0);
    EXPECT_EQ(header.aspectRatioNumerator, 8U);
    for (const std::uint8_t reserved : header.reserved)
        EXPECT_EQ(reserved, 0);
    EXPECT_TRUE(Holds(buffer.data() + 128, pattern));
    EXPECT_EQ(buffer[size], std::byte{0xEE});
}

TEST_F(Sharing, EveryFormatOfTheRendererIsCopiedAsItStands) {
    for (const NamedPixelFormat& named : NamedPixelFormats()) {
        if (VF::BEPixelFormatToSVPixelFormat(named.format) == 0) continue;
        const VF::VideoFrameRef frame = support::MakeFrame(48, 4, named.format);
        const std::vector<std::byte> pattern = FillWithPattern(frame);
        unsigned long long size = 0;
        ASSERT_EQ(VF::GetRequiredSharedMemorySizeForVideoFrame(frame, size), 0) << named.name;
        std::vector<std::byte> buffer(size);
        ASSERT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(frame, buffer.data(), size), 0)
            << named.name;
        EXPECT_TRUE(Holds(buffer.data() + 128, pattern)) << named.name;
        const auto rowBytes =
            reinterpret_cast<const VF::SharedFrameHeader*>(buffer.data())->rowBytes;
        const auto rows = support::Ask<VF::IVideoFrame2DPixelMemoryAccess>(frame);
        EXPECT_EQ(static_cast<std::uint64_t>(rowBytes), rows ? rows->GetRowBytes() : pattern.size())
            << named.name;
    }
}

TEST_F(Sharing, BufferMustHoldTheCopy) {
    const VF::VideoFrameRef frame = support::MakeFrame(5, 3);
    std::vector<std::byte> buffer(188, std::byte{0xEE});
    EXPECT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(frame, buffer.data(), 187), kTooSmall);
    EXPECT_EQ(buffer, std::vector<std::byte>(188, std::byte{0xEE}));
    EXPECT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(frame, nullptr, 188), kTooSmall);
    EXPECT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(frame, buffer.data(), 188), 0);
}

TEST_F(Sharing, NullAndUnknownFramesCannotBeCopiedNorNothingWrapped) {
    VF::VideoFrameRef frame = support::MakeFrame(8, 8);
    EXPECT_EQ(VF::WrapVideoFrameAroundBinaryReference({}, Guid::Generate(), frame),
              kGeneralFailure);
    EXPECT_FALSE(frame);
    unsigned long long size = 77;
    EXPECT_EQ(VF::GetRequiredSharedMemorySizeForVideoFrame(nullptr, size), kGeneralFailure);
    EXPECT_EQ(size, 77U);
    std::vector<std::byte> buffer(1000);
    EXPECT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(nullptr, buffer.data(), 1000),
              kFrameNotReadable);
    // The renderer has no such format.
    EXPECT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(
                  support::MakeFrame(4, 4, kPixelFormat_VUYA_4444_16u), buffer.data(), 1000),
              kFrameNotReadable);
}

TEST_F(Sharing, PublicationThroughACopyHandsItsReferenceOut) {
    const VF::VideoFrameRef frame = support::MakeFrame(64, 16);
    const std::vector<std::byte> pattern = FillWithPattern(frame);
    const Guid guid = Guid::Generate();
    WritableBinaryReferencePtr reference;
    ASSERT_EQ(VF::PublishVideoFrameProvidingReference(frame, guid, reference), 0);
    ASSERT_TRUE(reference);
    EXPECT_GE(reference->GetSize(), 128 + pattern.size());
    EXPECT_FALSE(frame->GetReadOnly());
    EXPECT_EQ(VF::PublishVideoFrame(support::MakeFrame(8, 8), guid), kGeneralFailure) << "taken";
    const VF::VideoFrameRef received = Receive(guid);
    EXPECT_TRUE(Holds(support::Data(received), pattern));
    EXPECT_TRUE(received->GetReadOnly());
}

TEST_F(Sharing, FailureIsToldToWhoeverWaits) {
    const Guid guid = Guid::Generate();
    EXPECT_EQ(VF::PublishVideoFrame(nullptr, guid), kGeneralFailure);
    BinaryReferencePtr reference;
    std::int32_t code = 0;
    EXPECT_EQ(
        processcoordination::WaitForBinaryData(guid, std::chrono::seconds(10), reference, &code),
        processcoordination::kGenerationFailed);
    EXPECT_EQ(code, -1);
}

// The road of one frame: another process makes and publishes it, this one receives it and keeps
// the bytes after the other's end.
TEST(SharingProcesses, FrameOfAnotherProcessOutlivesIt) {
    const support::SharedFolder folder;
    const Guid guid = Guid::Generate();
    service_test::Process child([&](service_test::Process& inParent) {
        VF::Initialize();
        VF::VideoFrameRef made;
        VF::CreateVideoFrame(made, kPixelFormat_UYVY_422_8u, 640, 360, {1, 1}, true, false);
        FillWithPattern(made);
        made->SetFieldType(1);
        service_test::Check(VF::PublishVideoFrame(made, guid) == 0);
        inParent.Tell();
        inParent.Hear();  // and ends without stopping the library
    });
    ASSERT_TRUE(child.Hear());
    VF::Initialize();
    VF::VideoFrameRef frame = Receive(guid);
    ASSERT_TRUE(frame);
    child.Tell();
    EXPECT_TRUE(child.Join());

    EXPECT_EQ(frame->GetBounds(), (Brix::Rect{0, 0, 640, 360}));
    EXPECT_EQ(frame->GetPixelType(), kPixelFormat_UYVY_422_8u);
    EXPECT_EQ(frame->GetFieldType(), 1U);
    const VF::VideoFrameRef expected = support::MakeFrame(640, 360, kPixelFormat_UYVY_422_8u);
    const std::vector<std::byte> pattern = FillWithPattern(expected);
    EXPECT_TRUE(Holds(support::Data(frame), pattern));
    frame = nullptr;
    VF::Shutdown();
}

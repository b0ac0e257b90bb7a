#include <numeric>

#include "VideoFrame/VideoFrameSharing.h"

#include <boost/make_shared.hpp>

#include "support/Frames.h"

using namespace tulomediatypes;
using processcoordination::BinaryReferencePtr;

namespace {

// Fills a frame's tight picture with a pattern that tells every byte of every row.
std::vector<std::byte> FillWithPattern(const VF::VideoFrameRef& inFrame) {
    const auto memory = support::Ask<VF::IVideoFrameMemoryAccess>(inFrame);
    std::vector<std::byte> pattern(memory->GetDataSize());
    for (std::size_t i = 0; i < pattern.size(); ++i)
        pattern[i] = static_cast<std::byte>(i * 7 + i / 251);
    std::memcpy(memory->GetData(), pattern.data(), pattern.size());
    return pattern;
}

using Header = std::array<std::uint32_t, 32>;

struct SharedCopy {
    Header header;
    std::vector<std::byte> pixels;
};

SharedCopy CopyOf(const VF::VideoFrameRef& inFrame) {
    unsigned long long size = 0;
    EXPECT_EQ(VF::GetRequiredSharedMemorySizeForVideoFrame(inFrame, size), 0);
    std::vector<std::byte> buffer(size + 1, std::byte{0xEE});
    EXPECT_EQ(VF::CopyVideoFrameIntoSharedMemoryBuffer(inFrame, buffer.data(), size), 0);
    EXPECT_EQ(buffer.back(), std::byte{0xEE});
    SharedCopy copy{{}, {buffer.begin() + 128, buffer.end() - 1}};
    std::memcpy(copy.header.data(), buffer.data(), 128);
    return copy;
}

}  // namespace

TEST(Copy, CarriesPropertiesAndTightPixels) {
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
    const SharedCopy copy = CopyOf(frame);
    const auto [code, properties] = kPixelFormat_ARGB_4444_8u;
    EXPECT_EQ(copy.header, (Header{128, 6, 188, code, properties, 3, 4,  5, 3, 2, 1,
                                   1,   1, 3,   1,    8,          9, 20, 0, 1, 5, 1}));
    EXPECT_EQ(copy.pixels, pattern);
}

// A row of 7 pixels ends in its second group of 16 bytes; what is behind was in no picture.
TEST(Copy, ShowsNothingBehindTheLastPixelOfARow) {
    const VF::VideoFrameRef frame = support::MakeFrame(7, 2, kPixelFormat_V210_422_10u);
    FillWithPattern(frame);
    const std::vector<std::byte> pixels = CopyOf(frame).pixels;
    for (const std::size_t row : {0u, 128u})
        EXPECT_EQ(std::count(&pixels[row + 32], &pixels[row + 128], std::byte{0}), 96);
}

TEST(Copy, NeedsRoomAndAFrameThatCanBeRead) {
    const VF::VideoFrameRef frame = support::MakeFrame(5, 3);
    const std::vector<std::byte> untouched(188, std::byte{0xEE});
    std::vector<std::byte> buffer = untouched;
    const auto copy = VF::CopyVideoFrameIntoSharedMemoryBuffer;
    EXPECT_EQ(copy(frame, buffer.data(), 187), VF::kOutOfMemory);
    EXPECT_EQ(copy(frame, nullptr, 188), VF::kOutOfMemory);
    EXPECT_EQ(copy(nullptr, buffer.data(), 188), VF::kFrameNotReadable);
    EXPECT_EQ(buffer, untouched);
    unsigned long long size = 77;
    EXPECT_EQ(VF::GetRequiredSharedMemorySizeForVideoFrame(nullptr, size), VF::kGeneralFailure);
    EXPECT_EQ(size, 77U);
    // The renderer has no such format.
    const VF::VideoFrameRef unknown = support::MakeFrame(2, 2, kPixelFormat_VUYA_4444_16u);
    EXPECT_EQ(copy(unknown, buffer.data(), 188), VF::kFrameNotReadable);
}

// ---------------------------------------------------------------------------------------------
// Received data

namespace {

// Data that another process sent, in memory which it can still write.
class ReceivedData final : public processcoordination::BinaryReference {
  public:
    using Words = std::map<std::size_t, std::int64_t>;  // by their offset in the header

    // A frame of 4 by 3 pixels whose header holds these words instead of its own.
    explicit ReceivedData(const Words& inWords = {}) {
        std::ranges::copy(CopyOf(support::MakeFrame(4, 3)).header, words.begin());
        std::iota(words.begin() + 32, words.end(), 0U);
        for (const auto& [offset, value] : inWords)
            words[offset / 4] = static_cast<std::uint32_t>(value);
    }
    std::uint64_t GetSize() override { return size; }
    const void* GetData() override {
        if (size == 0) throw std::bad_alloc();
        ++addresses;
        return words.data();
    }
    void ReleaseData(const void*) override { --addresses; }

    std::vector<std::uint32_t> words = std::vector<std::uint32_t>(32 + 12);
    std::uint64_t size = 128 + 48;
    int addresses = 0;  // not handed back
};

}  // namespace

TEST(CheckedWrap, TakesFramesThatLieInTheDataAndSaysWhyNoOthers) {
    const auto in = [](PixelFormat format, ReceivedData::Words words) {
        words.insert({{12, format.code}, {16, format.properties}});
        return words;
    };
    constexpr PixelFormat kPlanar = kPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601;
    constexpr PixelFormat kDV = kPixelFormat_NTSCDV25, kCustom = support::kCustomFormat;
    // clang-format off
    const struct { const char* fault; std::vector<ReceivedData::Words> headers; } kCases[] = {
        {"", {{}, {{4, 1}}, {{4, 5}, {92, 1}}, {{28, 3}}, {{32, 2}, {92, 16}}, {{32, 1}, {68, -16}},
              {{68, -16}, {92, 32}}, in(kPlanar, {}), in(kCustom, {}), in(kCustom, {{8, 128}})}},
        {"it does not begin with a frame's header", {{{0, 127}}}},
        {"its version is unknown", {{{4, 0}}, {{4, 7}}}},
        {"it has no pixels", {{{28, 0}}, {{32, 0}}, {{28, -4}}, {{32, -3}}}},
        {"its pixels have no shape", {{{60, 0}}, {{64, 0}}}},
        {"it is shorter than it says", {{{8, 177}}, in(kCustom, {{8, -1}})}},
        {"it says it is shorter than its header", {in(kCustom, {{8, 127}})}},
        {"its format is unknown", {in({1, 2}, {}), {{16, 0}}, in(kPixelFormat_Invalid, {})}},
        {"its size does not suit its format", {in(kDV, {})}},
        {"its rows are too short", {{{68, 15}}, {{68, -15}}, {{68, 0}}, {{28, 5}}, {{28, INT_MAX}}}},
        {"its rows begin before its pixels", {{{68, -16}}, {{68, -16}, {92, 31}}}},
        {"it is shorter than its pixels", {{{32, 4}}, {{68, 17}}, {{92, 1}}, {{92, -1}},
            {{68, INT_MAX}, {32, INT_MAX}}, {{68, -16}, {92, 33}}, in(kDV, {{28, 720}, {32, 480}}),
            in(kPlanar, {{28, 8}, {32, 5}}), in(kPlanar, {{92, -1}}), in(kCustom, {{92, 1}})}},
    };
    // clang-format on
    for (const auto& [expected, headers] : kCases) {
        for (const ReceivedData::Words& words : headers) {
            const auto data = boost::make_shared<ReceivedData>(words);
            VF::VideoFrameRef frame;
            const char* fault = nullptr;
            const int status = VF::WrapCheckedBinaryReference(data, {}, frame, &fault);
            EXPECT_STREQ(fault ? fault : "", expected) << testing::PrintToString(words);
            EXPECT_EQ(status, fault ? VF::kFrameNotReadable : 0);
            EXPECT_EQ(static_cast<bool>(frame), !fault);
            if (frame && !VF::IsCustomBEPixelFormat(frame->GetPixelType())) CopyOf(frame);
            frame = nullptr;
            EXPECT_EQ(data->addresses, 0);
        }
    }
}

TEST(CheckedWrap, FrameKeepsTheHeaderThatWasChecked) {
    // Upside down: its first row lies last.
    const auto data = boost::make_shared<ReceivedData>(ReceivedData::Words{{68, -16}, {92, 32}});
    VF::VideoFrameRef checked, plain;
    ASSERT_EQ(VF::WrapCheckedBinaryReference(data, {}, checked), 0);
    ASSERT_EQ(VF::WrapVideoFrameAroundBinaryReference(data, {}, plain), 0);
    for (const VF::VideoFrameRef& frame : {checked, plain}) {
        const SharedCopy copy = CopyOf(frame);
        EXPECT_EQ(copy.header[17], 16U);
        for (std::size_t row = 0; row < 3; ++row)
            EXPECT_EQ(std::to_integer<std::size_t>(copy.pixels[16 * row]), 4 * (2 - row));
    }
    std::fill_n(data->words.begin(), 32, 0x7FFFFFFFU);
    EXPECT_EQ(plain->GetBounds().Width(), INT_MAX);
    EXPECT_EQ(checked->GetBounds(), (Brix::Rect{0, 0, 4, 3}));
    EXPECT_EQ(std::to_integer<int>(CopyOf(checked).pixels[0]), 8);
}

TEST(Wrap, GivesAStatusWithoutDataAndWithoutMemory) {
    const auto data = boost::make_shared<ReceivedData>(
        ReceivedData::Words{{8, 128}, {12, support::kCustomFormat.code}});
    data->size = 0;
    VF::VideoFrameRef checked;
    for (const BinaryReferencePtr& reference : {BinaryReferencePtr(), BinaryReferencePtr(data)}) {
        VF::VideoFrameRef frame = checked = support::MakeFrame(8, 8);
        EXPECT_EQ(VF::WrapVideoFrameAroundBinaryReference(reference, {}, frame),
                  VF::kGeneralFailure);
        EXPECT_EQ(VF::WrapCheckedBinaryReference(reference, {}, checked), VF::kGeneralFailure);
        EXPECT_TRUE(!frame && !checked);
    }
    // A header alone is a custom frame without pixels.
    const char* fault = nullptr;
    data->size = 127;
    EXPECT_EQ(VF::WrapCheckedBinaryReference(data, {}, checked, &fault), VF::kFrameNotReadable);
    EXPECT_STREQ(fault, "it is shorter than a frame's header");
    data->size = 128;
    EXPECT_EQ(VF::WrapCheckedBinaryReference(data, {}, checked), 0);
}

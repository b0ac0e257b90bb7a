// Hosts call operations by their position in the table. These tests do the same, so a slot that
// moves shows at once.
#include <gtest/gtest.h>

#include <cstring>

#include "frames/MemoryRecyclerVideoFrame.h"
#include "frames/RawFrame.h"
#include "support/Contracts.h"
#include "support/Frames.h"

using tulocore::utility::Guid;

namespace {

template <class Result, class... Arguments>
Result CallAt(void* inView, std::size_t inPosition, Arguments... inArguments) {
    using Operation = Result (*)(void*, Arguments...);
    void** const table = *static_cast<void***>(inView);
    return reinterpret_cast<Operation>(table[inPosition])(inView, inArguments...);
}

// Asks for a view through position 3 and gives its reference back through position 1.
void* ViewOf(void* inObject, const Guid& inId) {
    void* view = nullptr;
    if (CallAt<std::int32_t, const Guid&>(inObject, 3, inId, &view) == 0) CallAt<void>(view, 1);
    return view;
}

class TableTest : public testing::Test {
  protected:
    VF::VideoFrameRef frame_ = support::MakeFrame(64, 31);
    void* object_ = frame_.Get();
};

}  // namespace

TEST_F(TableTest, RootOperations) {
    void* view = nullptr;
    EXPECT_EQ(
        (CallAt<std::int32_t, const Guid&>(object_, 3, Brix::BrixUnknown::kInterfaceId, &view)), 0);
    EXPECT_EQ(view, object_);
    CallAt<void>(object_, 0);
    CallAt<void>(object_, 1);
    CallAt<void>(object_, 1);
    EXPECT_EQ((CallAt<std::int32_t, const Guid&>(object_, 3, Guid(), &view)),
              static_cast<std::int32_t>(0xA00A0001));
    EXPECT_EQ(view, nullptr);
}

TEST_F(TableTest, FrameOperations) {
    using Brix::Rect;
    using tulomediatypes::PixelAspectRatio;
    EXPECT_EQ(CallAt<Rect>(object_, 4), (Rect{0, 0, 64, 31}));
    const Rect bounds{0, 0, 64, 31};
    EXPECT_TRUE((CallAt<bool, const Rect&>(object_, 5, bounds)));
    const auto expectKept = [&](std::size_t position, const auto& value) {
        using Value = std::decay_t<decltype(value)>;
        CallAt<void, Value>(object_, position + 1, value);
        EXPECT_EQ(CallAt<Value>(object_, position), value) << position;
    };
    expectKept(6, PixelAspectRatio{10, 11});
    EXPECT_EQ(CallAt<tulomediatypes::PixelFormat>(object_, 8),
              tulomediatypes::kPixelFormat_BGRA_4444_8u);
    expectKept(9, true);
    expectKept(9, false);
    expectKept(11, 2U);
    EXPECT_TRUE(CallAt<bool>(object_, 15));
    expectKept(13, 3U);
    EXPECT_FALSE(CallAt<bool>(object_, 15));
    expectKept(22, 99U);
    CallAt<void>(object_, 17, 5, 7);
    EXPECT_EQ(CallAt<OV::Point>(object_, 16), (OV::Point{5, 7}));
    const Rect content{1, 2, 30, 20};
    CallAt<void, const Rect&>(object_, 19, content);
    EXPECT_EQ(CallAt<Rect>(object_, 18), content);
    CallAt<void>(object_, 21, OV::AuxiliaryInfo{1, 2, 3});
    EXPECT_EQ(CallAt<OV::AuxiliaryInfo>(object_, 20), OV::AuxiliaryInfo{});
    const Rect data{3, 4, 5, 6};
    CallAt<void, const Rect&>(object_, 26, data);
    Rect read;
    EXPECT_TRUE((CallAt<bool, Rect&>(object_, 25, read)));
    EXPECT_EQ(read, data);
    const auto duplicate = CallAt<VF::VideoFrameRef>(object_, 24);
    EXPECT_EQ(duplicate->GetContentRect(), content);
    CallAt<void>(object_, 27);
    EXPECT_TRUE((CallAt<bool, Rect&>(object_, 25, read)));
    EXPECT_EQ(read, bounds);
}

TEST_F(TableTest, ClassOperations) {
    auto* const writable = CallAt<std::byte*>(object_, 28);
    EXPECT_EQ(CallAt<const std::byte*>(object_, 29), writable);
    EXPECT_EQ(support::Data(frame_), writable + 128);
    EXPECT_FALSE(CallAt<bool>(object_, 30));
    EXPECT_EQ(CallAt<VF::VideoFrameRef>(object_, 31).Get(), frame_.Get());
}

TEST_F(TableTest, ViewOperations) {
    const std::byte* const data = support::Data(frame_);
    void* const clearable = ViewOf(object_, OV::IVideoFrameClearable::kInterfaceId);
    for (std::size_t position = 4; position < 8; ++position) {
        constexpr std::uint32_t kPixels[] = {0xFF000000, 0xFFFFFFFF, 0x00000000, 0x00FFFFFF};
        EXPECT_EQ(CallAt<std::int32_t>(clearable, position), 0);
        EXPECT_EQ(std::memcmp(data + 4 * (64 * 31 - 1), &kPixels[position - 4], 4), 0) << position;
    }
    EXPECT_EQ(ViewOf(clearable, OV::IVideoFrame::kInterfaceId), object_);
    void* const memory = ViewOf(object_, VF::IVideoFrameMemoryAccess::kInterfaceId);
    EXPECT_EQ(CallAt<std::byte*>(memory, 4), data);
    EXPECT_EQ(CallAt<std::uint64_t>(memory, 5), 64U * 31 * 4);
    EXPECT_EQ(CallAt<std::uint64_t>(memory, 6), 64U * 31 * 4 + 128);
    EXPECT_EQ(ViewOf(memory, Brix::BrixUnknown::kInterfaceId), object_);
    void* const rows = ViewOf(object_, VF::IVideoFrame2DPixelMemoryAccess::kInterfaceId);
    EXPECT_EQ(CallAt<std::uint32_t>(rows, 4), 4U);
    EXPECT_EQ(CallAt<std::uint32_t>(rows, 5), 256U);
    EXPECT_EQ(CallAt<std::byte*>(rows, 6), data + 256);
    EXPECT_EQ(CallAt<std::byte*>(rows, 7), data);
    EXPECT_EQ(CallAt<std::uint32_t>(rows, 8), 512U);
    EXPECT_EQ(CallAt<std::uint32_t>(rows, 9, 0U), 1U);
    EXPECT_EQ(CallAt<std::uint32_t>(rows, 9, 1U), 0U);
}

// A frame in recycler memory hands the view out to nobody; the object carries it all the same.
TEST_F(TableTest, PublishOperation) {
    auto* const frame = static_cast<VF::SharedMemoryVideoFrameBase*>(frame_.Get());
    void* const publishable = static_cast<VF::IPublishableVideoFrame*>(frame);
    const Guid guid = Guid::Generate();
    support::ExpectBroken("false", "SharedMemoryVideoFrame", 397,
                          [&] { CallAt<std::int32_t, const Guid&>(publishable, 4, guid); });
}

TEST_F(TableTest, LastReleaseAtAnyViewDestroysTheObject) {
    VF::VideoFrameRef frame = support::MakeFrame(1000, 1000);
    void* const memory = ViewOf(frame.Get(), VF::IVideoFrameMemoryAccess::kInterfaceId);
    const Brix::MemoryRecycler::Pointer recycler;
    const std::size_t kept = recycler->KeptBytes();
    (void)frame.Detach();
    CallAt<void>(memory, 1);
    EXPECT_GE(recycler->KeptBytes(), kept + 4'000'128);
}

TEST(RawFrameTable, MemoryOperationsAndSelf) {
    const auto frame = VF::RawFrame::Create();
    ASSERT_EQ(frame->AllocateMemory(100, 64), 0);
    void* const object = frame.Get();
    EXPECT_EQ(CallAt<void*>(object, 4), frame->GetData());
    EXPECT_EQ(CallAt<std::uint64_t>(object, 5), 100U);
    EXPECT_EQ(CallAt<std::uint64_t>(object, 6), 164U);
    EXPECT_EQ(CallAt<Brix::InterfaceRef<VF::RawFrame>>(object, 7).Get(), frame.Get());
}

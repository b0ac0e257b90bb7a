#include "Records.h"

namespace bridges_test {
namespace {

using TPixFields = BridgeTest;

constexpr int kRowBytes = 20;

/// A call, and the memory lines that the record shows after it.
struct Step {
    enum Call { kPrep, kPointAtField, kPointAtFull, kCleanup } call;
    int argument;
    int first, lineStep;
    std::uint64_t fieldbase;
    bool hasView = true;
};

void Take(TPixHand inHandle, const Step& inStep) {
    if (inStep.call == Step::kPrep)
        TPixFieldsPrep(inHandle, static_cast<std::uint8_t>(inStep.argument));
    if (inStep.call == Step::kPointAtField) {
        const auto field = static_cast<std::int8_t>(inStep.argument);
        EXPECT_EQ(TPixFields_PointAtField(inHandle, field), *inHandle);
    }
    if (inStep.call == Step::kPointAtFull) TPixFields_PointAtFull(inHandle);
    if (inStep.call == Step::kCleanup) TPixFieldsCleanup(inHandle);
}

TEST_F(TPixFields, ViewsNest) {
    using enum Step::Call;
    // clang-format off
    const std::vector<Step> even = {
        {kPrep, 0, 0, 1, 0}, {kPointAtField, 1, 1, 2, 2}, {kPointAtField, 1, 1, 2, 2},
        {kPointAtField, 0, 0, 2, 1}, {kPointAtFull, 0, 0, 1, 0}, {kPointAtFull, 0, 0, 1, 0},
        {kPrep, 1, 0, 1, 0}, {kPointAtField, 0, 1, 2, 1}, {kPrep, 1, 1, 2, 0},
        {kPointAtField, 0, 3, 4, 1}, {kPointAtField, 1, 1, 4, 2}, {kCleanup, 0, 1, 2, 1},
        {kPointAtField, 1, 0, 2, 2}, {kCleanup, 0, 0, 1, 0}, {kPointAtField, 1, 1, 2, 2},
        {kCleanup, 0, 0, 1, 0}, {kCleanup, 0, 0, 1, 0, false}, {kCleanup, 0, 0, 1, 0, false},
        {kPointAtFull, 0, 0, 1, 0, false}, {kPrep, 1, 0, 1, 0}, {kPointAtField, 0, 1, 2, 1},
        {kCleanup, 0, 0, 1, 0, false}};
    const std::vector<Step> odd = {
        {kPrep, 0, 0, 1, 0}, {kPointAtField, 0, 1, 2, 1}, {kPrep, 7, 1, 2, 0},
        {kPointAtField, 0, 3, 4, 1}, {kCleanup, 0, 1, 2, 1}, {kCleanup, 0, 0, 1, 0},
        {kPrep, 1, 0, 1, 0}, {kPointAtField, 1, 1, 2, 2}, {kCleanup, 0, 0, 1, 0}};
    // clang-format on
    for (const auto& [height, steps] : {std::pair{8, &even}, {9, &odd}}) {
        const TPixHand handle = NewRecord(5, height);
        const TPix& record = **handle;
        const std::uint8_t* const base = record.pixels;
        for (const Step& step : *steps) {
            SCOPED_TRACE(&step - steps->data());
            Take(handle, step);
            EXPECT_EQ(record.pixels, base + step.first * kRowBytes);
            EXPECT_EQ(record.rowbytes, step.lineStep * kRowBytes);
            EXPECT_EQ(GetPixFieldbase(handle), step.fieldbase);
            EXPECT_EQ(record.fullPixels != nullptr, step.hasView);
        }
        EXPECT_EQ(record.fieldStateStack, nullptr);
        tpixDispose(handle);
    }
}

// Older code reads the stack: six words an entry, the oldest first.
TEST_F(TPixFields, StackOfStates) {
    const TPixHand handle = NewRecord(5, 8);
    TPix& record = **handle;
    std::uint8_t* const base = record.pixels;
    TPixFieldsPrep(handle, 0);
    TPixFields_PointAtField(handle, 1);
    TPixFieldsPrep(handle, 0);
    ASSERT_EQ(TvGetHandleSize(record.fieldStateStack), 96);
    const auto at = reinterpret_cast<std::uint64_t>(base);
    const std::uint64_t stack[] = {at, at, at,      0, at,      20,   // the whole picture
                                   at, at, at + 20, 2, at + 20, 40};  // its second field
    EXPECT_EQ(std::memcmp(*record.fieldStateStack, stack, 96), 0);
    TPixFieldsCleanup(handle);
    EXPECT_EQ(TvGetHandleSize(record.fieldStateStack), 48);
    TPixFieldsCleanup(handle);
    EXPECT_EQ(record.fieldStateStack, nullptr);
    tpixDispose(handle);
}

TEST_F(TPixFields, ClonesShowTheSameField) {
    for (const auto& [order, field] : {std::pair{0, 0}, {0, 1}, {1, 0}, {1, 1}}) {
        const TPixHand source = NewRecord(6, 10);
        TPixFieldsPrep(source, static_cast<std::uint8_t>(order));
        TPixFields_PointAtField(source, static_cast<std::int8_t>(field));
        const TPixHand clone = TPixFieldsClone(source);
        const TPix& record = **clone;
        // The clone's own picture is twice as high, so its lines lie two apart as well.
        EXPECT_EQ(record.bounds.bottom, 10);
        EXPECT_EQ(record.rowbytes, 48);
        EXPECT_EQ(record.fieldbase, static_cast<std::uint64_t>(field + 1));
        // Field 0 starts with the second line of the clone, whatever it does in the source.
        EXPECT_EQ(record.pixels, record.fullPixels + (field == 0 ? 24 : 0));
        TPixFields_PointAtFull(source);
        const TPixHand whole = TPixFieldsClone(source);
        EXPECT_EQ((*whole)->fieldbase, 0U);
        EXPECT_EQ((*whole)->bounds.bottom, 10);
        EXPECT_EQ((*whole)->pixels, (*whole)->fullPixels);
        EXPECT_EQ((*whole)->rowbytes, 24);
        TPixFieldsCleanup(source);
        for (const TPixHand handle : {clone, whole, source})
            TPixFieldsCloneFree(handle);
    }
    TPixFieldsCloneFree(nullptr);
}

}  // namespace
}  // namespace bridges_test

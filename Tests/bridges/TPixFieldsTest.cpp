#include <random>

#include "Records.h"

namespace bridges_test {
namespace {

using TPixFields = BridgeTest;

/// A view in numbers of memory lines, of what a record must show.
struct View {
    int first = 0;
    int step = 1;
    int fieldFirst[2] = {0, 0};
    int shownField = -1;  // -1: the whole picture

    int ShownFirst() const { return shownField < 0 ? first : fieldFirst[shownField]; }
    int ShownStep() const { return shownField < 0 ? step : 2 * step; }
};

class Model {
  public:
    explicit Model(int inHeight) : isEven_(inHeight % 2 == 0) {}

    void Prep(int inOrder) {
        const View outer = views_.empty() ? View{} : views_.back();
        View view{outer.ShownFirst(), outer.ShownStep(), {0, 0}, -1};
        const bool startsWithFirst = isEven_ == (inOrder != 1);
        view.fieldFirst[startsWithFirst ? 0 : 1] = view.first;
        view.fieldFirst[startsWithFirst ? 1 : 0] = view.first + view.step;
        views_.push_back(view);
    }
    void PointAt(int inField) {
        if (!views_.empty()) views_.back().shownField = inField;
    }
    void Cleanup() {
        if (!views_.empty()) views_.pop_back();
    }
    bool HasView() const { return !views_.empty(); }
    View Shown() const { return views_.empty() ? View{} : views_.back(); }

  private:
    bool isEven_;
    std::vector<View> views_{View{}};  // records of the bridge begin with one
};

void ExpectShows(TPixHand inHandle, const std::uint8_t* inBase, const Model& inModel) {
    constexpr int kRowBytes = 20;
    const TPix& record = **inHandle;
    const View view = inModel.Shown();
    EXPECT_EQ((record.pixels - inBase) / kRowBytes, view.ShownFirst());
    EXPECT_EQ(record.rowbytes / kRowBytes, view.ShownStep());
    EXPECT_EQ(GetPixFieldbase(inHandle), static_cast<std::uint64_t>(view.shownField + 1));
    EXPECT_EQ(record.fullPixels != nullptr, inModel.HasView());
}

TEST_F(TPixFields, RandomNestedViews) {
    std::mt19937 random(7);
    for (const int height : {8, 9}) {
        const TPixHand handle = NewRecord(5, height);
        const std::uint8_t* const base = (*handle)->pixels;
        Model model(height);
        for (int step = 0; step < 4000; ++step) {
            const int choice = static_cast<int>(random() % 8);
            if (choice < 2 && model.Shown().ShownStep() < 64) {
                TPixFieldsPrep(handle, static_cast<std::uint8_t>(choice));
                model.Prep(choice);
            } else if (choice >= 2 && choice < 4 && model.HasView()) {
                const int field = choice - 2;
                EXPECT_EQ(TPixFields_PointAtField(handle, static_cast<std::int8_t>(field)),
                          *handle);
                model.PointAt(field);
            } else if (choice == 4) {
                TPixFields_PointAtFull(handle);
                model.PointAt(-1);
            } else if (choice > 5) {
                TPixFieldsCleanup(handle);
                model.Cleanup();
            }
            ExpectShows(handle, base, model);
            if (testing::Test::HasFailure()) break;
        }
        for (; model.HasView(); model.Cleanup())
            TPixFieldsCleanup(handle);
        ExpectShows(handle, base, model);
        EXPECT_EQ((*handle)->fieldStateStack, nullptr);
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
    Bytes stack(96, 0);
    stack.Put(0, base).Put(8, base).Put(16, base).Put(32, base).Put(40, 20);
    stack.Put(48, base).Put(56, base).Put(64, base + 20).Put(72, std::uint64_t{2});
    stack.Put(80, base + 20).Put(88, 40);
    EXPECT_EQ(BytesAt(*record.fieldStateStack, 96), stack.bytes_);
    TPixFieldsCleanup(handle);
    EXPECT_EQ(TvGetHandleSize(record.fieldStateStack), 48);
    TPixFieldsCleanup(handle);
    EXPECT_EQ(record.fieldStateStack, nullptr);
    tpixDispose(handle);
}

TEST_F(TPixFields, WithoutMemoryForAStateNothingChanges) {
    const TPixHand handle = NewRecord(5, 8);
    for (const int allocations : {0, 1}) {
        const auto before = BytesAt(*handle, 288);
        hoardex::FailAllocationsAfter(allocations);
        TPixFieldsPrep(handle, 1);
        hoardex::FailAllocationsAfter(-1);
        EXPECT_EQ(BytesAt(*handle, 288), before);
    }
    tpixDispose(handle);
}

TEST_F(TPixFields, ClonesShowTheSameField) {
    for (const int order : {0, 1}) {
        for (const int field : {0, 1}) {
            const TPixHand source = NewRecord(6, 10);
            TPixFieldsPrep(source, static_cast<std::uint8_t>(order));
            TPixFields_PointAtField(source, static_cast<std::int8_t>(field));
            const TPixHand clone = TPixFieldsClone(source);
            const TPix& record = **clone;
            // The clone's own picture is twice as high, so its lines lie two apart as well.
            EXPECT_EQ(record.bounds.bottom, 10);
            EXPECT_EQ(record.rowbytes, 48);
            EXPECT_EQ(record.fieldbase, static_cast<std::uint64_t>(field + 1));
            // Of an even picture, order 1 puts field 0 onto the second line, in source and clone.
            // Order 0 puts it onto the first one in the source only.
            const std::ptrdiff_t line = (record.pixels - record.fullPixels) / 24;
            EXPECT_EQ(line, field == 0 ? 1 : 0);
            const TPixHand whole = (TPixFields_PointAtFull(source), TPixFieldsClone(source));
            EXPECT_EQ((*whole)->fieldbase, 0U);
            EXPECT_EQ((*whole)->bounds.bottom, 10);
            TPixFieldsCloneFree(clone);
            TPixFieldsCloneFree(whole);
            TPixFieldsCleanup(source);
            TPixFieldsCloneFree(source);
        }
    }
    TPixFieldsCloneFree(nullptr);
}

}  // namespace
}  // namespace bridges_test

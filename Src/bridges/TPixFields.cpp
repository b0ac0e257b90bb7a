// Field views of records.
#include <cstring>
#include <utility>

#include "VideoFrame/TPix.h"

namespace {

/// One saved state of a record's view, as older code finds it on the stack.
struct FieldState {
    std::uint8_t* fullPixels;
    std::uint8_t* fieldStart[2];
    std::uint64_t fieldbase;
    std::uint8_t* pixels;
    std::int32_t rowbytes;
    std::int32_t unused;
};
static_assert(sizeof(FieldState) == 48 && offsetof(FieldState, rowbytes) == 40);

/// False, with nothing changed, when there is no memory.
bool PushState(TPixHand inHandle) {
    TPix& record = **inHandle;
    const bool isFirst = !record.fieldStateStack;
    if (isFirst) record.fieldStateStack = TvNewHandle(0);
    const auto handle = reinterpret_cast<TvHandle>(inHandle);
    TvHLock(handle);
    const FieldState state{record.fullPixels, {record.fieldStart[0], record.fieldStart[1]},
                           record.fieldbase,  record.pixels,
                           record.rowbytes,   0};
    const bool isPushed = InsertHandItem(-1, record.fieldStateStack, sizeof state, &state) == 0;
    TvHUnlock(handle);
    if (!isPushed && isFirst) {
        TvDisposeHandle(record.fieldStateStack);
        record.fieldStateStack = nullptr;
    }
    return isPushed;
}

void PopState(TPix& ioRecord) {
    constexpr std::int64_t kBytes = sizeof(FieldState);
    const std::int64_t left = TvGetHandleSize(ioRecord.fieldStateStack) / kBytes - 1;
    FieldState state{};
    TvBlockMove(static_cast<std::byte*>(*ioRecord.fieldStateStack) + left * kBytes, &state, kBytes);
    ioRecord.pixels = state.pixels;
    ioRecord.fullPixels = state.fullPixels;
    ioRecord.fieldStart[0] = state.fieldStart[0];
    ioRecord.fieldStart[1] = state.fieldStart[1];
    ioRecord.fieldbase = state.fieldbase;
    ioRecord.rowbytes = state.rowbytes;
    if (left > 0) {
        TvSetHandleSize(ioRecord.fieldStateStack, left * kBytes);
    } else {
        TvDisposeHandle(ioRecord.fieldStateStack);
        ioRecord.fieldStateStack = nullptr;
    }
}

std::int32_t Doubled(std::int32_t inRowBytes) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(inRowBytes) * 2);
}

}  // namespace

void TPixFieldsPrep(TPixHand inHandle, std::uint8_t inOrder) {
    TPix& record = **inHandle;
    if (record.fullPixels) {
        if (!PushState(inHandle)) return;
        // The field that is shown becomes the whole picture; its lines stay two apart.
        if (record.fieldbase == 0) record.pixels = record.fullPixels;
    }
    record.fullPixels = record.pixels;
    const bool isEven = (record.bounds.bottom - record.bounds.top) % 2 == 0;
    const bool startsWithFirstLine = isEven == (inOrder != 1);
    record.fieldStart[0] = record.fieldStart[1] = record.pixels;
    record.fieldStart[startsWithFirstLine ? 1 : 0] += record.rowbytes;
    record.fieldbase = 0;
}

TPix* TPixFields_PointAtField(TPixHand inHandle, std::int8_t inField) {
    TPix& record = **inHandle;
    record.pixels = record.fieldStart[inField];
    if (record.fieldbase == 0) record.rowbytes = Doubled(record.rowbytes);
    record.fieldbase = static_cast<std::uint64_t>(inField) + 1;
    return &record;
}

void TPixFields_PointAtFull(TPixHand inHandle) {
    TPix& record = **inHandle;
    if (!record.fullPixels) return;
    record.pixels = record.fullPixels;
    if (record.fieldbase != 0) record.rowbytes >>= 1;
    record.fieldbase = 0;
}

std::uint64_t GetPixFieldbase(TPixHand inHandle) {
    return (*inHandle)->fieldbase;
}

void TPixFieldsCleanup(TPixHand inHandle) {
    TPix& record = **inHandle;
    if (!record.fullPixels) return;
    TPixFields_PointAtFull(inHandle);
    record.fullPixels = record.fieldStart[0] = record.fieldStart[1] = nullptr;
    if (record.fieldStateStack) PopState(record);
}

// ---------------------------------------------------------------------------------------------
// Clones

namespace {

/// Whether field 0 starts above field 1 in memory.
bool IsField0Higher(const TPix& inRecord) {
    return inRecord.fieldStart[0] > inRecord.fieldStart[1];
}

}  // namespace

TPixHand TPixFieldsClone(TPixHand inHandle) {
    const TPix& source = **inHandle;
    tagRECT bounds = source.bounds;
    if (!source.fullPixels || source.fieldbase == 0) return tpixNew(&bounds);
    bounds.bottom *= 2;
    const TPixHand clone = tpixNew(&bounds);
    if (!clone) return nullptr;
    TPix& record = **clone;
    TPixFieldsPrep(clone, 1);
    record.bounds.bottom >>= 1;
    if (IsField0Higher(source) && record.fieldStart[0] < record.fieldStart[1])
        std::swap(record.fieldStart[0], record.fieldStart[1]);
    record.pixels = record.fieldStart[source.fieldbase - 1];
    if (record.fieldbase == 0) record.rowbytes = Doubled(record.rowbytes);
    record.fieldbase = source.fieldbase;
    return clone;
}

void TPixFieldsCloneFree(TPixHand inHandle) {
    if (!inHandle) return;
    TPixFieldsCleanup(inHandle);
    tpixDispose(inHandle);
}

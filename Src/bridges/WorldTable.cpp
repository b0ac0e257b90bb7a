// The numbered worlds of the process.
#include <algorithm>
#include <array>

#include "VideoFrame/TPix.h"
#include "VideoFrame/TPixBridge.h"
#include "contracts/BrixFoundation.h"

namespace {

constexpr std::int16_t kNoWorld = 0;
constexpr std::int16_t kNoRoom = -108;
constexpr std::int32_t kKindOfRecords = 0;
constexpr std::int32_t kKindOfOthers = 2;

struct World {
    bool holdsTPix = false;  // twGetTPix answers
    bool inUse = false;
    TPixHand tpix = nullptr;
    TPixHand other = nullptr;
    bool ownsTPix = false;
};

/// Held while records are disposed of: the frame map's lock is always the inner one.
struct WorldTable {
    Brix::CriticalSection lock;
    std::array<World, 200> worlds;
};

// Without a destructor: a host may dispose of worlds while the process ends.
WorldTable& Table() {
    static_assert(std::is_trivially_destructible_v<WorldTable>);
    static WorldTable table;
    return table;
}

/// Takes the first free number; none when all are taken.
std::int16_t Take(WorldTable& ioTable, const World& inWorld) {
    auto& worlds = ioTable.worlds;
    const auto found = std::find_if(worlds.begin(), worlds.end(),
                                    [](const World& inCandidate) { return !inCandidate.inUse; });
    if (found == worlds.end()) return kNoWorld;
    *found = inWorld;
    found->inUse = true;
    return static_cast<std::int16_t>(found - worlds.begin() + 1);
}

/// The world in use under the number, or null.
World* Find(WorldTable& ioTable, std::int16_t inNumber) {
    if (inNumber < 1 || static_cast<std::size_t>(inNumber) > ioTable.worlds.size()) return nullptr;
    World& world = ioTable.worlds[static_cast<std::size_t>(inNumber - 1)];
    return world.inUse ? &world : nullptr;
}

}  // namespace

std::int16_t RegTWorldBits(TPixHand inHandle, std::uint8_t inOwns) {
    WorldTable& table = Table();
    const Brix::CriticalSectionLock lock(table.lock, "RegTWorldBits");
    return Take(table, {.holdsTPix = true, .tpix = inHandle, .ownsTPix = inOwns != 0});
}

std::int16_t twNew(std::int16_t* outNumber, const tagRECT* inBounds, TPixHand* inHandle,
                   std::int32_t inKind) {
    WorldTable& table = Table();
    const Brix::CriticalSectionLock lock(table.lock, "twNew");
    if (inKind == kKindOfRecords) {
        const TPixHand record = inHandle ? *inHandle : tpixNew(inBounds);
        if (!record) return kNoRoom;
        *outNumber = RegTWorldBits(record, 1);
        return *outNumber == kNoWorld ? 1 : 0;
    }
    const std::int16_t number =
        Take(table, inKind == kKindOfOthers ? World{.other = *inHandle} : World{.tpix = *inHandle});
    if (number == kNoWorld) return kNoRoom;
    *outNumber = number;
    return 0;
}

void twDispose(std::int16_t inNumber, std::int32_t inKeepRecord) {
    WorldTable& table = Table();
    const Brix::CriticalSectionLock lock(table.lock, "twDispose");
    World* const world = Find(table, inNumber);
    if (!world) return;
    const World ended = std::exchange(*world, {});
    if (inKeepRecord == 0 && ended.holdsTPix && ended.ownsTPix && ended.tpix)
        VF::DisposeTPixFromVideoFrame(ended.tpix);
}

TPixHand twGetTPix(std::int16_t inNumber) {
    WorldTable& table = Table();
    const Brix::CriticalSectionLock lock(table.lock, "twGetTPix");
    const World* const world = Find(table, inNumber);
    return world && world->holdsTPix ? world->tpix : nullptr;
}

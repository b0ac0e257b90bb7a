#include "rows/KeptTables.h"

#include <algorithm>
#include <list>

namespace scanvo {
namespace {

// Room for the tables of a few scalings between common sizes, two directions and a chroma table
// each.
constexpr std::size_t kMostTables = 12;
constexpr std::size_t kMostBytes = std::size_t{2} << 20;

struct Entry {
    TableMaker maker;
    Axis axis;
    AnyTable table;
};

// Calls may still come from what runs after a thread's tables are gone.
thread_local bool hasEnded = false;

struct Entries {
    ~Entries() { hasEnded = true; }

    std::size_t Bytes() const {
        std::size_t bytes = 0;
        for (const Entry& entry : list) {
            bytes += entry.table.bytes;
        }
        return bytes;
    }

    // Used last comes first.
    std::list<Entry> list;
};

thread_local Entries entries;

}  // namespace

AnyTable FindKeptTable(TableMaker inMaker, const Axis& inAxis) {
    if (hasEnded) return {};
    std::list<Entry>& list = entries.list;
    const auto found = std::find_if(list.begin(), list.end(), [&](const Entry& entry) {
        return entry.maker == inMaker && entry.axis == inAxis;
    });
    if (found == list.end()) return {};
    list.splice(list.begin(), list, found);
    return found->table;
}

void KeepTable(TableMaker inMaker, const Axis& inAxis, const AnyTable& inTable) {
    if (hasEnded || inTable.bytes > kMostBytes / 2) return;
    entries.list.push_front({inMaker, inAxis, inTable});
    while (entries.list.size() > kMostTables || entries.Bytes() > kMostBytes) {
        entries.list.pop_back();
    }
}

void ReleaseThreadTables() {
    if (!hasEnded) entries.list.clear();
}

std::shared_ptr<const WeightTable> KeptWeights(const Axis& inAxis) {
    return KeptTable(MakeWeights, inAxis);
}

}  // namespace scanvo
